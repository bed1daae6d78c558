#include "comparison/tree_difference.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "documents/node_reading.h"

namespace nebxml {
namespace {

uint32_t childCount(const XmlNode *node) {
  uint32_t count = 0;
  NEB_XML_GetNodeChildNum(node, &count);
  return count;
}

// A value beside children is never printed.
std::string_view printedValue(const XmlNode *node) {
  return NEB_XML_GetNodeFirstChild(node) == nullptr ? nodeStrings(node).value : std::string_view();
}

Value presentValue(std::string_view value) {
  return value.empty() ? Value() : Value(std::string(value));
}

bool haveSameAttributeLists(const XmlNode *first, const XmlNode *second) {
  const XmlNode *left = nextAttribute(first, nullptr);
  const XmlNode *right = nextAttribute(second, nullptr);
  while (left != nullptr && right != nullptr) {
    if (nodeStrings(left) != nodeStrings(right)) return false;
    left = NEB_XML_GetNodeNextSibling(left);
    right = NEB_XML_GetNodeNextSibling(right);
  }
  return left == right;
}

// By qualified name. Not a hash table: a document could choose names that collide.
using Attributes = std::map<std::string, std::string_view>;

Attributes attributesOf(const XmlNode *element) {
  Attributes attributes;
  XmlNode *attribute = nextAttribute(element, nullptr);
  for (; attribute != nullptr; attribute = nextAttribute(element, attribute)) {
    const NodeStrings strings = nodeStrings(attribute);
    attributes.emplace(strings.qualifiedName(), strings.value);
  }
  return attributes;
}

// The first attribute of an element that the other element lacks or has with another value.
std::optional<Difference> unmatchedAttribute(const XmlNode *element, const Attributes &others) {
  XmlNode *attribute = nextAttribute(element, nullptr);
  for (; attribute != nullptr; attribute = nextAttribute(element, attribute)) {
    const NodeStrings strings = nodeStrings(attribute);
    const auto other = others.find(strings.qualifiedName());
    if (other == others.end() || other->second != strings.value) {
      return Difference{"attribute '" + strings.qualifiedName() + "'", std::string(strings.value),
                        other == others.end() ? Value() : Value(std::string(other->second))};
    }
  }
  return std::nullopt;
}

std::optional<Difference> attributeDifference(const XmlNode *first, const XmlNode *second) {
  if (haveSameAttributeLists(first, second)) return std::nullopt;
  if (auto difference = unmatchedAttribute(first, attributesOf(second))) return difference;
  auto difference = unmatchedAttribute(second, attributesOf(first));
  if (difference) std::swap(difference->first, difference->second);
  return difference;
}

std::optional<Difference> nodeDifference(const XmlNode *first, const XmlNode *second) {
  const NodeStrings left = nodeStrings(first);
  const NodeStrings right = nodeStrings(second);
  if (left.prefix != right.prefix || left.name != right.name) {
    return Difference{"name", left.qualifiedName(), right.qualifiedName()};
  }
  if (auto difference = attributeDifference(first, second)) return difference;
  if (printedValue(first) != printedValue(second)) {
    return Difference{"value", presentValue(printedValue(first)),
                      presentValue(printedValue(second))};
  }
  if (childCount(first) != childCount(second)) {
    return Difference{"number of children", std::to_string(childCount(first)),
                      std::to_string(childCount(second))};
  }
  return std::nullopt;
}

// Two cursors suffice: up to the first difference the trees have the same shape.
std::optional<DifferentNodes> treeDifference(const XmlNode *firstRoot, const XmlNode *secondRoot) {
  const XmlNode *first = firstRoot;
  const XmlNode *second = secondRoot;
  size_t depth = 0;
  while (first != nullptr) {
    if (auto difference = nodeDifference(first, second)) {
      return DifferentNodes{first, second, *difference};
    }
    first = nextInSubtree(first, firstRoot, depth);
    second = nextInSubtree(second, secondRoot, depth);
  }
  return std::nullopt;
}

}  // namespace

std::optional<DifferentNodes> firstDifference(const std::vector<XmlNode *> &firstRoots,
                                              const std::vector<XmlNode *> &secondRoots) {
  for (size_t index = 0; index < std::min(firstRoots.size(), secondRoots.size()); ++index) {
    if (auto found = treeDifference(firstRoots[index], secondRoots[index])) return found;
  }
  if (firstRoots.size() == secondRoots.size()) return std::nullopt;
  return DifferentNodes{nullptr,
                        nullptr,
                        {"number of top-level elements", std::to_string(firstRoots.size()),
                         std::to_string(secondRoots.size())}};
}

}  // namespace nebxml
