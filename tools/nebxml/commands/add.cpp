#include <memory>
#include <optional>

#include "command_line/command.h"
#include "command_line/editing_options.h"
#include "commands/commands.h"
#include "editing/editor.h"
#include "editing/new_element.h"

namespace nebxml {
namespace {

struct AddOptions {
  EditingOptions editing;
  Position position = Position::last;
  NewElement element;
};

void add(const AddOptions &options) {
  const EditingOptions &editing = options.editing;
  const Document document(editing.input.fileName, editing.input.reading);
  const Tree element = makeElement(document, editing.selection, options.element);
  Editor editor(document);
  editor.insert(editing.selection, options.position, {element.get()});
  editor.save(editing.destination);
}

void requireUsableContent(const NewElement &element) {
  if (isFragment(element.content) && !element.value.empty()) {
    throw CLI::ValidationError("VALUE", "stands in the XML of the element");
  }
  for (const std::string &attribute : element.attributes) {
    if (attribute.find('=') == std::string::npos) {
      throw CLI::ValidationError("--attr", "needs NAME=VALUE: " + attribute);
    }
  }
}

}  // namespace

void addAdd(CLI::App &app) {
  const auto options = std::make_shared<AddOptions>();
  CLI::App *command =
      addCommand(app, {"add",
                       "add an element",
                       {"nebxml add site.xml site.servers server --attr name=www --in-place",
                        "nebxml add site.xml site.server.2 '<server><port>80</port></server>' "
                        "--after --in-place"}});
  addEditingOptions(command, options->editing, "add to every match, not only to the first one");
  command->add_option("NAME", options->element.content, "name, prefix:name or XML of an element")
      ->required();
  command->add_option("VALUE", options->element.value,
                      "the text of the element, after -- if it begins with -");
  command->add_option("--attr", options->element.attributes, "an attribute of the new element")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  addPositions(command, options->position);
  command->callback([options] {
    requireUsableContent(options->element);
    requireReplaceable(options->editing.input, options->editing.destination);
    add(*options);
  });
}

}  // namespace nebxml
