// What standard C++ cannot tell a compiler. A compiler without these extensions gets none of them,
// and NEB_XML_STANDARD_CXX keeps them from every other.
#pragma once

#include <cstdint>

// Less code rather than faster code: no vectors, no scanner, nothing inlined by force. A build for
// size on a machine of 32 bits is of this kind. Others can ask for it.
#if defined(__OPTIMIZE_SIZE__) && UINTPTR_MAX == UINT32_MAX && !defined(NEB_XML_SMALL)
#define NEB_XML_SMALL
#endif

#if defined(__GNUC__) && !defined(NEB_XML_STANDARD_CXX)

#define NEB_XML_NOINLINE [[gnu::noinline]]
// Rarely called: kept out of the way of other code.
#define NEB_XML_COLD [[gnu::noinline, gnu::cold]]
// A function like printf: the numbers of its format and of the first argument that it formats.
#define NEB_XML_PRINTF(text, first) [[gnu::format(printf, text, first)]]
// What the compiler need not find out. Nothing is computed.
#define NEB_XML_ASSUME(condition) ((condition) ? void() : __builtin_unreachable())

#if defined(NEB_XML_SMALL)

#define NEB_XML_FLATTEN
#define NEB_XML_NO_VECTORS_OF_FIELDS

#else

// With everything that it calls inlined.
#define NEB_XML_FLATTEN [[gnu::flatten]]

// No vectors made of single fields. Clang makes none.
#if defined(__clang__)
#define NEB_XML_NO_VECTORS_OF_FIELDS
#else
#define NEB_XML_NO_VECTORS_OF_FIELDS [[gnu::optimize("no-tree-slp-vectorize")]]
#endif

// The compiler has vectors of its own, see simd/vector_types.h.
#define NEB_XML_VECTOR_TYPES

// Single functions can be compiled for processors that have more than the build asks for, and a
// program can ask what its processor has.
#if defined(__x86_64__)
#define NEB_XML_TARGETS
#define NEB_XML_TARGET(features) [[gnu::target(features)]]
#define NEB_XML_PROCESSOR_HAS(feature) (__builtin_cpu_supports(feature) != 0)
#endif

#endif

#else

#define NEB_XML_NOINLINE
#define NEB_XML_COLD
#define NEB_XML_FLATTEN
#define NEB_XML_PRINTF(text, first)
#define NEB_XML_ASSUME(condition) static_cast<void>(0)
#define NEB_XML_NO_VECTORS_OF_FIELDS

#endif

// Microsoft's compilers ignore the attribute of the standard.
#if defined(_MSC_VER)
#define NEB_XML_NO_UNIQUE_ADDRESS [[msvc::no_unique_address]]
#else
#define NEB_XML_NO_UNIQUE_ADDRESS [[no_unique_address]]
#endif

// Every processor of this family has SSE2, whose intrinsics all compilers for it know.
#if defined(__x86_64__) || (defined(_M_X64) && !defined(_M_ARM64EC))
#define NEB_XML_X86_64
#endif
#if defined(__SSE2__) || defined(NEB_XML_X86_64)
#define NEB_XML_SSE2
#endif

namespace neb::platform {

#if defined(NEB_XML_SMALL)
inline constexpr bool kIsSmall = true;
#else
inline constexpr bool kIsSmall = false;
#endif

}  // namespace neb::platform
