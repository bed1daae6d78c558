#include "documents/values.h"

#include "documents/attribute_name.h"
#include "documents/value_type.h"
#include "terminal/excerpt.h"

namespace nebxml {

CommandError refusal(const Document &document, const Selection &selection,
                     const std::string &cause) {
  return selectionError(ExitStatus::notFound, document, selection, cause);
}

std::optional<std::string> attributeValue(const XmlNode *element, const std::string &name) {
  const AttributeName parts(name);
  const char *value = nullptr;
  const uint32_t result = NEB_XML_GetAttr(element, parts.prefix(), parts.name(), &value);
  if (result != NEB_XML_OK) return std::nullopt;
  return value == nullptr ? "" : value;
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
