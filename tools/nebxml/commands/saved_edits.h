// What the editing commands have in common.
#pragma once

#include "command_line/options.h"
#include "documents/edits.h"

namespace nebxml {

// A command that edits the nodes that a pattern finds.
struct EditingOptions {
  Input input;
  Selection selection;
  Destination destination;
};

// The file, the path, where the result goes, and --all.
void addEditingOptions(CLI::App *command, EditingOptions &options);

// Makes the edits and writes the result. Throws CommandError, with nothing written, if the library
// refuses one of them.
void saveEdited(const Document &document, const Edits &edits, const EditingOptions &options);

}  // namespace nebxml
