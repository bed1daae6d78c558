// The command line as a whole.
#pragma once

#include "terminal/command_error.h"

namespace nebxml {

// Runs the command that the arguments name. Throws CommandError.
ExitStatus run(int argumentCount, const char *const *arguments);

}  // namespace nebxml
