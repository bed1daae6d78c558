// A parsed document is printed as the model prints it, whole and by halves. Exact printing, also
// after edits, parses back to the same tree, or refuses a tree that XML cannot represent.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>
#include <string>
#include <utility>

#include "support/bytes.h"
#include "support/guarded_hooks.h"
#include "support/require.h"
#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

using trees::qualifiedName;

constexpr size_t kLongestInput = 1 << 13;

void checkAgainstModel(const XmlNode *node) {
  for (const auto half : {trees::Half::closing, trees::Half::opening, trees::Half::both}) {
    char *text = nullptr;
    require(kPrints[static_cast<size_t>(half)](node, &text) == kOk);
    require(text == nullptr || *text != '\0');
    require(trees::printed(node, half) == (text == nullptr ? "" : text));
    NEB_XML_FreeMem(text);
  }
}

bool isName(const std::string &name) {
  const auto isOneOf = [](char byte, const char *others) {
    return (byte & 0x80) != 0 || std::isalpha(byte) != 0 || std::strchr(others, byte) != nullptr;
  };
  const auto isPart = [&](char byte) { return isOneOf(byte, "0123456789._-:"); };
  return !name.empty() && isOneOf(name.front(), "_") && name.back() != ':' &&
         std::all_of(name.begin(), name.end(), isPart);
}

bool isValue(const std::string &value) {
  return std::all_of(value.begin(), value.end(), [](char byte) {
    return (byte & 0xE0) != 0 || byte == '\t' || byte == '\n' || byte == '\r';
  });
}

const char *valueOf(const XmlNode *node) { return node->value == nullptr ? "" : node->value; }

bool isRepresentable(const XmlNode *node) {
  if (node->name == nullptr || !isName(qualifiedName(node)) || !isValue(valueOf(node))) {
    return false;
  }
  if (node->type == NEB_XML_NODE_ATTRIBUTE) return true;
  if (node->type != NEB_XML_NODE_ELEMENT && node->type != NEB_XML_NODE_DOCUMENT) return false;
  std::set<std::string> names;
  for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
    if (!isRepresentable(attr) || !names.insert(qualifiedName(attr)).second) return false;
  }
  return node->firstChild == nullptr ||
         valueOf(node)[std::strspn(valueOf(node), " \t\n\r")] == '\0';
}

// All that exact printing keeps. No string holds a NUL.
std::string kept(const XmlNode *first) {
  std::string all;
  const auto add = [&all](const std::string &text) { all.append(text).append(1, '\0'); };
  for (const XmlNode *node = first; node != nullptr; node = NEB_XML_Iterator(node)) {
    add(qualifiedName(node));
    for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
      add(qualifiedName(attr));
      add(valueOf(attr));
    }
    uint32_t children = 0;
    NEB_XML_GetNodeChildNum(node, &children);
    add(std::to_string(children));
    if (children == 0) add(valueOf(node));
  }
  return all;
}

// Replaces strings and adds nodes as the bytes of the input choose, again from its beginning.
void edit(XmlNode *node, Bytes bytes) {
  constexpr uint32_t kTypes[] = {NEB_XML_NODE_ELEMENT, NEB_XML_NODE_ELEMENT, NEB_XML_NODE_ELEMENT,
                                 3};
  constexpr size_t kLongest = 40;
  for (; node != nullptr && !bytes.isEmpty(); node = NEB_XML_Iterator(node)) {
    const bool isForAttribute = bytes.pick(2) == 1 && node->firstAttr != nullptr;
    const std::string text = bytes.takeText(kLongest);
    const char *strings[3] = {};
    strings[bytes.pick(3)] = text.c_str();
    XmlNode *edited = isForAttribute ? static_cast<XmlNode *>(node->firstAttr) : node;
    // The target api checks which edits are refused.
    require(NEB_XML_SetNode(edited, strings[0], strings[1], strings[2]) != kNoMemory);
    if (bytes.pick(2) == 1) {
      require(NEB_XML_AddAttr(node, "p", text.c_str(), text.c_str()) != kNoMemory);
    }
    if (bytes.pick(4) != 0) continue;
    XmlNode *child = XML_NewNode(0, bytes.pickFrom(kTypes));
    require(XML_SetNode(nullptr, child, nullptr, "child", text.c_str()) == kOk);
    if (NEB_XML_AppendChildNode(node, child) != kOk) NEB_XML_FreeNode(child);
  }
}

void checkExact(const XmlNode *document) {
  bool fits = true;
  for (const XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
    fits = fits && isRepresentable(node);
  }
  for (const uint32_t width : {0U, 1U, 3U, 16U}) {
    char *text = nullptr;
    const uint32_t result = NEB_XML_TransformIndented(document, width, &text);
    require(result == (fits ? kOk : kInvalid));
    if (!fits) continue;
    XmlNode *again = nullptr;
    require(NEB_XML_Parse(text, &again) == kOk);
    require(kept(again) == kept(document));
    XML_FreeNode(again);
    NEB_XML_FreeMem(text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > kLongestInput) return 0;
  guarded::begin();
  const std::string input(reinterpret_cast<const char *>(data), size);
  XmlNode *first = nullptr;
  const auto parse = size % 2 == 0 ? NEB_XML_Parse : NEB_XML_ParseEx;
  if (parse(input.c_str(), &first) == kOk) {
    for (XmlNode *node = first; node != nullptr; node = node->next) checkAgainstModel(node);
    if (first->firstChild != nullptr) checkAgainstModel(first->firstChild);
    if (first->next == nullptr) {
      checkExact(first);
      edit(first, Bytes(data, size));
      checkExact(first);
    }
    XML_FreeNode(first);
  }
  require(guarded::outstanding() == 0);
  return 0;
}
