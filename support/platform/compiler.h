// What standard C++ cannot tell a compiler. A compiler without these extensions gets none of them,
// and NEB_XML_STANDARD_CXX keeps them from every other.
#pragma once

#if defined(__GNUC__) && !defined(NEB_XML_STANDARD_CXX)

#define NEB_XML_NOINLINE [[gnu::noinline]]
// Rarely called: kept out of the way of other code.
#define NEB_XML_COLD [[gnu::noinline, gnu::cold]]
// With everything that it calls inlined.
#define NEB_XML_FLATTEN [[gnu::flatten]]
// Compiled for processors that have more than the build asks for.
#define NEB_XML_TARGET(features) [[gnu::target(features)]]
// A function like printf: the numbers of its format and of the first argument that it formats.
#define NEB_XML_PRINTF(text, first) [[gnu::format(printf, text, first)]]

#else

#define NEB_XML_NOINLINE
#define NEB_XML_COLD
#define NEB_XML_FLATTEN
#define NEB_XML_TARGET(features)
#define NEB_XML_PRINTF(text, first)

#endif
