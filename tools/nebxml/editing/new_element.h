// Elements that the command line or a script describes.
#pragma once

#include <string>
#include <vector>

#include "documents/document.h"
#include "documents/selection.h"
#include "documents/tree.h"

namespace nebxml {

struct NewElement {
  std::string content;  // the name, or the XML of a whole element
  std::string value;
  std::vector<std::string> attributes;  // NAME=VALUE
};

// Whether the content is XML.
bool isFragment(const std::string &content);

// Throws CommandError, with the heading of the selection, if XML does not allow a name or a value,
// or if the XML cannot be read strictly.
Tree makeElement(const Document &document, const Selection &selection, const NewElement &element);

}  // namespace nebxml
