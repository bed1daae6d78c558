#include <memory>

#include "command_line/command.h"
#include "commands/commands.h"
#include "commands/saved_edits.h"
#include "documents/node_reading.h"
#include "documents/values.h"

namespace nebxml {
namespace {

struct ImportOptions {
  EditingOptions editing;
  std::string sourceName;
  Selection sourceSelection;
};

void requireRoomForChildren(const Document &document, const Selection &selection,
                            const XmlNode *parent) {
  // White space beside children is not printed, so it does not count.
  constexpr const char *kWhiteSpace = " \t\r\n";
  if (nodeStrings(parent).value.find_first_not_of(kWhiteSpace) != std::string_view::npos) {
    throw refusal(document, selection, "a text leaves no place for child elements at path");
  }
}

void import(const ImportOptions &options) {
  const EditingOptions &editing = options.editing;
  const Document document(editing.input.fileName, editing.input.reading);
  const XmlNode *parent = select(document, editing.selection).front();
  requireRoomForChildren(document, editing.selection, parent);
  const Document source(options.sourceName, editing.input.reading);
  Edits edits;
  edits.insert(Position::last, parent, select(source, options.sourceSelection).front());
  saveEdited(document, edits, editing);
}

}  // namespace

void addImport(CLI::App &app) {
  const auto options = std::make_shared<ImportOptions>();
  CLI::App *command =
      addCommand(app, {"import",
                       "append a copy of a node of another document",
                       {"nebxml import site.xml site new.xml server --in-place",
                        "nebxml import site.xml site.servers other.xml site.servers.server"}});
  addEditingOptions(command, options->editing);
  command->add_option("FROM", options->sourceName, "another file, or -")->required();
  command->add_option("FROM-PATH", options->sourceSelection.pattern, "the node to copy")
      ->required();
  command->callback([options] {
    requireOneStandardInput({options->editing.input.fileName, options->sourceName});
    requireReplaceable(options->editing.input, options->editing.destination);
    import(*options);
  });
}

}  // namespace nebxml
