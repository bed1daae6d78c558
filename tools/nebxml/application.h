// The command line as a whole.
#pragma once

#include <string>
#include <vector>

#include "terminal/command_error.h"

namespace nebxml {

// Runs the command that the arguments name. Throws CommandError.
ExitStatus run(const std::vector<std::string> &arguments);

}  // namespace nebxml
