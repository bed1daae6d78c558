// The command fmt.
#pragma once

#include <CLI/CLI.hpp>

#include "commands.h"
#include "layout/formatter.h"

namespace nebxml {

struct FormatOptions {
  Layout layout;
  bool isCheck = false;  // only whether the file is laid out so
};

// The options of fmt that no other command has. Those of its destination are there already.
void addFormatOptions(CLI::App *command, FormatOptions &options);

// Returns notFound if a file that is only checked is laid out in another way, else done. Throws
// CommandError.
ExitStatus formatDocument(const Target &target, const FormatOptions &options,
                          const Destination &destination);

}  // namespace nebxml
