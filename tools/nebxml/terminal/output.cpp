#include "terminal/output.h"

#include <cerrno>
#include <iostream>

#include <unistd.h>

#include "terminal/colour.h"
#include "terminal/command_error.h"
#include "terminal/printable.h"
#include "terminal/writing.h"

namespace nebxml {
namespace {

constexpr const char *kStandardOutput = "standard output";
constexpr std::string_view kLayoutControls = "\t\n";

bool g_isOutputUsed = false;

}  // namespace

void writeReport(std::string_view lines) {
  if (lines.empty()) return;
  g_isOutputUsed = true;
  if (!writeWhole(STDOUT_FILENO, lines)) failWriting(kStandardOutput, errno);
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
  if (g_isOutputUsed && ::close(STDOUT_FILENO) != 0) failWriting(kStandardOutput, errno);
}

}  // namespace nebxml
