#include "documents/columns.h"

#include <algorithm>
#include <set>

#include "documents/node_reading.h"
#include "documents/pattern_text.h"
#include "documents/selection.h"
#include "terminal/command_error.h"

namespace nebxml {
namespace {

constexpr char kComma = ',';
constexpr char kSpace = ' ';
constexpr std::string_view kMatch = ".";

std::vector<std::string> split(std::string_view list) {
  std::vector<std::string> parts;
  size_t end = 0;
  while ((end = findOutsideBrackets(list, kComma)) != std::string_view::npos) {
    parts.emplace_back(list.substr(0, end));
    list.remove_prefix(end + 1);
  }
  parts.emplace_back(list);
  return parts;
}

// From the match, which any name may have.
std::string patternOf(const std::string &column) { return "*." + column; }

bool isWellFormed(const Document &document, const std::string &column) {
  if (column == kMatch) return true;
  // Dots alone would find the match too.
  if (column.find_first_not_of('.') == std::string::npos) return false;
  // No name has a space, so that one behind a comma would make the column empty.
  if (column.front() == kSpace || column.back() == kSpace) return false;
  NEB_XML_CURSOR cursor{};
  const uint32_t result = NEB_XML_Select(document.root(), patternOf(column).c_str(), &cursor);
  return result == NEB_XML_OK || result == NEB_XML_ERR_NOT_FOUND;
}

// Where matches are inside each other, each of them would be searched to its end.
bool searchesAnyDepth(const std::string &column) {
  const std::vector<std::string_view> steps = patternsOfSteps(column);
  return std::any_of(steps.begin(), steps.end(),
                     [](std::string_view step) { return step.ends_with(kAnyDepth); });
}

void require(bool isAllowed, const Document &document, const std::string &cause,
             const std::string &column) {
  if (isAllowed) return;
  throw CommandError(ExitStatus::wrongUsage, document.fileName(), cause + " '" + column + "'");
}

}  // namespace

Columns::Columns(const Document &document, std::string_view list) : names_(split(list)) {
  std::set<std::string> seen;
  for (const std::string &name : names_) {
    require(isWellFormed(document, name), document, "malformed column", name);
    require(!searchesAnyDepth(name), document, "a column cannot search at any depth:", name);
    require(seen.insert(name).second, document, "duplicate column", name);
  }
}

std::vector<std::optional<std::string_view>> Columns::valuesAt(const XmlNode *match) const {
  std::vector<std::optional<std::string_view>> values;
  for (const std::string &name : names_) {
    const XmlNode *node = name == kMatch ? match : firstMatch(match, patternOf(name));
    values.push_back(node == nullptr ? std::nullopt : std::optional(nodeStrings(node).value));
  }
  return values;
}

}  // namespace nebxml
