#include "source/edit_writer.h"

#include <algorithm>

#include "source/content.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kSplicesForEach = 3;
constexpr std::string_view kUsualStep = "  ";

// Where no attribute is before it, the name of the tag is.
bool isBehindHyphens(const Target &element) {
  return element.at.lastAttribute == nullptr && finalName(element).endsInHyphens();
}

// In front of a new attribute.
std::string_view spaceBeforeLast(const Location &element) {
  if (element.lastAttribute == nullptr) return " ";
  const char *begin = element.lastAttribute;
  const char *end = begin;
  while (isWhitespace(begin[-1])) {
    if (static_cast<size_t>(end - begin) == kLongestIndentation) return " ";
    --begin;
  }
  return {begin, static_cast<size_t>(end - begin)};
}

// The first that was inserted at a position is the last behind it.
size_t reversed(size_t index) { return SIZE_MAX - index; }

}  // namespace

uint32_t EditWriter::prepare() {
  if (!splices_.make(productOf(kSplicesForEach, edits_.size()))) return NEB_XML_ERR_NO_MEMORY;
  if (document_.isAscii()) text_.limitToAscii();
  if (!addAll()) return text_.result();
  written_ = text_.handOut();
  const bool isWritten = written_ != nullptr || text_.length() == 0;
  return isWritten ? NEB_XML_OK : NEB_XML_ERR_NO_MEMORY;
}

bool EditWriter::addAll() {
  for (const PlannedEdit &edit : edits_) {
    if (!addEdit(edit)) return false;
  }
  for (const Target &target : edits_.targets()) {
    if (target.isEmptied && !addRemains(target)) return false;
  }
  return true;
}

uint32_t EditWriter::write(NEB_XML_SINK sink, void *context) {
  return splices_.write(document_, written_, sink, context);
}

bool EditWriter::addEdit(const PlannedEdit &edit) {
  switch (edit.kind) {
    case NEB_XML_EDIT_SET_VALUE:
      return addValue(*edit.target);
    case NEB_XML_EDIT_SET_ATTR:
      return addNewAttribute(edit);
    case NEB_XML_EDIT_RENAME:
      return addRename(*edit.target);
    case NEB_XML_EDIT_REMOVE:
      return addRemoval(*edit.target);
    case NEB_XML_EDIT_INSERT_FIRST:
      return addFirst(edit);
    case NEB_XML_EDIT_INSERT_LAST:
      return addLast(edit);
    case NEB_XML_EDIT_INSERT_BEFORE:
      return addBefore(edit);
    default:
      return addBehind(edit);
  }
}

// ---- Values, names and attributes

bool EditWriter::addValue(const Target &target) {
  if (!isAttribute(target.node)) return addElementValue(target);
  const size_t since = text_.length();
  return text_.addAttributeValue(target.value->value) &&
         splice(target.at.content, target.at.contentEnd, since);
}

// Beside children an empty value has been allowed, and is none.
bool EditWriter::addElementValue(const Target &element) {
  const Location &at = element.at;
  const char *value = element.value->value;
  const size_t since = text_.length();
  const bool staysEmpty = at.isEmptyTag() && isMissing(value);
  if (staysEmpty || element.node->firstChild != nullptr) return true;
  if (at.isEmptyTag()) {
    return text_.addTagEnd(isBehindHyphens(element)) && text_.addElementValue(value) &&
           text_.addEndTag(finalName(element)) && splice(at.attributesEnd, at.end, since);
  }
  const TextRange old = findText(at.content, at.contentEnd);
  return text_.addElementValue(value) && splice(old.begin, old.end, since);
}

bool EditWriter::addNewAttribute(const PlannedEdit &edit) {
  const Location &at = edit.target->at;
  const size_t since = text_.length();
  return text_.add(spaceBeforeLast(at)) && text_.addAttribute(nameOfNew(edit), edit.given->value) &&
         splice(at.attributesEnd, at.attributesEnd, since, SpliceRank::before, edit.index);
}

bool EditWriter::addRename(const Target &target) {
  const Location &at = target.at;
  const WholeName name = finalName(target);
  if (!addRenamed(name, at.name, at.nameEnd)) return false;
  if (isAttribute(target.node) || at.isEmptyTag()) return true;
  const char *nameInEnd = at.contentEnd + lengthOf(kEndTagBegin);
  return addRenamed(name, nameInEnd, nameInEnd + (at.nameEnd - at.name));
}

bool EditWriter::addRenamed(const WholeName &name, const char *begin, const char *end) {
  const size_t since = text_.length();
  const bool wouldMislead = *end == '>' && name.endsInHyphens();
  return text_.addName(name) && (!wouldMislead || text_.add(" ")) && splice(begin, end, since);
}

// ---- Removal

bool EditWriter::addRemoval(const Target &target) {
  const Location &at = target.at;
  const size_t since = text_.length();
  if (isAttribute(target.node)) {
    return splice(skipWhitespaceBack(at.begin, document_.begin()), at.end, since);
  }
  if (edits_.targets().find(target.node->parent)->isEmptied) return true;
  const LineBeginning before = lineBeginning(document_.begin(), at.begin);
  const char *behind = skipBlanks(at.end);
  const bool isAlone = !before.lineEnd.empty() && isLineEnd(*behind);
  return isAlone ? splice(before.lineEnd.data(), behind, since) : splice(at.begin, at.end, since);
}

// White space between the tags would be a value once the children have gone.
bool EditWriter::addRemains(const Target &element) {
  const size_t since = text_.length();
  const char *next = element.at.content;
  for (const XmlNode *child = element.node->firstChild; child != nullptr; child = child->next) {
    const Location &at = edits_.targets().find(child)->at;
    if (!addComments(next, at.begin)) return false;
    next = at.end;
  }
  return addComments(next, element.at.contentEnd) &&
         splice(element.at.content, element.at.contentEnd, since);
}

bool EditWriter::addComments(const char *begin, const char *end) {
  while (begin < end) {
    const char *next = behindMisc(begin);
    if (next != begin && !text_.add({begin, static_cast<size_t>(next - begin)})) return false;
    begin = std::max(next, begin + 1);
  }
  return true;
}

// ---- Insertion

bool EditWriter::addFirst(const PlannedEdit &edit) {
  if (!beginInside(*edit.target)) return false;
  const size_t since = text_.length();
  return text_.addLine(inside_.layout, 0) &&
         text_.addSubtree(edit.given->content, inside_.layout) &&
         splice(inside_.first, inside_.first, since, SpliceRank::behind, reversed(edit.index));
}

bool EditWriter::addLast(const PlannedEdit &edit) {
  if (!beginInside(*edit.target)) return false;
  const size_t since = text_.length();
  return text_.addLine(inside_.layout, 0) &&
         text_.addSubtree(edit.given->content, inside_.layout) &&
         splice(inside_.last, inside_.last, since, SpliceRank::before, edit.index);
}

bool EditWriter::addBefore(const PlannedEdit &edit) {
  const Layout layout = layoutBeside(*edit.target);
  const char *position = edit.target->at.begin;
  const size_t since = text_.length();
  return text_.addSubtree(edit.given->content, layout) && text_.addLine(layout, 0) &&
         splice(position, position, since, SpliceRank::before, edit.index);
}

bool EditWriter::addBehind(const PlannedEdit &edit) {
  if (behind_.element != edit.target) {
    behind_ = {edit.target, layoutBeside(*edit.target), behindCommentsOfLine(edit.target->at.end)};
    if (!isLineEnd(*skipBlanks(behind_.position))) behind_.layout.hasLines = false;
  }
  const size_t since = text_.length();
  return text_.addLine(behind_.layout, 0) &&
         text_.addSubtree(edit.given->content, behind_.layout) &&
         splice(behind_.position, behind_.position, since, SpliceRank::behind,
                reversed(edit.index));
}

// Once for each element, however many children it gets.
bool EditWriter::beginInside(const Target &element) {
  if (inside_.element == &element) return true;
  const Location &at = element.at;
  const bool hasNoText =
      element.node->firstChild != nullptr || findText(at.content, at.contentEnd).isLayout;
  if (!hasNoText) return text_.refuse(NEB_XML_ERR_UNWRITABLE);
  const char *first = skipWhitespace(at.content);
  inside_ = {&element, {}, at.content, skipWhitespaceBack(at.contentEnd, at.content)};
  if (first < at.contentEnd) {
    const LineBeginning line = lineBeginning(document_.begin(), first);
    inside_.layout = {!line.lineEnd.empty(), line.lineEnd, line.indentation,
                      stepBetween(indentationOf(element.node), line.indentation)};
    return true;
  }
  inside_.layout = layoutOfOnlyChild(element);
  return at.isEmptyTag() ? openEmptyTag(element) : closeInside(element, inside_.layout);
}

// Children are inserted between the '/' and the '>' that go.
bool EditWriter::openEmptyTag(const Target &element) {
  const Location &at = element.at;
  inside_.first = at.end - 1;
  inside_.last = at.end - 1;
  const size_t since = text_.length();
  if (!text_.addTagEnd(isBehindHyphens(element)) || !splice(at.attributesEnd, at.end, since)) {
    return false;
  }
  Layout outside = inside_.layout;
  outside.level = 0;
  const size_t sinceEnd = text_.length();
  return text_.addLine(outside, 0) && text_.addEndTag(finalName(element)) &&
         splice(inside_.first, inside_.first, sinceEnd);
}

// The end tag gets a line of its own too, unless it has one.
bool EditWriter::closeInside(const Target &element, const Layout &layout) {
  const Location &at = element.at;
  if (!layout.hasLines || std::any_of(at.content, at.contentEnd, isLineEnd)) return true;
  Layout outside = layout;
  outside.level = 0;
  const size_t since = text_.length();
  return text_.addLine(outside, 0) && splice(at.content, at.contentEnd, since);
}

// ---- Layout

// Of the first child of an element with nothing but white space between its tags.
Layout EditWriter::layoutOfOnlyChild(const Target &element) const {
  const Location &at = element.at;
  const LineBeginning line = lineBeginning(document_.begin(), at.begin);
  const XmlNode *parent = element.node->parent;
  if (parent != nullptr && !line.lineEnd.empty()) {
    return {true, line.lineEnd, line.indentation,
            stepBetween(indentationOf(parent), line.indentation), 1};
  }
  const char *lineEnd = std::find_if(at.content, at.contentEnd, isLineEnd);
  if (lineEnd == at.contentEnd) return {};
  return {true, lineEndAt(lineEnd), line.indentation, kUsualStep, 1};
}

Layout EditWriter::layoutBeside(const Target &element) const {
  const LineBeginning line = lineBeginning(document_.begin(), element.at.begin);
  return {!line.lineEnd.empty(), line.lineEnd, line.indentation,
          stepBetween(indentationOf(element.node->parent), line.indentation)};
}

// Of an element that is a target.
std::string_view EditWriter::indentationOf(const XmlNode *node) const {
  return lineBeginning(document_.begin(), edits_.targets().find(node)->at.begin).indentation;
}

}  // namespace neb::xml::internal
