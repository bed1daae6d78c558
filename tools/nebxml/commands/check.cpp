#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "checking/check_progress.h"
#include "checking/file_search.h"
#include "checking/in_order.h"
#include "checking/report.h"
#include "checking/summary.h"
#include "command_line/command.h"
#include "command_line/options.h"
#include "command_line/reading_options.h"
#include "commands/commands.h"
#include "documents/input.h"
#include "terminal/progress_note.h"

namespace nebxml {
namespace {

constexpr size_t kMostJobs = 1024;

struct CheckOptions {
  std::vector<std::string> fileNames;
  std::vector<std::string> patterns{"*.xml"};
  std::string format = reportFormats().front();
  size_t jobs = std::max<size_t>(std::thread::hardware_concurrency(), 1);
  bool isQuiet = false;
  ReadingOptions reading;
};

Failure failureOf(const FoundFile &file, const ReadingOptions &reading) try {
  if (!file.trouble.empty()) return CommandError(ExitStatus::fileTrouble, file.name, file.trouble);
  const Document document(file.name, reading);
  return std::nullopt;
} catch (const CommandError &error) {
  return error;
}

// Reports each failure. Returns the most severe status.
ExitStatus check(const CheckOptions &options) {
  const std::vector<FoundFile> files = findFiles(options.fileNames, options.patterns);
  const auto report = options.isQuiet ? nullptr : makeReport(options.format);
  Summary summary;
  CheckProgress progress(files.size());
  // A silent note keeps those about single files away.
  const bool isSilent = options.isQuiet || std::any_of(options.fileNames.begin(),
                                                       options.fileNames.end(), isTypedByUser);
  ProgressNote note(
      [&](std::chrono::milliseconds elapsed) { return isSilent ? "" : progress.line(elapsed); },
      isSilent || files.size() > 1);
  const auto work = [&](size_t index) {
    Failure failure = failureOf(files[index], options.reading);
    progress.addFile(files[index].name);
    return failure;
  };
  const auto write = [&](size_t index, const Failure &failure) {
    summary.add(failure);
    if (!failure || !report) return;
    note.writeAbove([&] { report->add(files[index].name, *failure); });
  };
  inOrder(files.size(), options.jobs, work, write);
  if (report) note.writeAbove([&] { report->end(summary); });
  return summary.worst();
}

}  // namespace

void addCheck(CLI::App &app, ExitStatus &status) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App *command = addCommand(
      app, {"check",
            "report where files are not well-formed",
            {"nebxml check site.xml", "nebxml check config/ --name '*.xml' --name '*.svg'"}});
  command->add_option("FILE", options->fileNames, "files and folders, or - for standard input")
      ->required();
  command
      ->add_option("--name", options->patterns,
                   "which files of folders to check, *.xml by default; repeatable")
      ->type_name("GLOB")
      ->allow_extra_args(false);
  CLI::Option *format =
      command->add_option("--format", options->format, "text (the default), json, github or gcc")
          ->type_name("FORMAT")
          ->check(CLI::IsMember(reportFormats()));
  command
      ->add_option("--jobs", options->jobs,
                   "how many files to check at once; by default as many as processors")
      ->type_name("N")
      ->check(CLI::Range(size_t{1}, kMostJobs).description(""));
  command->add_flag("-q,--quiet", options->isQuiet, "report by the exit code only")
      ->excludes(format);
  addReadingOptions(command, options->reading);
  command->callback([options, &status] {
    requireOneStandardInput(options->fileNames);
    status = check(*options);
  });
}

}  // namespace nebxml
