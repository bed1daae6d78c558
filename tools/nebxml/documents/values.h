// The values that commands read and write, with reports of what does not fit.
#pragma once

#include <optional>
#include <string>

#include "documents/document.h"
#include "documents/selection.h"

namespace nebxml {

// The value of an attribute, or nothing if the element lacks it.
std::optional<std::string> attributeValue(const XmlNode *element, const std::string &name);

// The value as the type writes it. Throws CommandError if it is not of the type. Without a type, it
// is the value itself.
std::string inRequiredForm(const Document &document, const Selection &selection,
                           const std::optional<std::string> &type, const std::string &value);

}  // namespace nebxml
