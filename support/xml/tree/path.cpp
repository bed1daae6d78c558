// Finding a node by a dot-separated path.
#include <cstring>

#include "characters/digits.h"
#include "neb_xml.h"
#include "platform/bounded_memory.h"
#include "record/node_strings.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kLongestPath = 511;
constexpr size_t kLongestIndex = 9;  // digits; so many always fit a number

// Cuts the next segment out of the path at *rest, whose bytes it moves to drop the backslash of
// each escaped dot. Null when only dots are left.
char *cutSegment(char **rest) {
  char *from = *rest;
  while (*from == '.') ++from;
  if (*from == '\0') return nullptr;
  char *segment = from;
  char *to = from;
  while (*from != '\0' && *from != '.') {
    if (from[0] == '\\' && from[1] == '.') ++from;
    *to++ = *from++;
  }
  *rest = *from == '.' ? from + 1 : from;
  *to = '\0';
  return segment;
}

bool isIndex(const char *segment) { return segment[std::strspn(segment, "0123456789")] == '\0'; }

uint32_t readIndex(const char *segment) {
  uint32_t index = 0;
  for (; *segment != '\0'; ++segment) {
    index = index * kDecimalBase + static_cast<uint32_t>(*segment - '0');
  }
  return index;
}

// A segment that is a name, as it is compared with many nodes.
struct NameSegment {
  const char *text;
  NameToFind whole;
  bool hasColon;

  explicit NameSegment(const char *segment)
      : text(segment), whole(segment), hasColon(std::strchr(segment, ':') != nullptr) {}
};

bool isQualifiedName(const XmlNode *node, const char *segment) {
  const size_t prefixLength = std::strlen(node->prefix);
  return std::strncmp(segment, node->prefix, prefixLength) == 0 && segment[prefixLength] == ':' &&
         std::strcmp(segment + prefixLength + 1, node->name) == 0;
}

// 0 when the segment matches the node.
uint32_t xmlCmpNode(const XmlNode *node, const NameSegment &segment) {
  if (node->name == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  const bool comparesPrefix = segment.hasColon && node->prefix != nullptr;
  const bool matches =
      comparesPrefix ? isQualifiedName(node, segment.text) : segment.whole.isNameOf(node);
  return matches ? NEB_XML_OK : NEB_XML_ERR_INVALID_PARAM;
}

// The first match at node or after it among its siblings.
XmlNode *firstMatch(XmlNode *node, const NameSegment &segment) {
  while (node != nullptr && xmlCmpNode(node, segment) != 0) node = node->next;
  return node;
}

// Moves *node, which is the first match of name, on to the one that the index segment chooses.
uint32_t chooseByIndex(const char *segment, const char *name, XmlNode **node) {
  if (name == nullptr) return NEB_XML_ERR_BAD_PATH;
  if (std::strlen(segment) > kLongestIndex) return NEB_XML_ERR_NOT_FOUND;
  const uint32_t index = readIndex(segment);
  if (index == 0) return NEB_XML_ERR_BAD_PATH;
  const NameSegment wanted(name);
  XmlNode *match = *node;
  for (uint32_t passed = 1; passed < index && match != nullptr; ++passed) {
    match = firstMatch(match->next, wanted);
  }
  if (match == nullptr) return NEB_XML_ERR_NOT_FOUND;
  *node = match;
  return NEB_XML_OK;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_GetNodeByUrl(const XmlNode *start, const char *path, XmlNode **node) {
  if (start == nullptr || isMissing(path) || node == nullptr || isAttribute(start)) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  char text[kLongestPath + 1];
  if (neb::platform::strncpy_s(text, sizeof text, path, sizeof text) != 0) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  char *rest = text;
  const char *segment = cutSegment(&rest);
  if (segment == nullptr) return NEB_XML_ERR_NOT_FOUND;
  if (xmlCmpNode(start, NameSegment(segment)) != 0) return NEB_XML_ERR_NOT_FOUND;
  auto *current = const_cast<XmlNode *>(start);
  const char *name = nullptr;  // of the segment before, if that was a name below the start
  while ((segment = cutSegment(&rest)) != nullptr) {
    if (isIndex(segment)) {
      const uint32_t result = chooseByIndex(segment, name, &current);
      if (result != NEB_XML_OK) return result;
      name = nullptr;
    } else {
      current = firstMatch(current->firstChild, NameSegment(segment));
      if (current == nullptr) return NEB_XML_ERR_NOT_FOUND;
      name = segment;
    }
  }
  *node = current;
  return NEB_XML_OK;
}
