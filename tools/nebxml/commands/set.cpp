#include <memory>
#include <optional>

#include "command_line/command.h"
#include "command_line/editing_options.h"
#include "commands/commands.h"
#include "documents/values.h"
#include "editing/editor.h"

namespace nebxml {
namespace {

struct SetOptions {
  EditingOptions editing;
  std::optional<std::string> attribute;
  std::optional<std::string> type;
  std::string value;
};

void set(const SetOptions &options) {
  const EditingOptions &editing = options.editing;
  const Document document(editing.input.fileName, editing.input.reading);
  const std::string value =
      inRequiredForm(document, editing.selection, options.type, options.value);
  Editor editor(document);
  if (options.attribute) {
    editor.setAttribute(editing.selection, *options.attribute, value);
  } else {
    editor.setValue(editing.selection, value);
  }
  editor.save(editing.destination);
}

}  // namespace

void addSet(CLI::App &app) {
  const auto options = std::make_shared<SetOptions>();
  CLI::App *command =
      addCommand(app, {"set",
                       "change a node's text or an attribute",
                       {"nebxml set site.xml site.port 8080 --in-place",
                        "nebxml set site.xml 'site.server[@name=www].@port' 8080 --in-place"}});
  addEditingOptions(command, options->editing, "change every match, not only the first one");
  command->add_option("VALUE", options->value, "the new text, after -- if it begins with -")
      ->required();
  command
      ->add_option("--attr", options->attribute,
                   "set this attribute, name or prefix:name; it is added if it is missing")
      ->type_name("NAME");
  addType(command, options->type);
  command->callback([options] {
    requireReplaceable(options->editing.input, options->editing.destination);
    set(*options);
  });
}

}  // namespace nebxml
