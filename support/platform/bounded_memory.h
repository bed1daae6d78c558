// Copies into memory whose capacity is known: each call fails rather than overrun it.
#pragma once

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "platform/compiler.h"

namespace neb::platform {

// The length of a string, or the count if it has no terminator within so many bytes. Not every C
// library has strnlen.
inline size_t lengthWithin(const char *string, size_t count) {
  const void *terminator = std::memchr(string, '\0', count);
  if (terminator == nullptr) return count;
  return static_cast<size_t>(static_cast<const char *>(terminator) - string);
}

// All others return 0, or an errno value with the destination unchanged, unless documented
// otherwise.

inline int memcpy_s(void *destination, size_t capacity, const void *source, size_t count) {
  if (count > capacity) return ERANGE;
  if (count != 0) std::memcpy(destination, source, count);
  return 0;
}

// Source and destination may overlap.
inline int memmove_s(void *destination, size_t capacity, const void *source, size_t count) {
  if (count > capacity) return ERANGE;
  if (count != 0) std::memmove(destination, source, count);
  return 0;
}

// Not inlined: where the size is known, g++ takes a string instruction, which is slow to begin.
NEB_XML_NOINLINE inline int memset_s(void *destination, size_t capacity, int byte, size_t count) {
  if (count > capacity) return ERANGE;
  if (count != 0) std::memset(destination, byte, count);
  return 0;
}

// Copies at most count characters of a string and a terminator.
inline int strncpy_s(char *destination, size_t capacity, const char *source, size_t count) {
  const size_t length = lengthWithin(source, count);
  if (length >= capacity) return ERANGE;
  std::memcpy(destination, source, length);
  destination[length] = '\0';
  return 0;
}

// Formats at most count characters and a terminator; returns their number, or -1 with an empty
// string when they do not fit.
NEB_XML_PRINTF(4, 5)
inline int snprintf_s(char *destination, size_t capacity, size_t count, const char *format, ...) {
  if (capacity == 0) return -1;
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(destination, capacity, format, arguments);
  va_end(arguments);
  const size_t room = count < capacity - 1 ? count : capacity - 1;
  if (length >= 0 && static_cast<size_t>(length) <= room) return length;
  destination[0] = '\0';
  return -1;
}

}  // namespace neb::platform
