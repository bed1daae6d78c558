#include "source/layout.h"

namespace neb::xml::internal {

namespace {

std::string_view lineEndBefore(const char *document, const char *line) {
  const bool isPair = line - document >= 2 && line[-2] == '\r' && line[-1] == '\n';
  return {line - (isPair ? 2 : 1), isPair ? size_t{2} : size_t{1}};
}

}  // namespace

LineBeginning lineBeginning(const char *document, const char *position) {
  const char *line = position;
  while (line > document && (line[-1] == ' ' || line[-1] == '\t')) {
    if (static_cast<size_t>(position - line) == kLongestIndentation) return {};
    --line;
  }
  const std::string_view indentation(line, static_cast<size_t>(position - line));
  if (line == document) return {indentation, {}};
  if (!isLineEnd(line[-1])) return {};
  return {indentation, lineEndBefore(document, line)};
}

std::string_view lineEndAt(const char *position) {
  if (!isLineEnd(*position)) return {};
  const bool isPair = position[0] == '\r' && position[1] == '\n';
  return {position, isPair ? size_t{2} : size_t{1}};
}

}  // namespace neb::xml::internal
