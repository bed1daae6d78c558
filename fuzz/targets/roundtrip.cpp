// What parses is printed as the rules tell, whole, by halves and indented, and reads back as it was.
#include <cstring>
#include <string>
#include <string_view>

#include "support/hooks.h"
#include "support/require.h"
#include "support/trees.h"
#include "xml/xml_node.h"

namespace {

constexpr size_t kLongestText = 1 << 13;
constexpr trees::Sameness kAsPrinted = {true, false};

// What print hands out.
template <typename Print>
std::string handedOut(Print print) {
  char *text = nullptr;
  require(print(&text) == kOk);
  std::string copy = text == nullptr ? "" : text;
  require(text == nullptr || !copy.empty());
  NEB_XML_FreeMem(text);
  return copy;
}

// All top-level elements, one after the other.
std::string printed(const XmlNode *first) {
  std::string text;
  for (const XmlNode *node = first; node != nullptr; node = NEB_XML_GetNodeNextSibling(node)) {
    text += handedOut([&](char **out) { return NEB_XML_Transform(node, out); });
  }
  return text;
}

void checkAgainstModel(const XmlNode *node) {
  using trees::Half;
  const std::string whole = trees::printed(node, Half::both, 0);
  require(handedOut([&](char **out) { return NEB_XML_Transform(node, out); }) == whole);
  require(handedOut([&](char **out) { return NEB_XML_TransformHead(node, out); }) ==
          trees::printed(node, Half::opening, 0));
  require(handedOut([&](char **out) { return NEB_XML_TransformTail(node, out); }) ==
          trees::printed(node, Half::closing, 0));
}

// Names are printed as they stand: they may not hold what ends a name or begins other markup. One
// that ends like a section or a comment does so when '>' follows, as in its end tag.
bool isPlainName(const char *name) {
  if (name == nullptr) return true;
  const std::string_view text = name;
  return !text.starts_with('!') && !text.starts_with('?') && !text.ends_with("]]") &&
         !text.ends_with("--") && text.find_first_of(" \t\r\n\"'<>=&/:") == text.npos;
}

bool hasReference(const char *value) {
  for (; value != nullptr && *value != '\0'; ++value) {
    if (*value == '&' && trees::beginsReference(value)) return true;
  }
  return false;
}

bool canBeRead(const XmlNode *node) {
  return isPlainName(node->prefix) && isPlainName(node->name) && !hasReference(node->value);
}

// Reading takes an empty text for none, and of white space before a text it keeps the spaces only.
bool keepsText(const char *value) {
  if (value == nullptr) return true;
  const size_t blanks = std::strspn(value, " \t\r\n");
  if (value[blanks] == '\0') return blanks != 0;
  return blanks == 0 || blanks == std::strspn(value, " ");
}

template <typename Holds>
bool allNodes(const XmlNode *first, Holds holds) {
  for (const XmlNode *node = first; node != nullptr; node = NEB_XML_Iterator(node)) {
    if (!holds(node)) return false;
    for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
      if (!holds(attr)) return false;
    }
  }
  return true;
}

bool keepsTexts(const XmlNode *node) {
  if (node->type == NEB_XML_NODE_ATTRIBUTE) return node->value == nullptr || *node->value != '\0';
  return node->firstChild != nullptr || keepsText(node->value);
}

XmlNode *read(const std::string &text) {
  XmlNode *document = nullptr;
  require(NEB_XML_Parse(text.c_str(), &document) == kOk);
  return document;
}

void checkReadBack(const XmlNode *first) {
  const std::string text = printed(first);
  XmlNode *second = read(text);
  const std::string again = printed(second);
  if (allNodes(first, keepsTexts)) {
    require(trees::isSameChain(first, second, kAsPrinted));
    require(again == text);
  }
  XmlNode *third = read(again);
  require(trees::isSameChain(second, third, kAsPrinted));
  require(printed(third) == again);
  trees::release(third);
  trees::release(second);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > kLongestText) return 0;
  hooks::begin();
  const std::string text(reinterpret_cast<const char *>(data), size);
  XmlNode *first = nullptr;
  const auto parse = size % 2 == 0 ? NEB_XML_Parse : NEB_XML_ParseEx;
  if (parse(text.c_str(), &first) == kOk) {
    for (XmlNode *node = first; node != nullptr; node = node->next) checkAgainstModel(node);
    if (first->firstChild != nullptr) checkAgainstModel(first->firstChild);
    if (allNodes(first, canBeRead)) checkReadBack(first);
    trees::release(first);
  }
  require(hooks::outstanding() == 0);
  return 0;
}
