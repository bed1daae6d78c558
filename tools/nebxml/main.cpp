#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>
#include <CLI/CLI.hpp>

#include "commands.h"
#include "file_output.h"
#include "printable.h"
#include "value_type.h"

namespace nebxml {
namespace {

// All arguments of all commands.
struct Arguments {
  std::vector<std::string> fileNames;
  Target target;
  Source source;
  std::string value;
  Destination destination;
  bool ignoresOrder = false;
  std::vector<std::string> ignoredNames;
};

std::string banner() {
  constexpr size_t kLongestBanner = 64;
  std::array<char, kLongestBanner> text{};
  NEB_XML_GetVersion(text.data(), static_cast<uint32_t>(text.size()));
  return text.data();
}

void requireSingleInput(bool isSingle) {
  if (!isSingle) throw CLI::ValidationError("-", "standard input can be read once only");
}

// Refuses arguments that are each valid but not together.
void requireFiles(const Arguments &arguments) {
  const bool readsInput = arguments.target.fileName == kStandardStream;
  if (arguments.destination.inPlace && readsInput) {
    throw CLI::ValidationError("--in-place", "needs a file, not standard input");
  }
  requireSingleInput(arguments.source.fileName != kStandardStream || !readsInput);
}

void addLenient(CLI::App *command, Arguments &arguments) {
  command->add_flag_callback(
      "--lenient", [&arguments] { arguments.target.reading = Reading::lenient; },
      "accept some documents that are not well-formed");
}

CLI::App *addCommand(CLI::App &app, const std::string &name, const std::string &purpose,
                     Arguments &arguments, const std::function<void()> &action,
                     const std::string &fileLabel = "FILE") {
  CLI::App *command = app.add_subcommand(name, purpose);
  command->add_option(fileLabel, arguments.target.fileName, "the file, or - for standard input")
      ->required();
  addLenient(command, arguments);
  command->callback([&arguments, action] {
    requireFiles(arguments);
    action();
  });
  return command;
}

void addPath(CLI::App *command, Arguments &arguments) {
  command->add_option("PATH", arguments.target.path, "such as config.server.2.port")->required();
}

void addTarget(CLI::App *command, Arguments &arguments) {
  addPath(command, arguments);
  command->add_option("--attr", arguments.target.attribute, "an attribute: name or prefix:name");
}

void addType(CLI::App *command, Arguments &arguments) {
  command->add_option("--type", arguments.target.valueType, "what the value has to be")
      ->check(CLI::IsMember(valueTypeNames()));
}

void addSource(CLI::App *command, Arguments &arguments, const std::string &label) {
  command->add_option(label, arguments.source.fileName, "another file, or -")->required();
}

void addDestination(CLI::App *command, Arguments &arguments) {
  CLI::Option *output =
      command->add_option("-o", arguments.destination.fileName, "write the result to this file");
  command->add_flag("--in-place", arguments.destination.inPlace, "replace FILE by the result")
      ->excludes(output);
}

std::string refusedName(const std::string &name) {
  return name.empty() || name == "@" ? "a name is required, or @ and a name" : "";
}

void addCompare(CLI::App &app, Arguments &arguments, ExitStatus &status) {
  CLI::App *compare = addCommand(
      app, "diff", "print every difference of two documents", arguments,
      [&] {
        const Tolerance tolerance(arguments.ignoresOrder, arguments.ignoredNames);
        status = compareFiles(arguments.target, arguments.source, tolerance);
      },
      "A");
  addSource(compare, arguments, "B");
  compare->add_flag("--ignore-order", arguments.ignoresOrder,
                    "compare the children of an element in any order");
  compare
      ->add_option("--ignore", arguments.ignoredNames,
                   "skip elements of this name, or attributes: @NAME")
      ->allow_extra_args(false)
      ->check(refusedName);
}

void addReadingCommands(CLI::App &app, Arguments &arguments, ExitStatus &status) {
  CLI::App *check = app.add_subcommand("check", "report where files are not well-formed");
  check->add_option("FILE", arguments.fileNames, "files, or - for standard input")->required();
  check->callback([&] {
    const std::vector<std::string> &names = arguments.fileNames;
    requireSingleInput(std::count(names.begin(), names.end(), kStandardStream) <= 1);
    status = checkFiles(names, arguments.target.reading);
  });
  addLenient(check, arguments);

  addCommand(app, "tree", "print each node with the path that finds it", arguments,
             [&] { printTree(arguments.target); });
  addCommand(app, "stat", "count what the document holds", arguments,
             [&] { printStatistics(arguments.target); });
  CLI::App *get = addCommand(app, "get", "print the value of a node or attribute", arguments,
                             [&] { printValue(arguments.target); });
  addTarget(get, arguments);
  addType(get, arguments);
  addCompare(app, arguments, status);
}

void addFormat(CLI::App &app, Arguments &arguments) {
  constexpr int kWidestIndent = 16;
  Destination &destination = arguments.destination;
  CLI::App *format = addCommand(app, "fmt", "print the document", arguments,
                                [&] { formatDocument(arguments.target, destination); });
  format->add_option("--indent", destination.indent, "spaces for each level")
      ->check(CLI::Range(0, kWidestIndent));
  CLI::Option *declaration = format->add_flag("--declaration", destination.hasDeclaration,
                                              "begin with an XML declaration");
  addDestination(format, arguments);
  declaration->excludes("--in-place");
  format->footer("The XML declaration, the document type, comments and layout are dropped.");
}

void addSet(CLI::App &app, Arguments &arguments) {
  CLI::App *set = addCommand(app, "set", "change a node's text or an attribute", arguments, [&] {
    setValue(arguments.target, arguments.value, arguments.destination);
  });
  addTarget(set, arguments);
  addType(set, arguments);
  set->add_option("VALUE", arguments.value, "the new text, after -- if it begins with -")
      ->required();
  addDestination(set, arguments);
}

void addRemove(CLI::App &app, Arguments &arguments) {
  CLI::App *remove = addCommand(app, "del", "remove a node or an attribute", arguments,
                                [&] { removeTarget(arguments.target, arguments.destination); });
  addTarget(remove, arguments);
  addDestination(remove, arguments);
}

void addImport(CLI::App &app, Arguments &arguments) {
  CLI::App *import =
      addCommand(app, "import", "append a copy of a node of another document", arguments,
                 [&] { importNode(arguments.target, arguments.source, arguments.destination); });
  addPath(import, arguments);
  addSource(import, arguments, "FROM");
  import->add_option("FROM-PATH", arguments.source.path, "the node to copy")->required();
  addDestination(import, arguments);
}

// Prints the help, the version or a message about wrong usage.
ExitStatus answer(const CLI::App &app, const CLI::ParseError &error) {
  std::ostringstream help;
  std::ostringstream message;
  const bool isHelp = app.exit(error, help, message) == 0;
  writeStandardOutput(help.str());
  std::cerr << message.str();
  return isHelp ? ExitStatus::done : ExitStatus::wrongUsage;
}

std::string printableMessage(const CLI::App *app, const CLI::Error &error) {
  return printable(error.what()) + "\nRun with " + app->get_help_ptr()->get_name() +
         " for more information.\n";
}

ExitStatus run(int argumentCount, const char *const *argumentTexts) {
  CLI::App app("Reads, checks and edits XML documents.", "nebxml");
  Arguments arguments;
  ExitStatus status = ExitStatus::done;
  app.set_version_flag("--version", banner());
  app.require_subcommand(1);
  app.failure_message(printableMessage);
  addReadingCommands(app, arguments, status);
  addFormat(app, arguments);
  addSet(app, arguments);
  addRemove(app, arguments);
  addImport(app, arguments);
  try {
    app.parse(argumentCount, argumentTexts);
  } catch (const CLI::ParseError &error) {
    return answer(app, error);
  }
  return status;
}

// The runtime calls this if there is no memory for an exception.
[[noreturn]] void endAtOnce() {
  constexpr std::string_view kReport = "nebxml: stopped, there is not enough memory\n";
  [[maybe_unused]] const ssize_t unused = ::write(STDERR_FILENO, kReport.data(), kReport.size());
  std::_Exit(static_cast<int>(ExitStatus::fileTrouble));
}

}  // namespace
}  // namespace nebxml

int main(int argumentCount, char **argumentTexts) {
  using nebxml::ExitStatus;
  ExitStatus status = ExitStatus::fileTrouble;
  // A write beyond the file size limit then fails like any other write.
  std::signal(SIGXFSZ, SIG_IGN);
  std::set_terminate(nebxml::endAtOnce);
  try {
    status = nebxml::run(argumentCount, argumentTexts);
    nebxml::closeStandardOutput();
  } catch (const nebxml::CommandError &error) {
    std::fprintf(stderr, "%s\n", error.what());
    status = error.status();
  } catch (const std::bad_alloc &) {
    std::fputs("nebxml: there is not enough memory\n", stderr);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "nebxml: %s\n", error.what());
  }
  return static_cast<int>(status);
}
