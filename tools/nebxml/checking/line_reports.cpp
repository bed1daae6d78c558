#include <iostream>
#include <string_view>

#include "checking/report.h"
#include "terminal/output.h"
#include "terminal/printable.h"

namespace nebxml {
namespace {

// As compilers write it, so that editors find the position.
class GccReport : public Report {
 public:
  void add(const std::string &fileName, const CommandError &error) override {
    const Finding &finding = error.finding();
    std::string where = printable(fileName) + ':';
    if (finding.line > 0) {
      where += std::to_string(finding.line) + ':' + std::to_string(finding.column) + ':';
    }
    std::cerr << where + " error: " + finding.sentence + '\n';
  }
};

constexpr std::string_view kEscapedInMessages = "%\r\n";
constexpr std::string_view kEscapedInProperties = "%\r\n:,";

// Writes each of some characters as a percent sign and its code.
std::string percentEscaped(std::string_view text, std::string_view characters) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  constexpr unsigned kBase = 16;
  std::string result;
  for (const char character : text) {
    if (characters.find(character) == std::string_view::npos) {
      result += character;
      continue;
    }
    const auto code = static_cast<unsigned char>(character);
    result += '%';
    result += kDigits[code / kBase];
    result += kDigits[code % kBase];
  }
  return result;
}

// A workflow command, which GitHub shows beside the line of the file.
class GithubReport : public Report {
 public:
  void add(const std::string &fileName, const CommandError &error) override {
    const Finding &finding = error.finding();
    std::string line = "::error file=" + outputName(percentEscaped(fileName, kEscapedInProperties));
    if (finding.line > 0) {
      line += ",line=" + std::to_string(finding.line) + ",col=" + std::to_string(finding.column);
    }
    writeReport(line + ",title=" + kindOf(error).title +
                "::" + percentEscaped(finding.sentence, kEscapedInMessages) + '\n');
  }
};

}  // namespace

std::unique_ptr<Report> makeGccReport() { return std::make_unique<GccReport>(); }

std::unique_ptr<Report> makeGithubReport() { return std::make_unique<GithubReport>(); }

}  // namespace nebxml
