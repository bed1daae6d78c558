#include "editing/subtrees.h"

namespace nebxml {

std::optional<size_t> Subtrees::labelOf(const XmlNode *node) {
  std::vector<const XmlNode *> passed;
  std::optional<size_t> label;
  for (; node != nullptr; node = NEB_XML_GetNodeParent(node)) {
    const auto known = labels_.find(node);
    if (known != labels_.end()) {
      label = known->second;
      break;
    }
    passed.push_back(node);
  }
  for (const XmlNode *each : passed) labels_.emplace(each, label);
  return label;
}

std::vector<XmlNode *> outermost(const std::vector<XmlNode *> &nodes) {
  Subtrees subtrees;
  std::vector<XmlNode *> roots;
  for (XmlNode *node : nodes) {
    if (subtrees.labelOf(node)) continue;
    subtrees.add(node, roots.size());
    roots.push_back(node);
  }
  return roots;
}

}  // namespace nebxml
