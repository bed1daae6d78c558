// Tables in strings, and long strings.
#pragma once

#include <string>
#include <vector>

namespace tables {

// The fields of a table. Each field ends in " ~ ".
inline std::vector<std::string> fieldsOf(const std::string &table) {
  std::vector<std::string> fields;
  for (size_t from = 0, end = 0; (end = table.find(" ~ ", from)) != table.npos; from = end + 3) {
    fields.push_back(table.substr(from, end - from));
  }
  return fields;
}

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
