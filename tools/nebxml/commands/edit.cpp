#include <map>
#include <memory>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "editing/edit_request.h"
#include "editing/edit_script.h"

namespace nebxml {
namespace {

struct EditOptions {
  Input input;
  bool takesAll = false;
  Destination destination;
  std::vector<std::string> operands;  // CLI11 keeps those of each option in the option itself
  std::vector<std::string> scriptNames;
  std::map<const CLI::Option *, const EditVerb *> verbs;
  CLI::Option *script = nullptr;
};

// The edits in the order in which they stand on the command line.
std::vector<EditRequest> requestsOf(const CLI::App *command, const EditOptions &options) {
  std::vector<EditRequest> requests;
  std::map<const CLI::Option *, size_t> used;
  for (const CLI::Option *option : command->parse_order()) {
    const auto verb = options.verbs.find(option);
    if (verb == options.verbs.end() && option != options.script) continue;
    const std::string &operand = option->results().at(used[option]++);
    if (option == options.script) {
      readScript(operand, requests);
    } else {
      requests.push_back(parseRequest(*verb->second, operand, option->get_name()));
    }
  }
  for (EditRequest &request : requests) request.selection.takesAll = options.takesAll;
  return requests;
}

void edit(const EditOptions &options, const std::vector<EditRequest> &requests) {
  const Document document(options.input.fileName, options.input.reading);
  EditSession session{document, Editor(document), {}};
  for (const EditRequest &request : requests) request.verb->apply(session, request);
  session.editor.save(options.destination);
}

void addEdits(CLI::App *command, EditOptions &options) {
  for (const EditVerb &verb : editVerbs()) {
    CLI::Option *option =
        command->add_option("--" + std::string(verb.name), options.operands, verb.purpose);
    option->type_name(verb.operand)->allow_extra_args(false);
    options.verbs.emplace(option, &verb);
  }
  options.script = command->add_option("--script", options.scriptNames,
                                       "a file with an edit on each line, or -: set PATH=VALUE");
  options.script->type_name("FILE")->allow_extra_args(false);
}

void requireEdits(const EditOptions &options) {
  if (!options.operands.empty() || !options.scriptNames.empty()) return;
  throw CLI::RequiredError("an edit, such as --set, or a --script");
}

std::vector<std::string> inputsOf(const EditOptions &options) {
  std::vector<std::string> names = options.scriptNames;
  names.push_back(options.input.fileName);
  return names;
}

}  // namespace

void addEdit(CLI::App &app) {
  const auto options = std::make_shared<EditOptions>();
  CLI::App *command =
      addCommand(app, {"edit",
                       "make several edits at once, all or none",
                       {"nebxml edit site.xml --set site.port=8080 --del site.debug --in-place",
                        "nebxml edit site.xml --script edits.txt --in-place --backup"}});
  addFile(command, options->input);
  addEdits(command, *options);
  command->add_flag("--all", options->takesAll, "edit every match, not only the first one");
  addOutput(command, options->destination);
  command->footer(
      "Each edit is about FILE as it is before. PATH ends at the first = outside "
      "brackets.");
  command->callback([options, command] {
    requireEdits(*options);
    requireOneStandardInput(inputsOf(*options));
    requireReplaceable(options->input, options->destination);
    edit(*options, requestsOf(command, *options));
  });
}

}  // namespace nebxml
