#include <memory>
#include <optional>

#include "command_line/command.h"
#include "commands/commands.h"
#include "commands/saved_edits.h"
#include "documents/values.h"

namespace nebxml {
namespace {

struct SetOptions {
  EditingOptions editing;
  std::optional<std::string> attribute;
  std::optional<std::string> type;
  std::string value;
};

void requireAttributeName(const Document &document, const std::string &name) {
  if (isAttributeName(name)) return;
  throw CommandError(ExitStatus::wrongUsage, document.fileName(),
                     "not an attribute name: '" + name + "'");
}

void set(const SetOptions &options) {
  const EditingOptions &editing = options.editing;
  const Document document(editing.input.fileName, editing.input.reading);
  const std::vector<XmlNode *> nodes = select(document, editing.selection);
  const std::string value =
      inRequiredForm(document, editing.selection, options.type, options.value);
  Edits edits;
  for (const XmlNode *node : nodes) {
    if (options.attribute) {
      const bool isNew = !attributeValue(node, *options.attribute);
      if (isNew) requireAttributeName(document, *options.attribute);
      edits.setAttribute(node, AttributeName(*options.attribute), value);
    } else if (NEB_XML_GetNodeFirstChild(node) != nullptr) {
      throw refusal(document, editing.selection,
                    "child elements leave no place for a text at path");
    } else {
      edits.setValue(node, value);
    }
  }
  saveEdited(document, edits, editing);
}

}  // namespace

void addSet(CLI::App &app) {
  const auto options = std::make_shared<SetOptions>();
  CLI::App *command =
      addCommand(app, {"set",
                       "change a node's text or an attribute",
                       {"nebxml set site.xml site.port 8080 --in-place",
                        "nebxml set site.xml site.server www --attr name --in-place"}});
  addEditingOptions(command, options->editing);
  command->add_option("VALUE", options->value, "the new text, after -- if it begins with -")
      ->required();
  command->add_option("--attr", options->attribute, "an attribute: name or prefix:name")
      ->type_name("NAME");
  addType(command, options->type);
  command->callback([options] {
    requireReplaceable(options->editing.input, options->editing.destination);
    set(*options);
  });
}

}  // namespace nebxml
