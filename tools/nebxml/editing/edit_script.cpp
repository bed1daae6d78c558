#include "editing/edit_script.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iostream>

#include "documents/document.h"
#include "system/paths.h"
#include "terminal/command_error.h"
#include "terminal/excerpt.h"
#include "terminal/suggestion.h"

namespace nebxml {
namespace {

constexpr const char *kSpaces = " \t";
constexpr char kCommentMark = '#';

const EditVerb &verbNamed(const std::string &name, const std::string &source) {
  const std::vector<EditVerb> &verbs = editVerbs();
  const auto found = std::find_if(verbs.begin(), verbs.end(),
                                  [&name](const EditVerb &verb) { return verb.name == name; });
  if (found != verbs.end()) return *found;
  std::vector<std::string> names(verbs.size());
  std::transform(verbs.begin(), verbs.end(), names.begin(),
                 [](const EditVerb &verb) { return verb.name; });
  throw CommandError(
      ExitStatus::wrongUsage,
      printable(source + ": unknown edit '" + shortened(name) + "'") + suggestion(name, names));
}

// The value at the end of a line keeps its spaces.
EditRequest parseLine(const std::string &line, const std::string &source) {
  const size_t end = line.find_first_of(kSpaces);
  const size_t operand = std::min(line.find_first_not_of(kSpaces, end), line.size());
  return parseRequest(verbNamed(line.substr(0, end), source), line.substr(operand), source);
}

void readLines(std::istream &stream, const std::string &fileName,
               std::vector<EditRequest> &requests) {
  std::string line;
  for (size_t number = 1; std::getline(stream, line); ++number) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    line.erase(0, std::min(line.find_first_not_of(kSpaces), line.size()));
    if (line.empty() || line.front() == kCommentMark) continue;
    requests.push_back(parseLine(line, fileName + ':' + std::to_string(number)));
  }
  if (stream.bad()) throw systemError(fileName, "cannot read", errno);
}

}  // namespace

void readScript(const std::string &fileName, std::vector<EditRequest> &requests) {
  if (fileName == kStandardStream) return readLines(std::cin, fileName, requests);
  std::ifstream stream(pathOf(fileName), std::ios::binary);
  if (!stream) throw systemError(fileName, "cannot open", errno);
  readLines(stream, fileName, requests);
}

}  // namespace nebxml
