// The conditions of a target. If one does not hold, require aborts, and the fuzzer keeps the input.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "support/calls.h"

inline void require(bool holds, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
  std::abort();
}
