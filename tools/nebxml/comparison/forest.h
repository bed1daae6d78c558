// Two documents, flattened for their comparison.
#pragma once

#include <cstddef>
#include <vector>

#include "comparison/tolerance.h"
#include "documents/node_reading.h"

namespace nebxml {

struct Attribute {
  NodeStrings strings;
  const XmlNode *node;
};

struct Element {
  const XmlNode *node;
  size_t end;      // behind the last descendant
  size_t subtree;  // a number that equal subtrees share, and no others
};

// The elements of both documents in document order, without those that are ignored. An element is
// an index. Each document begins with a root of its own, which has no node: the top-level elements
// are its children.
class Forest {
 public:
  Forest(const std::vector<XmlNode *> &first, const std::vector<XmlNode *> &second,
         const Tolerance &tolerance);

  const Tolerance &tolerance() const { return tolerance_; }
  size_t size() const { return elements_.size(); }
  const Element &operator[](size_t element) const { return elements_[element]; }
  size_t secondRoot() const { return elements_.front().end; }
  bool isSecond(size_t element) const { return element >= secondRoot(); }
  size_t descendantCount(size_t element) const { return elements_[element].end - element - 1; }

  std::vector<size_t> childrenOf(size_t element) const;

  // In document order, without those that are ignored.
  std::vector<Attribute> attributesOf(size_t element) const;

  // Without a value where there are children, even ignored ones: it is never printed there.
  NodeStrings stringsOf(size_t element) const;
  bool isLeaf(size_t element) const;

  void setSubtree(size_t element, size_t number) { elements_[element].subtree = number; }

 private:
  void appendDocument(const std::vector<XmlNode *> &topLevelNodes);
  void appendSubtree(const XmlNode *root);

  Tolerance tolerance_;
  std::vector<Element> elements_;
};

}  // namespace nebxml
