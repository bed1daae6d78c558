// Path lookup and escaping, each against a model of its own. The first byte selects one of them.
#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/bytes.h"
#include "support/guarded_hooks.h"
#include "support/require.h"
#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

// In a path, a line feed replaces a dot that belongs to a name.

constexpr size_t kLongestPath = 511;
constexpr size_t kLongestIndex = 9;

bool matches(const XmlNode *node, const std::string &segment) {
  if (node->name == nullptr) return false;
  const bool isQualified = node->prefix != nullptr && segment.find(':') != std::string::npos;
  const std::string prefix = isQualified ? node->prefix + std::string(":") : "";
  return segment == prefix + node->name;
}

uint32_t find(const XmlNode *start, std::string path, const XmlNode **node) {
  if (path.empty() || path.size() > kLongestPath) return kInvalid;
  for (size_t at = 0; (at = path.find("\\.")) != std::string::npos;) path.replace(at, 2, "\n");
  std::istringstream segments(path);
  std::vector<const XmlNode *> found;  // the matches of the segment before
  bool mayIndex = false;
  for (std::string segment; std::getline(segments, segment, '.');) {
    std::replace(segment.begin(), segment.end(), '\n', '.');
    if (segment.empty()) continue;
    if (!found.empty() && segment.find_first_not_of("0123456789") == std::string::npos) {
      if (!mayIndex) return NEB_XML_ERR_BAD_PATH;
      const size_t index = segment.size() > kLongestIndex ? SIZE_MAX : std::stoul(segment);
      if (index == 0) return NEB_XML_ERR_BAD_PATH;
      if (index > found.size()) return kNotFound;
      found = {found[index - 1]};
      mayIndex = false;
    } else {
      mayIndex = !found.empty();
      const bool isFirst = found.empty();
      const XmlNode *each = isFirst ? start : found[0]->firstChild;
      for (found.clear(); each != nullptr; each = isFirst ? nullptr : +each->next) {
        if (matches(each, segment)) found.push_back(each);
      }
      if (found.empty()) return kNotFound;
    }
  }
  if (found.empty()) return kNotFound;
  *node = found[0];
  return kOk;
}

// The first match of a path is what the path finds. With signs of patterns in it, a search ends, or
// the first byte that is wrong is named.
void select(const XmlNode *start, std::string path, size_t nodes, const XmlNode *expected) {
  constexpr std::string_view kReplaced = "b12:0", kSigns = "*[]@=";
  NEB_XML_CURSOR cursor = {};
  if (expected != nullptr) {
    require(NEB_XML_Select(start, path.c_str(), &cursor) == kOk && cursor.node == expected);
  }
  for (char &each : path) {
    const size_t sign = kReplaced.find(each);
    if (sign != kReplaced.npos) each = kSigns[sign];
  }
  cursor = {};
  uint32_t result = kOk;
  for (size_t found = 0; result == kOk; ++found) {
    require(found <= nodes);
    result = NEB_XML_Select(start, path.c_str(), &cursor);
  }
  const bool isRefused = path.empty() || path.size() > kLongestPath;
  require((result == kInvalid) == isRefused && cursor.offset <= path.size());
  require(isRefused || result == kNotFound || result == NEB_XML_ERR_BAD_PATH);
}

void lookUp(Bytes &bytes) {
  constexpr const char *kNames[] = {"a", "b", "a.b", "1", "p:a", "", "\\", "a", "b"};
  constexpr const char *kParts[] = {"a",  "b",   "a\\.b", "1",  "2",           "3",  ".",  ".",
                                    "..", "\\.", "p:",    "\\", ".0000000001", "0b", "a.", ".b."};
  std::vector<XmlNode *> nodes;
  for (size_t left = 1 + bytes.pick(24); left > 0; --left) {
    XmlNode *node = nullptr;
    const char *prefix = bytes.pick(4) == 0 ? "p" : nullptr;
    require(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, prefix, bytes.pickFrom(kNames), nullptr,
                               &node) == kOk);
    if (!nodes.empty()) require(NEB_XML_AppendChildNode(bytes.pickFrom(nodes), node) == kOk);
    nodes.push_back(node);
  }
  while (!bytes.isEmpty()) {
    const XmlNode *start = nodes[bytes.pick(4) == 0 ? bytes.pick(nodes.size()) : 0];
    std::string path(bytes.pick(16) == 0 ? kLongestPath - bytes.pick(16) : 0, '.');
    if (start->name != nullptr && bytes.pick(8) != 0) path += start->name;
    for (size_t left = bytes.pick(12); left > 0; --left) path += bytes.pickFrom(kParts);
    XmlNode *const untouched = reinterpret_cast<XmlNode *>(&path);
    XmlNode *node = untouched;
    const XmlNode *expected = nullptr;
    const uint32_t result = NEB_XML_GetNodeByUrl(start, path.c_str(), &node);
    require(result == find(start, path, &expected));
    require(node == (result == kOk ? expected : untouched));
    select(start, path, nodes.size(), expected);
  }
  NEB_XML_FreeNode(nodes[0]);
}

// Escaping of values that no parse may produce.
void escape(Bytes &bytes) {
  constexpr const char *kParts[] = {"&",          "#",      "x",  ";", "&amp;",
                                    "&#1114111;", "10FFFF", "lt", "\""};
  std::string text;
  while (!bytes.isEmpty()) text += bytes.pick(2) != 0 ? bytes.pickFrom(kParts) : bytes.takeText(3);
  XmlNode *node = nullptr;
  char *printed = nullptr;
  require(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "n", text.c_str(), &node) == kOk);
  require(NEB_XML_AddAttr(node, "p", "a", text.c_str()) == kOk);
  require(NEB_XML_Transform(node, &printed) == kOk);
  require(printed == trees::printed(node, trees::Half::both));
  NEB_XML_FreeMem(printed);
  NEB_XML_FreeNode(node);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  constexpr void (*kTargets[])(Bytes &) = {lookUp, escape};
  constexpr size_t kLongestProgram = 1024;
  if (size > kLongestProgram) return 0;
  guarded::begin();
  Bytes bytes(data, size);
  bytes.pickFrom(kTargets)(bytes);
  guarded::failNth(0);
  require(guarded::outstanding() == 0);
  return 0;
}
