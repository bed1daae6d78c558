#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands.h"

namespace nebxml {
namespace {

/** Everything that the command line can say. */
struct Arguments {
  std::vector<std::string> fileNames;
  Target target;
  std::string value;
  Destination destination;
};

std::string banner() {
  constexpr std::size_t longestBanner = 64;
  std::array<char, longestBanner> text{};
  NEB_XML_GetVersion(text.data(), static_cast<std::uint32_t>(text.size()));
  return text.data();
}

/** Options that are right one by one and wrong together. */
void requireFileInPlace(const Arguments &arguments) {
  if (arguments.destination.inPlace && arguments.target.fileName == standardStream) {
    throw CLI::ValidationError("--in-place", "needs a file, not standard input");
  }
}

CLI::App *addCommand(CLI::App &app, const std::string &name, const std::string &purpose,
                     Arguments &arguments, const std::function<void()> &action) {
  CLI::App *command = app.add_subcommand(name, purpose);
  command->add_option("FILE", arguments.target.fileName, "the file, or - for standard input")
      ->required();
  command->callback([&arguments, action] {
    requireFileInPlace(arguments);
    action();
  });
  return command;
}

void addTarget(CLI::App *command, Arguments &arguments) {
  command->add_option("PATH", arguments.target.path, "such as config.server.2.port")->required();
  command->add_option("--attr", arguments.target.attribute, "an attribute: name or prefix:name");
}

void addDestination(CLI::App *command, Arguments &arguments) {
  CLI::Option *output =
      command->add_option("-o", arguments.destination.fileName, "write the result to this file");
  command->add_flag("--in-place", arguments.destination.inPlace, "replace FILE by the result")
      ->excludes(output);
  command->footer("The result keeps neither the XML declaration nor comments.");
}

void addReadingCommands(CLI::App &app, Arguments &arguments, ExitStatus &status) {
  CLI::App *check = app.add_subcommand("check", "report files that are not well-formed");
  check->add_option("FILE", arguments.fileNames, "files, or - for standard input")->required();
  check->callback([&] { status = checkFiles(arguments.fileNames); });

  addCommand(app, "tree", "print each node with the path that finds it", arguments,
             [&] { printTree(arguments.target.fileName); });
  addCommand(app, "stat", "count what the document holds", arguments,
             [&] { printStatistics(arguments.target.fileName); });
  addTarget(addCommand(app, "get", "print the value of a node or attribute", arguments,
                       [&] { printValue(arguments.target); }),
            arguments);
}

void addWritingCommands(CLI::App &app, Arguments &arguments) {
  CLI::App *format = addCommand(app, "fmt", "print the document", arguments, [&] {
    formatDocument(arguments.target.fileName, arguments.destination);
  });
  CLI::App *set = addCommand(app, "set", "change a node's text or an attribute", arguments, [&] {
    setValue(arguments.target, arguments.value, arguments.destination);
  });
  CLI::App *remove = addCommand(app, "del", "remove a node or an attribute", arguments,
                                [&] { removeTarget(arguments.target, arguments.destination); });
  addTarget(set, arguments);
  addTarget(remove, arguments);
  set->add_option("VALUE", arguments.value, "the new text, after -- if it begins with -")
      ->required();
  for (CLI::App *command : {format, set, remove}) {
    addDestination(command, arguments);
  }
}

/** Prints help, version or the complaint about wrong usage. */
ExitStatus answer(const CLI::App &app, const CLI::ParseError &error) {
  if (app.exit(error) != 0) {
    return ExitStatus::wrongUsage;
  }
  if (!std::cout.flush()) {
    std::cerr << "nebxml: standard output: cannot write\n";
    return ExitStatus::fileTrouble;
  }
  return ExitStatus::done;
}

ExitStatus run(int argumentCount, const char *const *argumentTexts) {
  CLI::App app("Reads, checks and edits XML documents.", "nebxml");
  Arguments arguments;
  ExitStatus status = ExitStatus::done;
  app.set_version_flag("--version", banner());
  app.require_subcommand(1);
  addReadingCommands(app, arguments, status);
  addWritingCommands(app, arguments);
  try {
    app.parse(argumentCount, argumentTexts);
  } catch (const CLI::ParseError &error) {
    return answer(app, error);
  }
  return status;
}

}  // namespace
}  // namespace nebxml

int main(int argumentCount, char **argumentTexts) {
  using nebxml::ExitStatus;
  ExitStatus status = ExitStatus::fileTrouble;
  // A write beyond the file size limit then fails like any other, and is reported.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    status = nebxml::run(argumentCount, argumentTexts);
  } catch (const nebxml::CommandError &error) {
    std::fprintf(stderr, "nebxml: %s\n", error.what());
    status = error.status();
  } catch (const std::exception &error) {
    std::fprintf(stderr, "nebxml: %s\n", error.what());
  }
  return static_cast<int>(status);
}
