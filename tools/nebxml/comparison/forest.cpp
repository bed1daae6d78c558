#include "comparison/forest.h"

#include <limits>

namespace nebxml {

Forest::Forest(const std::vector<XmlNode *> &first, const std::vector<XmlNode *> &second,
               const Tolerance &tolerance)
    : tolerance_(tolerance) {
  appendDocument(first);
  appendDocument(second);
}

void Forest::appendDocument(const std::vector<XmlNode *> &topLevelNodes) {
  const size_t root = elements_.size();
  elements_.push_back({nullptr, 0, 0});
  for (const XmlNode *node : topLevelNodes) appendSubtree(node);
  elements_[root].end = elements_.size();
}

void Forest::appendSubtree(const XmlNode *root) {
  constexpr size_t kNowhere = std::numeric_limits<size_t>::max();
  std::vector<size_t> open;  // the current element and its ancestors
  const auto closeDownTo = [&](size_t depth) {
    for (; open.size() > depth; open.pop_back()) elements_[open.back()].end = elements_.size();
  };
  size_t depth = 0;
  size_t ignoredDepth = kNowhere;
  for (const XmlNode *node = root; node != nullptr; node = nextInSubtree(node, root, depth)) {
    if (depth > ignoredDepth) continue;
    ignoredDepth = tolerance_.ignoresElement(node) ? depth : kNowhere;
    if (ignoredDepth == depth) continue;
    closeDownTo(depth);
    open.push_back(elements_.size());
    elements_.push_back({node, 0, 0});
  }
  closeDownTo(0);
}

std::vector<size_t> Forest::childrenOf(size_t element) const {
  std::vector<size_t> children;
  const size_t end = elements_[element].end;
  for (size_t child = element + 1; child < end; child = elements_[child].end) {
    children.push_back(child);
  }
  return children;
}

std::vector<Attribute> Forest::attributesOf(size_t element) const {
  std::vector<Attribute> attributes;
  for (const XmlNode *node : attributesAt(elements_[element].node)) {
    if (!tolerance_.ignoresAttribute(node)) attributes.push_back({nodeStrings(node), node});
  }
  return attributes;
}

bool Forest::isLeaf(size_t element) const {
  return NEB_XML_GetNodeFirstChild(elements_[element].node) == nullptr;
}

NodeStrings Forest::stringsOf(size_t element) const {
  NodeStrings strings = nodeStrings(elements_[element].node);
  if (!strings.value.empty() && !isLeaf(element)) strings.value = {};
  return strings;
}

}  // namespace nebxml
