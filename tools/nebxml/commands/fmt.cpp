#include <memory>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "documents/printing.h"

namespace nebxml {
namespace {

struct FmtOptions {
  Input input;
  Layout layout;
  Destination destination;
};

void format(const FmtOptions &options) {
  const Document document(options.input.fileName, options.input.reading);
  save(document, printTree(document, options.layout), options.destination);
}

}  // namespace

void addFmt(CLI::App &app) {
  constexpr int kWidestIndent = 16;
  const auto options = std::make_shared<FmtOptions>();
  CLI::App *command =
      addCommand(app, {"fmt",
                       "print the document",
                       {"nebxml fmt site.xml --indent 2", "nebxml fmt site.xml --in-place"}});
  addFile(command, options->input);
  command->add_option("--indent", options->layout.indent, "spaces for each level")
      ->type_name("N")
      ->check(CLI::Range(0, kWidestIndent));
  CLI::Option *declaration = command->add_flag("--declaration", options->layout.hasDeclaration,
                                               "begin with an XML declaration");
  addOutput(command, options->destination);
  declaration->excludes("--in-place");
  command->footer("The XML declaration, the document type, comments and layout are dropped.");
  command->callback([options] {
    requireReplaceable(options->input, options->destination);
    format(*options);
  });
}

}  // namespace nebxml
