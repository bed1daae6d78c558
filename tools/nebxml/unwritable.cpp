#include "unwritable.h"

#include <memory>
#include <new>
#include <optional>
#include <set>

#include "node_path.h"
#include "node_reading.h"

namespace nebxml {
namespace {

using OwnedNode = std::unique_ptr<XmlNode, decltype(&NEB_XML_FreeNode)>;

struct Strings {
  const char *prefix = nullptr;
  const char *name = nullptr;
  const char *value = nullptr;
};

Strings stringsOf(const XmlNode *node) {
  Strings strings;
  NEB_XML_GetNodeValue(node, nullptr, &strings.prefix, &strings.name, &strings.value);
  return strings;
}

OwnedNode makeElement(const Strings &strings) {
  XmlNode *element = nullptr;
  if (NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, strings.prefix, strings.name, strings.value,
                         &element) != NEB_XML_OK) {
    throw std::bad_alloc();
  }
  return {element, &NEB_XML_FreeNode};
}

OwnedNode makeCarrier(const Strings &attribute) {
  OwnedNode carrier = makeElement({nullptr, "carrier", nullptr});
  if (NEB_XML_AddAttr(carrier.get(), attribute.prefix, attribute.name, attribute.value) ==
      NEB_XML_ERR_NO_MEMORY) {
    throw std::bad_alloc();
  }
  return carrier;
}

bool isAccepted(const OwnedNode &element) {
  char *text = nullptr;
  const uint32_t result = NEB_XML_TransformIndented(element.get(), 0, &text);
  NEB_XML_FreeMem(text);
  if (result == NEB_XML_ERR_NO_MEMORY) throw std::bad_alloc();
  return result == NEB_XML_OK;
}

// The first duplicate among the qualified names: a prefix and a name that print like another name.
std::optional<std::string> duplicateName(const XmlNode *element) {
  std::set<std::string> names;
  XmlNode *attribute = nullptr;
  while ((attribute = nextAttribute(element, attribute)) != nullptr) {
    const std::string name = nodeStrings(attribute).qualifiedName();
    if (!names.insert(name).second) return name;
  }
  return std::nullopt;
}

// Which of a node's strings the printer refuses, tried on a node that has no others.
template <typename Make>
std::optional<std::string> refusedPart(const XmlNode *node, Make make) {
  Strings strings = stringsOf(node);
  if (isAccepted(make(strings))) return std::nullopt;
  strings.value = nullptr;
  return isAccepted(make(strings)) ? "the value of " : "the name of ";
}

std::optional<std::string> refusedAt(const XmlNode *element) {
  if (const auto part = refusedPart(element, makeElement)) return *part + "the element";
  XmlNode *attribute = nullptr;
  while ((attribute = nextAttribute(element, attribute)) != nullptr) {
    if (const auto part = refusedPart(attribute, makeCarrier)) {
      return *part + "attribute '" + nodeStrings(attribute).qualifiedName() + "'";
    }
  }
  if (const auto name = duplicateName(element)) return "attribute '" + *name + "' is there twice";
  return std::nullopt;
}

}  // namespace

std::string firstUnwritable(const Document &document) {
  for (const XmlNode *top : document.topLevelNodes()) {
    size_t depth = 0;
    for (const XmlNode *node = top; node != nullptr; node = nextInSubtree(node, top, depth)) {
      if (const auto refused = refusedAt(node)) {
        return *refused + " at path '" + pathOf(document.topLevelNodes(), node) + "'";
      }
    }
  }
  return "names or values";
}

}  // namespace nebxml
