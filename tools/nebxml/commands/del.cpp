#include <memory>
#include <optional>

#include "command_line/command.h"
#include "commands/commands.h"
#include "commands/saved_edits.h"
#include "documents/values.h"

namespace nebxml {
namespace {

struct DelOptions {
  EditingOptions editing;
  std::optional<std::string> attribute;
};

void remove(const DelOptions &options) {
  const EditingOptions &editing = options.editing;
  const Document document(editing.input.fileName, editing.input.reading);
  Edits edits;
  for (const XmlNode *node : select(document, editing.selection)) {
    if (options.attribute) {
      if (!attributeValue(node, *options.attribute)) {
        throw refusal(document, editing.selection,
                      "no attribute '" + *options.attribute + "' at path");
      }
      edits.removeAttribute(node, AttributeName(*options.attribute));
    } else if (node == document.root()) {
      throw refusal(document, editing.selection, "the document element cannot be deleted:");
    } else {
      edits.remove(node);
    }
  }
  saveEdited(document, edits, editing);
}

}  // namespace

void addDel(CLI::App &app) {
  const auto options = std::make_shared<DelOptions>();
  CLI::App *command =
      addCommand(app, {"del",
                       "remove a node or an attribute",
                       {"nebxml del site.xml site.server.2 --in-place",
                        "nebxml del site.xml site.server --attr debug --in-place"}});
  addEditingOptions(command, options->editing);
  command->add_option("--attr", options->attribute, "an attribute: name or prefix:name")
      ->type_name("NAME");
  command->callback([options] {
    requireReplaceable(options->editing.input, options->editing.destination);
    remove(*options);
  });
}

}  // namespace nebxml
