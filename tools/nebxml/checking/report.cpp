#include "checking/report.h"

#include <algorithm>
#include <array>
#include <iostream>

#include "terminal/colour.h"

namespace nebxml {
namespace {

// For people: with the line and a caret.
class TextReport : public Report {
 public:
  void add(const std::string & /*fileName*/, const CommandError &error) override {
    std::cerr << std::string(error.what()) + '\n';
  }

  void end(const Summary &summary) override {
    const bool isWanted = summary.fileCount() > 1 && reachesTerminal(Stream::errors);
    if (isWanted) std::cerr << summary.sentence() + '\n';
  }
};

std::unique_ptr<Report> makeTextReport() { return std::make_unique<TextReport>(); }

struct Format {
  const char *name;
  std::unique_ptr<Report> (*make)();
};

constexpr std::array<Format, 4> kFormats{{{"text", makeTextReport},
                                          {"json", makeJsonReport},
                                          {"github", makeGithubReport},
                                          {"gcc", makeGccReport}}};

}  // namespace

std::vector<std::string> reportFormats() {
  std::vector<std::string> names(kFormats.size());
  std::transform(kFormats.begin(), kFormats.end(), names.begin(),
                 [](const Format &format) { return format.name; });
  return names;
}

std::unique_ptr<Report> makeReport(const std::string &format) {
  const auto *found = std::find_if(kFormats.begin(), kFormats.end(),
                                   [&format](const Format &each) { return each.name == format; });
  return found->make();
}

Kind kindOf(const CommandError &error) {
  if (error.finding().isLimit) return {"limit", "beyond a limit"};
  switch (error.status()) {
    case ExitStatus::notFound:
      return {"malformed", "not well-formed"};
    case ExitStatus::unsupported:
      return {"unsupported", "not supported"};
    default:
      return {"unreadable", "not readable"};
  }
}

}  // namespace nebxml
