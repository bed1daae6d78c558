// What XML allows in an edit, asked before the edit is made.
#pragma once

#include <string>

namespace nebxml {

// Each throws CommandError.
//
// heading  how the message begins
void requireElementName(const std::string &heading, const std::string &name);
void requireAttributeName(const std::string &heading, const std::string &name);
void requireCharacters(const std::string &heading, const std::string &value);

}  // namespace nebxml
