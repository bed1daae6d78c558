// Where nodes are in their document.
#include <algorithm>
#include <cstring>

#include "source/source_document.h"

namespace neb::xml::internal {

namespace {

// Counts the lines of a document on the way through it.
class LineCounter {
 public:
  explicit LineCounter(const char *document) : line_(document), counted_(document) {}

  // Goes on to a position, which is not before the last one.
  void moveTo(const char *at, NEB_XML_LOCATION *location) {
    while (const void *end = std::memchr(counted_, '\n', static_cast<size_t>(at - counted_))) {
      counted_ = static_cast<const char *>(end) + 1;
      line_ = counted_;
      ++number_;
    }
    counted_ = at;
    location->line = number_;
    location->column = static_cast<size_t>(at - line_) + 1;
  }

 private:
  const char *line_;     // where the line begins
  const char *counted_;  // up to here; one line may have many nodes
  size_t number_ = 1;
};

// A node as the caller named it.
struct Named {
  const Target *target;
  NEB_XML_LOCATION *location;
};

bool isBefore(const Named &a, const Named &b) { return a.target->at.begin < b.target->at.begin; }

void describe(const SourceDocument &document, const Target &target, NEB_XML_LOCATION *location) {
  const Location &at = target.at;
  const auto rangeOf = [&](const char *begin, const char *end) {
    return NEB_XML_RANGE{document.offsetOf(begin), document.offsetOf(end)};
  };
  const bool hasTags = !isAttribute(target.node);
  *location = {};
  location->whole = rangeOf(at.begin, at.end);
  location->name = rangeOf(at.name, at.nameEnd);
  location->content = rangeOf(at.content, at.contentEnd);
  location->startTag = hasTags ? rangeOf(at.begin, at.content) : rangeOf(at.end, at.end);
  location->endTag = hasTags ? rangeOf(at.contentEnd, at.end) : rangeOf(at.end, at.end);
}

uint32_t locate(const XmlNode *const *nodes, size_t count, SourceDocument *document,
                NEB_XML_LOCATION *locations) {
  const XmlNode *root = topmostNode(nodes[0]);
  if (root == nullptr) return NEB_XML_ERR_NOT_FOUND;
  Targets targets;
  HeapArray<Named> named;
  if (!targets.make(count) || !named.make(count)) return NEB_XML_ERR_NO_MEMORY;
  for (size_t i = 0; i < count; ++i) named.add({targets.add(nodes[i]), &locations[i]});
  const uint32_t result = document->match(root, &targets);
  if (result != NEB_XML_OK) return result;
  std::sort(named.begin(), named.end(), isBefore);
  LineCounter lines(document->begin());
  for (const Named &each : named) {
    describe(*document, *each.target, each.location);
    lines.moveTo(each.target->at.begin, each.location);
  }
  return NEB_XML_OK;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_Locate(const XmlNode *node, const char *bytes, size_t length,
                        NEB_XML_LOCATION *location) {
  return NEB_XML_LocateNodes(&node, 1, bytes, length, location);
}

uint32_t NEB_XML_LocateNodes(const XmlNode *const *nodes, size_t count, const char *bytes,
                             size_t length, NEB_XML_LOCATION *locations) {
  if (bytes == nullptr || length == 0) return NEB_XML_ERR_INVALID_PARAM;
  if (count == 0) return NEB_XML_OK;
  if (nodes == nullptr || locations == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  const XmlNode *const *end = nodes + count;
  if (std::find(nodes, end, nullptr) != end) return NEB_XML_ERR_INVALID_PARAM;
  SourceDocument document(bytes, length);
  return locate(nodes, count, &document, locations);
}
