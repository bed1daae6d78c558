#include "command_line/application.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "command_line/suggestion.h"
#include "commands/commands.h"
#include "neb_xml.h"
#include "terminal/colour.h"
#include "terminal/output.h"
#include "terminal/printable.h"

namespace nebxml {
namespace {

std::string versionText() {
  constexpr size_t kLongestVersion = 64;
  std::array<char, kLongestVersion> text{};
  NEB_XML_GetVersion(text.data(), static_cast<uint32_t>(text.size()));
  return text.data();
}

void addColour(CLI::App &app) {
  const std::map<std::string, ColourChoice> choices{{"auto", ColourChoice::automatic},
                                                    {"always", ColourChoice::always},
                                                    {"never", ColourChoice::never}};
  app.add_option_function<std::string>(
         "--color", [choices](const std::string &name) { chooseColour(choices.at(name)); },
         "auto (the default), always or never")
      ->check(CLI::IsMember({"auto", "always", "never"}));
}

void addCommands(CLI::App &app, ExitStatus &status) {
  addCheck(app, status);
  addTree(app);
  addStat(app);
  addGet(app);
  addDiff(app, status);
  addFmt(app);
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

// What is no command would else be reported as an argument too many.
void requireKnownCommand(const CLI::App &app, const std::string &typed) {
  const std::vector<std::string> names = commandNames(app);
  const bool isOption = typed.empty() || typed.front() == '-';
  if (isOption || std::find(names.begin(), names.end(), typed) != names.end()) return;
  throw CommandError(ExitStatus::wrongUsage, printable("nebxml: unknown command '" + typed + "'") +
                                                 suggestion(typed, names) +
                                                 "\nRun with --help for more information.");
}

}  // namespace

ExitStatus run(int argumentCount, const char *const *arguments) {
  CLI::App app("Reads, checks and edits XML documents.", "nebxml");
  ExitStatus status = ExitStatus::done;
  app.set_version_flag("--version", versionText());
  app.require_subcommand(1);
  app.failure_message(printableMessage);
  app.fallthrough();
  addColour(app);
  addCommands(app, status);
  if (argumentCount > 1) requireKnownCommand(app, arguments[1]);
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::ParseError &error) {
    return answer(app, error);
  }
  return status;
}

}  // namespace nebxml
