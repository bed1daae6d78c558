// Edits in a file.
#pragma once

#include <string>
#include <vector>

#include "editing/edit_request.h"

namespace nebxml {

// Reads a script, or standard input. Each of its lines holds one edit, such as "set PATH=VALUE".
// Empty lines and those that begin with '#' are skipped. Throws CommandError.
void readScript(const std::string &fileName, std::vector<EditRequest> &requests);

}  // namespace nebxml
