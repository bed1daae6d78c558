#include <memory>
#include <string>
#include <string_view>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "documents/printing.h"
#include "layout/dropped_markup.h"
#include "layout/formatter.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

constexpr int kWidestIndent = 16;

struct FmtOptions {
  Input input;
  Layout layout;
  Destination destination;
  bool addsDeclaration = false;
  bool isCheck = false;  // only whether the file is laid out so
};

// Printing a tree loses what is not in it.
void requireNoLoss(const Document &document) {
  const std::string_view bytes(document.bytes());
  const std::string dropped = droppedMarkup(bytes.substr(0, bytes.find('\0')));
  if (dropped.empty()) return;
  throw CommandError(ExitStatus::notFound, document.fileName(),
                     dropped + " would be dropped; allow it with --drop-comments");
}

std::string printed(const Document &document, const Layout &layout) {
  if (!layout.dropsComments) requireNoLoss(document);
  const std::string lineEnd = layout.declaration.empty() ? "" : "\n";
  return layout.declaration + lineEnd + printTree(document, static_cast<uint32_t>(layout.indent));
}

ExitStatus reportLayout(const Document &document, bool isLaidOut) {
  if (isLaidOut) return ExitStatus::done;
  writeStandardOutput(outputName(document.fileName()) + '\n');
  return ExitStatus::notFound;
}

// Returns notFound if a file that is only checked is laid out in another way, else done.
ExitStatus format(const FmtOptions &options) {
  const Document document(options.input.fileName, options.input.reading);
  Layout layout = options.layout;
  if (options.addsDeclaration) {
    layout.declaration =
        R"(<?xml version="1.0" encoding=")" + document.encoding().nameToDeclare() + R"("?>)";
  }
  const std::string text = document.reading() == Reading::strict ? laidOut(document.bytes(), layout)
                                                                 : printed(document, layout);
  if (options.isCheck) return reportLayout(document, text == document.bytes());
  save(document, text, options.destination);
  return ExitStatus::done;
}

}  // namespace

void addFmt(CLI::App &app, ExitStatus &status) {
  const auto options = std::make_shared<FmtOptions>();
  CLI::App *command = addCommand(
      app, {"fmt",
            "lay out the document anew",
            {"nebxml fmt site.xml --indent 4 --in-place", "nebxml fmt site.xml --check"}});
  Layout &layout = options->layout;
  addFile(command, options->input);
  addOutput(command, options->destination);
  CLI::Option *indent =
      command->add_option("--indent", layout.indent, "spaces for each level, by default 2")
          ->type_name("N")
          ->check(CLI::Range(0, kWidestIndent).description(""));
  command->add_flag("--tabs", layout.usesTabs, "a tab for each level")
      ->excludes(indent)
      ->excludes("--lenient");
  command->add_flag("--declaration", options->addsDeclaration,
                    "add an XML declaration if there is none");
  command->add_flag("--drop-comments", layout.dropsComments,
                    "drop comments; with --lenient, also other markup that the tree does not hold");
  command
      ->add_flag("--check", options->isCheck,
                 "write nothing; if the file is not laid out so, print its name and exit with 1")
      ->excludes("-o")
      ->excludes("--in-place");
  command->callback([options, &status] {
    requireReplaceable(options->input, options->destination);
    status = format(*options);
  });
}

}  // namespace nebxml
