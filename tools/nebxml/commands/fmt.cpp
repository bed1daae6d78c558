#include "commands/fmt.h"

#include <string>
#include <string_view>

#include "file_output.h"
#include "layout/dropped_markup.h"

namespace nebxml {
namespace {

constexpr int kWidestIndent = 16;

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
  const std::string declaration =
      layout.addsDeclaration ? std::string(kXmlDeclaration) + '\n' : std::string();
  return declaration + printTree(document, static_cast<uint32_t>(layout.indent));
}

ExitStatus reportLayout(const Document &document, bool isLaidOut) {
  if (isLaidOut) return ExitStatus::done;
  writeStandardOutput(outputName(document.fileName()) + '\n');
  return ExitStatus::notFound;
}

}  // namespace

void addFormatOptions(CLI::App *command, FormatOptions &options) {
  Layout &layout = options.layout;
  CLI::Option *indent =
      command->add_option("--indent", layout.indent, "spaces for each level, by default 2")
          ->check(CLI::Range(0, kWidestIndent));
  command->add_flag("--tabs", layout.usesTabs, "a tab for each level")
      ->excludes(indent)
      ->excludes("--lenient");
  command->add_flag("--declaration", layout.addsDeclaration,
                    "add an XML declaration if there is none");
  command->add_flag("--drop-comments", layout.dropsComments,
                    "drop comments; with --lenient, also other markup that the tree does not hold");
  command
      ->add_flag("--check", options.isCheck,
                 "write nothing; if the file is not laid out so, print its name and exit with 1")
      ->excludes("-o")
      ->excludes("--in-place");
}

ExitStatus formatDocument(const Target &target, const FormatOptions &options,
                          const Destination &destination) {
  const Document document(target.fileName, target.reading);
  const std::string text = target.reading == Reading::strict
                               ? laidOut(document.bytes(), options.layout)
                               : printed(document, options.layout);
  if (options.isCheck) return reportLayout(document, text == document.bytes());
  save(document, text, destination);
  return ExitStatus::done;
}

}  // namespace nebxml
