// The name that somebody probably meant.
#pragma once

#include <string>
#include <vector>

namespace nebxml {

// ", did you mean 'check'?", or nothing if no name is close to what was typed.
std::string suggestion(const std::string &typed, const std::vector<std::string> &names);

}  // namespace nebxml
