#include "documents/values.h"

#include "documents/node_reading.h"
#include "documents/qualified_name.h"
#include "documents/value_type.h"
#include "terminal/excerpt.h"

namespace nebxml {

std::optional<std::string> attributeValue(const XmlNode *element, const std::string &name) {
  const XmlNode *attribute = findAttribute(element, QualifiedName(name));
  if (attribute == nullptr) return std::nullopt;
  return std::string(nodeStrings(attribute).value);
}

std::string inRequiredForm(const Document &document, const Selection &selection,
                           const std::optional<std::string> &type, const std::string &value) {
  if (!type) return value;
  if (const auto typed = typedText(*type, value)) return *typed;
  throw refusal(
      document, selection,
      "'" + shortened(value) + "' is not of type " + *type + " (" + rangeOf(*type) + ") at path");
}

}  // namespace nebxml
