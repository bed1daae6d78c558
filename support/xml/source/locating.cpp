// Where a node is in its document.
#include <cstring>

#include "source/source_document.h"

namespace neb::xml::internal {

namespace {

void setLine(const char *document, const char *at, NEB_XML_LOCATION *location) {
  const char *line = document;
  size_t lines = 1;
  for (;; ++lines) {
    const void *found = std::memchr(line, '\n', static_cast<size_t>(at - line));
    if (found == nullptr) break;
    line = static_cast<const char *>(found) + 1;
  }
  location->line = lines;
  location->column = static_cast<size_t>(at - line) + 1;
}

NEB_XML_LOCATION describe(const SourceDocument &document, const Target &target) {
  const Location &at = target.at;
  const auto rangeOf = [&](const char *begin, const char *end) {
    return NEB_XML_RANGE{document.offsetOf(begin), document.offsetOf(end)};
  };
  const bool hasTags = !isAttribute(target.node);
  NEB_XML_LOCATION location = {};
  setLine(document.begin(), at.begin, &location);
  location.whole = rangeOf(at.begin, at.end);
  location.name = rangeOf(at.name, at.nameEnd);
  location.content = rangeOf(at.content, at.contentEnd);
  location.startTag = hasTags ? rangeOf(at.begin, at.content) : rangeOf(at.end, at.end);
  location.endTag = hasTags ? rangeOf(at.contentEnd, at.end) : rangeOf(at.end, at.end);
  return location;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_Locate(const XmlNode *node, const char *bytes, size_t length,
                        NEB_XML_LOCATION *location) {
  if (node == nullptr || bytes == nullptr || length == 0 || location == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  const XmlNode *root = topmostNode(node);
  if (root == nullptr) return NEB_XML_ERR_NOT_FOUND;
  Targets targets;
  if (!targets.make(1)) return NEB_XML_ERR_NO_MEMORY;
  const Target *target = targets.add(node);
  SourceDocument document(bytes, length);
  const uint32_t result = document.match(root, &targets);
  if (result == NEB_XML_OK) *location = describe(document, *target);
  return result;
}
