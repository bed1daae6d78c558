#include <memory>
#include <optional>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "documents/node_reading.h"
#include "documents/values.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

struct GetOptions {
  Input input;
  Selection selection;
  std::optional<std::string> attribute;
  std::optional<std::string> type;
};

std::string valueOf(const Document &document, const XmlNode *node, const GetOptions &options) {
  if (!options.attribute) return std::string(nodeStrings(node).value);
  const auto value = attributeValue(node, *options.attribute);
  if (value) return *value;
  throw refusal(document, options.selection, "no attribute '" + *options.attribute + "' at path");
}

void get(const GetOptions &options) {
  const Document document(options.input.fileName, options.input.reading);
  for (const XmlNode *node : select(document, options.selection)) {
    const std::string value = valueOf(document, node, options);
    writeStandardOutput(
        inRequiredForm(document, options.selection, options.type, value).append("\n"));
  }
}

}  // namespace

void addGet(CLI::App &app) {
  const auto options = std::make_shared<GetOptions>();
  CLI::App *command = addCommand(
      app, {"get",
            "print the value of a node or attribute",
            {"nebxml get site.xml site.port", "nebxml get site.xml site.server --attr name"}});
  addFile(command, options->input);
  addPath(command, options->selection.pattern);
  command->add_option("--attr", options->attribute, "an attribute: name or prefix:name")
      ->type_name("NAME");
  addType(command, options->type);
  command->callback([options] { get(*options); });
}

}  // namespace nebxml
