#include "attribute_name.h"

#include <memory>

#include "neb_xml.h"
#include "node_reading.h"

namespace nebxml {

AttributeName::AttributeName(const std::string &qualifiedName) : qualifiedName_(qualifiedName) {
  const std::size_t mark = qualifiedName.find(':');
  const bool hasPrefix = mark != std::string::npos && mark > 0;
  if (hasPrefix) {
    prefix_ = qualifiedName.substr(0, mark);
  }
  name_ = hasPrefix ? qualifiedName.substr(mark + 1) : qualifiedName;
}

bool AttributeName::isWellFormed() const {
  // The parser is the judge: a space, a quote or an equals sign in the name ends it early.
  const std::string sample = "<sample " + qualifiedName_ + "=\"\"/>";
  XmlNode *root = nullptr;
  if (NEB_XML_Parse(sample.c_str(), &root) != NEB_XML_OK) {
    return false;
  }
  const std::unique_ptr<XmlNode, decltype(&NEB_XML_FreeNode)> owner(root, &NEB_XML_FreeNode);
  const XmlNode *attribute = nextAttribute(root, nullptr);
  return attribute != nullptr && nodeStrings(attribute).qualifiedName() == qualifiedName_;
}

}  // namespace nebxml
