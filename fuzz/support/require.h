// What a target demands. A demand that is not met aborts, which leaves the bytes to the fuzzer.
#pragma once

#include <cstdio>
#include <cstdlib>

inline void require(bool holds, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
  std::abort();
}
