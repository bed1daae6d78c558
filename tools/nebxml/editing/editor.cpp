#include "editing/editor.h"

#include <algorithm>
#include <functional>
#include <iostream>

#include "documents/node_reading.h"
#include "editing/edit_conflicts.h"
#include "editing/edit_rules.h"
#include "editing/subtrees.h"
#include "terminal/command_error.h"

namespace nebxml {
namespace {

// White space beside children is not printed, so it does not count.
bool hasText(const XmlNode *element) {
  constexpr const char *kWhiteSpace = " \t\r\n";
  return nodeStrings(element).value.find_first_not_of(kWhiteSpace) != std::string_view::npos;
}

bool isInside(Position position) {
  return position == Position::first || position == Position::last;
}

}  // namespace

template <typename Action>
void Editor::forEach(const std::vector<XmlNode *> &nodes, const Selection &selection, Count &count,
                     Action action) {
  for (const XmlNode *node : nodes) action(node);
  count.nodes += edits_.count() - selections_.size();
  selections_.resize(edits_.count(), &selection);
  takesAll_ |= selection.takesAll;
}

void Editor::setValue(const Selection &selection, const std::string &value) {
  // Lenient documents may hold bytes that are no characters. Printing them decides.
  if (document_.reading() == Reading::strict) requireCharacters(heading(selection), value);
  forEach(select(document_, selection), selection, changed_, [&](const XmlNode *node) {
    if (NEB_XML_GetNodeFirstChild(node) != nullptr) {
      throw refusal(document_, selection, "an element with child elements takes no text, at path");
    }
    edits_.setValue(node, value);
  });
}

void Editor::setAttribute(const Selection &selection, const std::string &name,
                          const std::string &value) {
  const QualifiedName parts(name);
  if (document_.reading() == Reading::strict) requireCharacters(heading(selection), value);
  forEach(select(document_, selection), selection, changed_, [&](const XmlNode *node) {
    if (isAttribute(node)) {
      throw refusal(document_, selection, "an attribute has no attributes, at path");
    }
    const XmlNode *attribute = findAttribute(node, parts);
    if (attribute != nullptr) return edits_.setValue(attribute, value);
    requireAttributeName(heading(selection), name);
    edits_.addAttribute(node, parts, value);
  });
}

void Editor::rename(const Selection &selection, const std::string &name) {
  forEach(select(document_, selection), selection, renamed_, [&](const XmlNode *node) {
    const auto require = isAttribute(node) ? requireAttributeName : requireElementName;
    require(heading(selection), name);
    edits_.rename(node, name);
  });
}

void Editor::remove(const Selection &selection) {
  const std::vector<XmlNode *> nodes = outermost(select(document_, selection));
  forEach(nodes, selection, removed_, [&](const XmlNode *node) {
    if (node == document_.root()) {
      throw refusal(document_, selection, "the document element cannot be deleted:");
    }
    edits_.remove(node);
  });
}

void Editor::removeAttribute(const Selection &selection, const std::string &name) {
  std::vector<XmlNode *> attributes;
  for (const XmlNode *node : select(document_, selection)) {
    XmlNode *attribute = findAttribute(node, QualifiedName(name));
    if (attribute != nullptr) attributes.push_back(attribute);
  }
  if (attributes.empty()) {
    throw refusal(document_, selection, "no attribute '" + name + "' at path");
  }
  forEach(attributes, selection, removed_, [&](const XmlNode *node) { edits_.remove(node); });
}

void Editor::insert(const Selection &selection, Position position,
                    std::vector<const XmlNode *> elements) {
  // What is inserted later comes directly behind the parent's tag or the sibling.
  const bool pushesOthersBack = position == Position::first || position == Position::after;
  if (pushesOthersBack) std::reverse(elements.begin(), elements.end());
  forEach(select(document_, selection), selection, added_, [&](const XmlNode *node) {
    requirePlace(selection, position, node);
    for (const XmlNode *element : elements) edits_.insert(position, node, element);
  });
}

void Editor::requirePlace(const Selection &selection, Position position,
                          const XmlNode *node) const {
  if (isAttribute(node)) {
    throw refusal(document_, selection, "an attribute has neither children nor siblings, at path");
  }
  if (!isInside(position) && node == document_.root()) {
    throw refusal(document_, selection, "nothing can be added beside the document element");
  }
  if (isInside(position) && hasText(node)) {
    throw refusal(document_, selection, "an element with text takes no child elements, at path");
  }
}

void Editor::requireNoConflict() const {
  // Those of one selection are of one kind, and about different nodes.
  const bool areOfOneSelection = std::adjacent_find(selections_.begin(), selections_.end(),
                                                    std::not_equal_to<>()) == selections_.end();
  if (areOfOneSelection) return;
  const auto conflict = findConflict(edits_.records());
  if (!conflict) return;
  const Selection &selection = *selections_[conflict->edit];
  const Selection &other = *selections_[conflict->other];
  throw CommandError(
      ExitStatus::notFound,
      printable(heading(selection) + ": " + conflict->cause + " '" + selection.pattern +
                "'; the other edit is " + other.source + " '" + other.pattern + "'"));
}

CommandError Editor::inWords(const Refusal &refused) const {
  const Selection &selection = *selections_[refused.edit];
  switch (refused.code) {
    case NEB_XML_ERR_NO_MEMORY:
      return noMemory(document_.fileName());
    case NEB_XML_ERR_ALREADY_EXISTS:
      return refusal(document_, selection, "an attribute of that name exists at path");
    default:
      return refusal(document_, selection,
                     "XML or the document's encoding does not allow the change at path");
  }
}

void Editor::save(const Destination &destination) const {
  requireNoConflict();
  std::string bytes;
  const auto refused = applyEdits(document_, edits_, bytes);
  if (refused) throw inWords(*refused);
  nebxml::save(document_, bytes, destination);
  if (takesAll_) reportCounts(destination.isDryRun);
}

void Editor::reportCounts(bool isDryRun) const {
  std::string counts;
  for (const Count &count : {changed_, added_, renamed_, removed_}) {
    if (count.nodes == 0) continue;
    counts += counts.empty() ? ": " : ", ";
    counts.append(std::to_string(count.nodes)).append(isDryRun ? " would be " : " ");
    counts.append(count.verb);
  }
  std::cerr << printable(document_.fileName()) << counts << '\n';
}

}  // namespace nebxml
