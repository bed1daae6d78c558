// Which calls the system has for files and memory. Each family of systems has a folder here; its
// sources compile to nothing where another one is used.
#pragma once

// Found by what the headers offer, so that a system needs no name. A program without an operating
// system may have unistd.h, but it has no processes. Some systems claim no newer version than that
// of 2001, though they have the calls of later ones: without those, files would lose their rights.
#if defined(_WIN32)
#define NEB_XML_WINDOWS
#elif defined(__has_include)
#if __has_include(<unistd.h>) && __has_include(<sys/wait.h>)
#include <unistd.h>
#if defined(_POSIX_VERSION) && _POSIX_VERSION >= 200112L
#define NEB_XML_POSIX
#endif
#endif
#endif

// What every C library has, for all others.
#if !defined(NEB_XML_WINDOWS) && !defined(NEB_XML_POSIX)
#define NEB_XML_C_LIBRARY
#endif
