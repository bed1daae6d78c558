#include "documents/selection.h"

#include <algorithm>

#include "documents/missing_step.h"
#include "terminal/command_error.h"
#include "terminal/output.h"
#include "terminal/printable.h"

namespace nebxml {
namespace {

constexpr size_t kLongestPattern = 511;

// What is wrong with the rest of a malformed path, as far as its first character tells.
std::string causeAt(const std::string &rest) {
  if (rest.empty()) return ": it ends too early";
  std::string where = ": at '" + rest + "'";
  switch (rest.front()) {
    case '0':
      return where + "; numbers count from 1";
    case '*':
      return where + "; '*' stands for a whole name";
    case '@':
      return where + "; '@' stands behind '.' or '['";
    case '[':
      return where + "; a bracket follows the name of an element, or '*'";
    default:
      return where;
  }
}

CommandError malformed(const Document &document, const Selection &selection, size_t offset) {
  const std::string &pattern = selection.pattern;
  const std::string cause =
      pattern.size() > kLongestPattern
          ? ": it is longer than " + std::to_string(kLongestPattern) + " bytes"
          : causeAt(pattern.substr(std::min(offset, pattern.size())));
  return {ExitStatus::wrongUsage,
          printable(headingOf(document, selection) + ": malformed path '" + pattern + "'" + cause)};
}

// The matches of a search, one after the other.
class Search {
 public:
  Search(const Document &document, const Selection &selection)
      : document_(document), selection_(selection), pattern_(selection.pattern) {}

  // Null after the last match.
  XmlNode *next() {
    switch (NEB_XML_Select(document_.root(), pattern_.c_str(), &cursor_)) {
      case NEB_XML_OK:
        return cursor_.node;
      case NEB_XML_ERR_NOT_FOUND:
        return nullptr;
      default:
        throw malformed(document_, selection_, cursor_.offset);
    }
  }

 private:
  const Document &document_;
  const Selection &selection_;
  const std::string &pattern_;
  NEB_XML_CURSOR cursor_{};
};

void noteFurtherMatches(const Document &document, const Selection &selection) {
  writeNote(headingOf(document, selection) + ": several nodes match '" + selection.pattern +
            "'; the first is taken (--all takes each)");
}

}  // namespace

std::string headingOf(const Document &document, const Selection &selection) {
  const std::string &source = selection.source;
  return (source.empty() ? "nebxml" : source) + ": " + document.fileName();
}

CommandError refusal(const Document &document, const Selection &selection,
                     const std::string &cause) {
  return {ExitStatus::notFound, printable(headingOf(document, selection) + ": " + cause + " '" +
                                          selection.pattern + "'")};
}

XmlNode *firstMatch(const XmlNode *start, const std::string &pattern) {
  NEB_XML_CURSOR cursor{};
  NEB_XML_Select(start, pattern.c_str(), &cursor);
  return cursor.node;
}

std::vector<XmlNode *> selectAll(const Document &document, const std::string &pattern) {
  std::vector<XmlNode *> nodes;
  const Selection selection{pattern, true, ""};
  Search search(document, selection);
  while (XmlNode *node = search.next()) nodes.push_back(node);
  return nodes;
}

std::vector<XmlNode *> select(const Document &document, const Selection &selection) {
  Search search(document, selection);
  std::vector<XmlNode *> nodes;
  while (XmlNode *node = search.next()) {
    if (!nodes.empty() && !selection.takesAll) {
      noteFurtherMatches(document, selection);
      break;
    }
    nodes.push_back(node);
  }
  if (!nodes.empty()) return nodes;
  throw CommandError(
      ExitStatus::notFound,
      printable(headingOf(document, selection) + ": no node at path '" + selection.pattern +
                "': " + missingStep(document, selection.pattern)));
}

}  // namespace nebxml
