// Which calls the system has. Each family of systems has a folder here; its sources compile to
// nothing where another one is used.
#pragma once

#if defined(_WIN32)
#define NEBXML_WINDOWS
#else
#define NEBXML_POSIX
#endif
