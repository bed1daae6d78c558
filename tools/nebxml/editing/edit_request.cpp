#include "editing/edit_request.h"

#include <optional>
#include <utility>

#include "documents/pattern_text.h"
#include "terminal/command_error.h"
#include "terminal/excerpt.h"

namespace nebxml {
namespace {

constexpr char kValueMark = '=';

using Halves = std::pair<std::string, std::string>;

// The text before and behind an offset; nothing if nothing is found there.
std::optional<Halves> splitAt(const std::string &text, size_t offset) {
  if (offset == std::string::npos) return std::nullopt;
  return Halves{text.substr(0, offset), text.substr(offset + 1)};
}

// False if the operand lacks a part.
bool parsePath(EditRequest &request, const std::string &operand) {
  request.selection.pattern = operand;
  return !operand.empty();
}

bool parseValue(EditRequest &request, const std::string &operand) {
  const auto halves = splitAt(operand, findOutsideBrackets(operand, kValueMark));
  if (!halves) return false;
  request.value = halves->second;
  return parsePath(request, halves->first);
}

bool parseName(EditRequest &request, const std::string &operand) {
  if (!parseValue(request, operand)) return false;
  request.name = std::exchange(request.value, "");
  return !request.name.empty();
}

bool parseElement(EditRequest &request, const std::string &operand) {
  if (!parseName(request, operand)) return false;
  if (isFragment(request.name)) return true;
  const auto halves = splitAt(request.name, request.name.find(kValueMark));
  if (halves) std::tie(request.name, request.value) = *halves;
  return !request.name.empty();
}

bool parseAttribute(EditRequest &request, const std::string &operand) {
  const auto path = splitAt(operand, findOutsideBrackets(operand, kAttributeMark));
  if (!path) return false;
  const auto halves = splitAt(path->second, path->second.find(kValueMark));
  if (!halves) return false;
  std::tie(request.name, request.value) = *halves;
  const bool hasSeparator = !path->first.empty() && path->first.back() == kStepSeparator;
  return parsePath(request, path->first.substr(0, path->first.size() - (hasSeparator ? 1 : 0)));
}

template <Position kPosition>
void applyAdd(EditSession &session, const EditRequest &request) {
  session.elements.push_back(
      makeElement(session.document, request.selection, {request.name, request.value, {}}));
  session.editor.insert(request.selection, kPosition, {session.elements.back().get()});
}

void applySet(EditSession &session, const EditRequest &request) {
  session.editor.setValue(request.selection, request.value);
}

void applyAttribute(EditSession &session, const EditRequest &request) {
  session.editor.setAttribute(request.selection, request.name, request.value);
}

void applyRemoval(EditSession &session, const EditRequest &request) {
  session.editor.remove(request.selection);
}

void applyRename(EditSession &session, const EditRequest &request) {
  session.editor.rename(request.selection, request.name);
}

}  // namespace

const std::vector<EditVerb> &editVerbs() {
  static const std::vector<EditVerb> verbs{
      {"set", "PATH=VALUE", "change a text or an attribute", parseValue, applySet},
      {"attr", "PATH@NAME=VALUE", "change or add an attribute", parseAttribute, applyAttribute},
      {"add", "PATH=NAME[=VALUE]", "add an element, or XML, as the last child", parseElement,
       applyAdd<Position::last>},
      {"add-first", "PATH=NAME[=VALUE]", "the same as the first child", parseElement,
       applyAdd<Position::first>},
      {"add-before", "PATH=NAME[=VALUE]", "the same as a sibling before PATH", parseElement,
       applyAdd<Position::before>},
      {"add-after", "PATH=NAME[=VALUE]", "the same as a sibling after PATH", parseElement,
       applyAdd<Position::after>},
      {"del", "PATH", "remove a node or an attribute", parsePath, applyRemoval},
      {"rename", "PATH=NAME", "rename an element or attribute", parseName, applyRename},
  };
  return verbs;
}

EditRequest parseRequest(const EditVerb &verb, const std::string &operand,
                         const std::string &source) {
  EditRequest request{&verb, {"", false, source}, "", ""};
  if (operand.find('\0') == std::string::npos && verb.parse(request, operand)) return request;
  throw CommandError(ExitStatus::wrongUsage, printable(source + ": needs " + verb.operand +
                                                       ", not '" + shortened(operand) + "'"));
}

}  // namespace nebxml
