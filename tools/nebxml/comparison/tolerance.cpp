#include "comparison/tolerance.h"

#include "documents/pattern_text.h"

namespace nebxml {

Tolerance::Tolerance(bool ignoresOrder, const std::vector<std::string> &ignored)
    : ignoresOrder_(ignoresOrder) {
  for (const std::string &name : ignored) {
    if (name.front() == kAttributeMark) {
      attributes_.insert(name.substr(1));
    } else {
      elements_.insert(name);
    }
  }
}

bool Tolerance::isIn(const Names &names, const XmlNode *node) {
  if (names.empty()) return false;
  const NodeStrings strings = nodeStrings(node);
  return names.contains(strings.name) || names.contains(strings.qualifiedName());
}

}  // namespace nebxml
