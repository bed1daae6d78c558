#include "application.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "command_line/help.h"
#include "commands/commands.h"
#include "neb_xml.h"
#include "terminal/colour.h"
#include "terminal/output.h"
#include "terminal/printable.h"
#include "terminal/suggestion.h"

namespace nebxml {
namespace {

std::string versionText() {
  constexpr size_t kLongestVersion = 64;
  std::array<char, kLongestVersion> text{};
  NEB_XML_GetVersion(text.data(), static_cast<uint32_t>(text.size()));
  return text.data() + std::string("\nkernel: ") + NEB_XML_GetKernelName();
}

void addColour(CLI::App &app) {
  const std::map<std::string, ColourChoice> choices{{"auto", ColourChoice::automatic},
                                                    {"always", ColourChoice::always},
                                                    {"never", ColourChoice::never}};
  app.add_option_function<std::string>(
         "--color", [choices](const std::string &name) { chooseColour(choices.at(name)); },
         "colour on a terminal (auto), always or never")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}));
}

void addCommands(CLI::App &app, ExitStatus &status) {
  addCheck(app, status);
  addTree(app);
  addStat(app);
  addGet(app, status);
  addDiff(app, status);
  addFmt(app, status);
  addSet(app);
  addDel(app);
  addAdd(app);
  addRename(app);
  addImport(app);
  addEdit(app);
}

std::vector<std::string> commandNames(const CLI::App &app) {
  std::vector<std::string> names;
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
    names.push_back(command->get_name());
  }
  return names;
}

// The command that the arguments named, or the tool itself.
const CLI::App &commandOf(const CLI::App &app) {
  const std::vector<CLI::App *> commands = app.get_subcommands();
  return commands.empty() ? app : *commands.front();
}

// The options of a command and of the tool, as they are typed.
std::vector<std::string> optionNames(const CLI::App &command) {
  std::vector<std::string> names;
  for (const CLI::App *each = &command; each != nullptr; each = each->get_parent()) {
    for (const CLI::Option *option : each->get_options()) {
      for (const std::string &name : option->get_lnames()) names.push_back("--" + name);
    }
  }
  return names;
}

// An argument that no option and no position takes.
std::string unexpected(const CLI::App &app) {
  const CLI::App &command = commandOf(app);
  const std::vector<std::string> arguments = app.remaining(true);
  const std::string first = arguments.empty() ? "" : arguments.front();
  if (first.size() < 2 || first.front() != '-') return "unexpected argument '" + first + "'";
  return "unknown option '" + first + "'" + suggestion(first, optionNames(command));
}

std::string causeOf(const CLI::App &app, const CLI::ParseError &error) {
  // An option that is misspelt can also be the cause of what is missing.
  if (!app.remaining(true).empty()) return unexpected(app);
  const bool isRequired = dynamic_cast<const CLI::RequiredError *>(&error) != nullptr;
  return isRequired && &commandOf(app) == &app ? "a command is required" : error.what();
}

// Prints the help, the version or a message about wrong usage.
ExitStatus answer(const CLI::App &app, const CLI::ParseError &error) {
  std::ostringstream help;
  std::ostringstream unused;
  if (app.exit(error, help, unused) == 0) {
    writeStandardOutput(help.str());
    return ExitStatus::done;
  }
  const std::string command = &commandOf(app) == &app ? "" : " " + commandOf(app).get_name();
  std::cerr << printable("nebxml" + command + ": " + causeOf(app, error)) << "\nRun nebxml"
            << command << " --help for more information.\n";
  return ExitStatus::wrongUsage;
}

// What is no command would else be reported as an argument too many.
void requireKnownCommand(const CLI::App &app, const std::string &typed) {
  const std::vector<std::string> names = commandNames(app);
  const bool isOption = typed.empty() || typed.front() == '-';
  if (isOption || std::find(names.begin(), names.end(), typed) != names.end()) return;
  throw CommandError(ExitStatus::wrongUsage, printable("nebxml: unknown command '" + typed + "'") +
                                                 suggestion(typed, names) +
                                                 "\nRun nebxml --help for more information.");
}

}  // namespace

ExitStatus run(const std::vector<std::string> &arguments) {
  CLI::App app("Reads, checks and edits XML documents.", "nebxml");
  ExitStatus status = ExitStatus::done;
  app.set_version_flag("--version", versionText());
  app.formatter(std::make_shared<HelpFormatter>(std::array<std::string, 2>{}));
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.require_subcommand(1);
  // A slash begins a name on every system.
  app.allow_windows_style_options(false);
  app.fallthrough();
  addColour(app);
  addCommands(app, status);
  if (!arguments.empty()) requireKnownCommand(app, arguments.front());
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError &error) {
    return answer(app, error);
  }
  return status;
}

}  // namespace nebxml
