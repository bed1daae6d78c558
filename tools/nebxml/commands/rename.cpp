#include <memory>

#include "command_line/command.h"
#include "command_line/editing_options.h"
#include "commands/commands.h"
#include "editing/editor.h"

namespace nebxml {
namespace {

struct RenameOptions {
  EditingOptions editing;
  std::string name;
};

void rename(const RenameOptions &options) {
  const EditingOptions &editing = options.editing;
  const Document document(editing.input.fileName, editing.input.reading);
  Editor editor(document);
  editor.rename(editing.selection, options.name);
  editor.save(editing.destination);
}

}  // namespace

void addRename(CLI::App &app) {
  const auto options = std::make_shared<RenameOptions>();
  CLI::App *command =
      addCommand(app, {"rename",
                       "give elements or attributes another name",
                       {"nebxml rename site.xml site.server.addr address --in-place",
                        "nebxml rename site.xml 'site.**.@addr' address --all --in-place"}});
  addEditingOptions(command, options->editing, "rename every match, not only the first one");
  command->add_option("NAME", options->name, "name or prefix:name")->required();
  command->callback([options] {
    requireReplaceable(options->editing.input, options->editing.destination);
    rename(*options);
  });
}

}  // namespace nebxml
