// The layout of a document, as its bytes show it.
#pragma once

#include <cstddef>
#include <string_view>

namespace neb::xml::internal {

// How a new element is laid out.
struct Layout {
  bool hasLines = false;         // else everything is on one line
  std::string_view lineEnd;      // the rest counts only with lines
  std::string_view indentation;  // of the new element, if its level is 0
  std::string_view step;         // what each level adds
  size_t level = 0;              // of the new element
};

inline constexpr size_t kLongestIndentation = 128;

// What is before a position on its line.
struct LineBeginning {
  std::string_view indentation;  // empty if there are other bytes than spaces and tabs, or too many
  std::string_view lineEnd;      // before it; empty also on the first line
};

LineBeginning lineBeginning(const char *document, const char *position);

// Behind spaces and tabs, in a terminated string.
inline const char *skipBlanks(const char *position) {
  while (*position == ' ' || *position == '\t') ++position;
  return position;
}

inline bool isLineEnd(char byte) { return byte == '\n' || byte == '\r'; }

// The line end that begins there; empty if none does.
std::string_view lineEndAt(const char *position);

// What a line has more than one that it is below; empty if it does not begin like that one.
inline std::string_view stepBetween(std::string_view above, std::string_view below) {
  if (!below.starts_with(above)) return {};
  below.remove_prefix(above.size());
  return below;
}

}  // namespace neb::xml::internal
