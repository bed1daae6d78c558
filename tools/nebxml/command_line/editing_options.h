// The options that the editing commands have in common.
#pragma once

#include <string>

#include "command_line/options.h"
#include "editing/edits.h"

namespace nebxml {

// A command that edits the nodes that a pattern finds.
struct EditingOptions {
  Input input;
  Selection selection;
  Destination destination;
};

// The file, the path, where the result goes, and --all.
//
// purpose  of --all
void addEditingOptions(CLI::App *command, EditingOptions &options, const std::string &purpose);

// --first, --before and --after.
void addPositions(CLI::App *command, Position &position);

}  // namespace nebxml
