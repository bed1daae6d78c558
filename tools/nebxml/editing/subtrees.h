// Which of several subtrees a node is in.
#pragma once

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

#include "neb_xml.h"

namespace nebxml {

// Each ancestor is looked at once, however many nodes are asked for.
class Subtrees {
 public:
  // Comes before questions about the nodes in the subtree.
  void add(const XmlNode *root, size_t label) { labels_[root] = label; }

  // The label of the nearest subtree that a node is in, if there is one.
  std::optional<size_t> labelOf(const XmlNode *node);

 private:
  std::unordered_map<const XmlNode *, std::optional<size_t>> labels_;
};

// The nodes that are in no other one of the list, which is in document order.
std::vector<XmlNode *> outermost(const std::vector<XmlNode *> &nodes);

}  // namespace nebxml
