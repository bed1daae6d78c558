#include <algorithm>
#include <iostream>
#include <memory>
#include <vector>

#include "command_line/command.h"
#include "command_line/options.h"
#include "command_line/reading_options.h"
#include "commands/commands.h"

namespace nebxml {
namespace {

struct CheckOptions {
  std::vector<std::string> fileNames;
  ReadingOptions reading;
};

// Reports each failure on standard error. Returns the most severe status.
ExitStatus check(const CheckOptions &options) {
  ExitStatus worst = ExitStatus::done;
  for (const std::string &fileName : options.fileNames) {
    try {
      const Document document(fileName, options.reading);
    } catch (const CommandError &error) {
      std::cerr << error.what() << '\n';
      worst = std::max(worst, error.status(), isLessSevere);
    }
  }
  return worst;
}

}  // namespace

void addCheck(CLI::App &app, ExitStatus &status) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App *command = addCommand(app, {"check",
                                       "report where files are not well-formed",
                                       {"nebxml check site.xml", "nebxml check config/*.xml"}});
  command->add_option("FILE", options->fileNames, "files, or - for standard input")->required();
  addReadingOptions(command, options->reading);
  command->callback([options, &status] {
    requireOneStandardInput(options->fileNames);
    status = check(*options);
  });
}

}  // namespace nebxml
