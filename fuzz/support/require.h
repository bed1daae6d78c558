// The conditions of a target. If one does not hold, require aborts, and the fuzzer keeps the input.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "neb_xml.h"

constexpr uint32_t kOk = NEB_XML_OK;
constexpr uint32_t kInvalid = NEB_XML_ERR_INVALID_PARAM;
constexpr uint32_t kExists = NEB_XML_ERR_ALREADY_EXISTS;
constexpr uint32_t kNotFound = NEB_XML_ERR_NOT_FOUND;
constexpr uint32_t kNoMemory = NEB_XML_ERR_NO_MEMORY;
constexpr uint32_t kSyntax = NEB_XML_ERR_SYNTAX;

inline void require(bool holds, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
  std::abort();
}
