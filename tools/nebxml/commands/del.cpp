#include <memory>
#include <optional>

#include "command_line/command.h"
#include "command_line/editing_options.h"
#include "commands/commands.h"
#include "editing/editor.h"

namespace nebxml {
namespace {

struct DelOptions {
  EditingOptions editing;
  std::optional<std::string> attribute;
};

void remove(const DelOptions &options) {
  const EditingOptions &editing = options.editing;
  const Document document(editing.input.fileName, editing.input.reading);
  Editor editor(document);
  if (options.attribute) {
    editor.removeAttribute(editing.selection, *options.attribute);
  } else {
    editor.remove(editing.selection);
  }
  editor.save(editing.destination);
}

}  // namespace

void addDel(CLI::App &app) {
  const auto options = std::make_shared<DelOptions>();
  CLI::App *command = addCommand(app, {"del",
                                       "remove nodes or attributes",
                                       {"nebxml del site.xml site.server.2 --in-place",
                                        "nebxml del site.xml 'site.**.@debug' --all --in-place"}});
  addEditingOptions(command, options->editing, "remove every match, not only the first one");
  command->add_option("--attr", options->attribute, "remove this attribute: name or prefix:name")
      ->type_name("NAME");
  command->callback([options] {
    requireReplaceable(options->editing.input, options->editing.destination);
    remove(*options);
  });
}

}  // namespace nebxml
