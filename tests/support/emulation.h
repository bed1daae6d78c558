// Whether an emulator of another processor runs this program. It takes memory of its own, and lets
// no program limit it.
#pragma once

#ifdef NEB_XML_EMULATED
inline constexpr bool kIsEmulated = true;
#else
inline constexpr bool kIsEmulated = false;
#endif
