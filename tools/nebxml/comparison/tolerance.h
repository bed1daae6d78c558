// What does not count in a comparison.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "documents/node_reading.h"

namespace nebxml {

class Tolerance {
 public:
  Tolerance() = default;

  // ignoresOrder  of the children of an element
  // ignored       names of elements, and of attributes behind '@'. A name without ':' matches any
  //               prefix, as in a pattern.
  Tolerance(bool ignoresOrder, const std::vector<std::string> &ignored);

  bool ignoresOrder() const { return ignoresOrder_; }
  bool ignoresElement(const XmlNode *node) const { return isIn(elements_, node); }
  bool ignoresAttribute(const XmlNode *node) const { return isIn(attributes_, node); }

 private:
  using Names = std::set<std::string, std::less<>>;

  static bool isIn(const Names &names, const XmlNode *node);

  bool ignoresOrder_ = false;
  Names elements_;
  Names attributes_;
};

}  // namespace nebxml
