#include "documents/qualified_name.h"

#include <string_view>

#include "documents/node_reading.h"

namespace nebxml {
QualifiedName::QualifiedName(const std::string &qualifiedName) {
  const size_t mark = qualifiedName.find(kPrefixMark);
  const bool hasPrefix = mark != std::string::npos && mark > 0;
  if (hasPrefix) prefix_ = qualifiedName.substr(0, mark);
  name_ = hasPrefix ? qualifiedName.substr(mark + 1) : qualifiedName;
}

XmlNode *findAttribute(const XmlNode *element, const QualifiedName &name) {
  const std::string_view prefix = name.prefix() == nullptr ? "" : name.prefix();
  XmlNode *attribute = nextAttribute(element, nullptr);
  for (; attribute != nullptr; attribute = nextAttribute(element, attribute)) {
    const NodeStrings strings = nodeStrings(attribute);
    if (strings.prefix == prefix && strings.name == name.name()) break;
  }
  return attribute;
}

}  // namespace nebxml
