#include "commands/saved_edits.h"

#include <utility>

#include "documents/values.h"

namespace nebxml {

void addEditingOptions(CLI::App *command, EditingOptions &options) {
  addFile(command, options.input);
  addPath(command, options.selection.pattern);
  addOutput(command, options.destination);
}

void saveEdited(const Document &document, const Edits &edits, const EditingOptions &options) {
  std::string bytes;
  switch (applyEdits(document, edits, bytes)) {
    case NEB_XML_OK:
      return save(document, std::move(bytes), options.destination);
    case NEB_XML_ERR_NO_MEMORY:
      throw noMemory(document.fileName());
    default:
      throw refusal(document, options.selection,
                    "XML or the document's encoding does not allow the change at path");
  }
}

}  // namespace nebxml
