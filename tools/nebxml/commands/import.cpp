#include <algorithm>
#include <memory>
#include <vector>

#include "command_line/command.h"
#include "command_line/editing_options.h"
#include "commands/commands.h"
#include "documents/node_reading.h"
#include "editing/editor.h"

namespace nebxml {
namespace {

struct ImportOptions {
  EditingOptions editing;
  Position position = Position::last;
  std::string sourceName;
  Selection sourceSelection;
};

std::vector<const XmlNode *> selectElements(const Document &source, const Selection &selection) {
  const std::vector<XmlNode *> nodes = select(source, selection);
  if (std::any_of(nodes.begin(), nodes.end(), isAttribute)) {
    throw refusal(source, selection, "an attribute cannot be imported:");
  }
  return {nodes.begin(), nodes.end()};
}

void import(const ImportOptions &options) {
  const EditingOptions &editing = options.editing;
  const Document document(editing.input.fileName, editing.input.reading);
  const Document source(options.sourceName, editing.input.reading);
  Editor editor(document);
  editor.insert(editing.selection, options.position,
                selectElements(source, options.sourceSelection));
  editor.save(editing.destination);
}

}  // namespace

void addImport(CLI::App &app) {
  const auto options = std::make_shared<ImportOptions>();
  CLI::App *command =
      addCommand(app, {"import",
                       "add copies of elements of another document",
                       {"nebxml import site.xml site new.xml server --in-place",
                        "nebxml import site.xml site.servers other.xml site.servers.server --all "
                        "--in-place"}});
  addEditingOptions(command, options->editing,
                    "copy every match of FROM-PATH to every one of PATH");
  command->add_option("FROM", options->sourceName, "another file, or -")->required();
  command->add_option("FROM-PATH", options->sourceSelection.pattern, "the element to copy")
      ->required();
  addPositions(command, options->position);
  command->callback([options] {
    requireOneStandardInput({options->editing.input.fileName, options->sourceName});
    requireReplaceable(options->editing.input, options->editing.destination);
    options->sourceSelection.takesAll = options->editing.selection.takesAll;
    import(*options);
  });
}

}  // namespace nebxml
