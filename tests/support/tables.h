// Long strings.
#pragma once

#include <string>

namespace tables {

inline std::string repeated(const std::string &text, size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (size_t i = 0; i < count; ++i) result += text;
  return result;
}

inline std::string replaced(std::string text, const std::string &mark, const std::string &by) {
  for (size_t at = 0; (at = text.find(mark, at)) != text.npos; at += by.size()) {
    text.replace(at, mark.size(), by);
  }
  return text;
}

}  // namespace tables
