#include "terminal/output.h"

#include <cerrno>
#include <iostream>

#include "system/open_file.h"
#include "terminal/colour.h"
#include "terminal/command_error.h"
#include "terminal/printable.h"

namespace nebxml {
namespace {

constexpr const char *kOutputName = "standard output";
constexpr std::string_view kLayoutControls = "\t\n";

bool g_isOutputUsed = false;

}  // namespace

void writeReport(std::string_view lines) {
  if (lines.empty()) return;
  g_isOutputUsed = true;
  if (!writeWhole(kStandardOutput, lines)) failWriting(kOutputName, errno);
}

void writeStandardOutput(std::string_view text) {
  if (reachesTerminal(Stream::output)) {
    writeReport(printable(text, kLayoutControls));
  } else {
    writeReport(text);
  }
}

void writeNote(const std::string &note) {
  std::cerr << styled(Stream::errors, Style::note, printable(note)) << '\n';
}

std::string outputName(std::string_view name) {
  return reachesTerminal(Stream::output) ? printable(name) : std::string(name);
}

void closeStandardOutput() {
  if (g_isOutputUsed && !closeDescriptor(kStandardOutput)) failWriting(kOutputName, errno);
}

}  // namespace nebxml
