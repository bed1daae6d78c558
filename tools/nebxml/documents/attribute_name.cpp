#include "documents/attribute_name.h"

#include <memory>
#include <new>

#include "neb_xml.h"

namespace nebxml {
namespace {

constexpr char kPrefixMark = ':';

}  // namespace

AttributeName::AttributeName(const std::string &qualifiedName) {
  const size_t mark = qualifiedName.find(kPrefixMark);
  const bool hasPrefix = mark != std::string::npos && mark > 0;
  if (hasPrefix) prefix_ = qualifiedName.substr(0, mark);
  name_ = hasPrefix ? qualifiedName.substr(mark + 1) : qualifiedName;
}

bool isAttributeName(const std::string &qualifiedName) {
  XmlNode *carrier = nullptr;
  if (NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "carrier", nullptr, &carrier) !=
      NEB_XML_OK) {
    throw std::bad_alloc();
  }
  const std::unique_ptr<XmlNode, decltype(&NEB_XML_FreeNode)> owner(carrier, &NEB_XML_FreeNode);
  const uint32_t result =
      NEB_XML_PutAttr(carrier, qualifiedName.data(), qualifiedName.size(), nullptr, 0, nullptr);
  if (result == NEB_XML_ERR_NO_MEMORY) throw std::bad_alloc();
  return result == NEB_XML_OK;
}

}  // namespace nebxml
