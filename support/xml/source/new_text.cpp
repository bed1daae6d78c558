#include "source/new_text.h"

#include <cstring>

#include "characters/utf8.h"
#include "printer/escaping.h"
#include "source/content.h"
#include "tree/nodes.h"

namespace neb::xml::internal {

namespace {

bool isTag(const XmlNode *node) {
  return node->type == NEB_XML_NODE_ELEMENT || node->type == NEB_XML_NODE_DOCUMENT;
}

// Of a start tag.
bool endsInHyphens(const XmlNode *element) {
  return element->firstAttr == nullptr && wholeNameOf(element).endsInHyphens();
}

char *copied(char *to, std::string_view bytes) {
  if (!bytes.empty()) std::memcpy(to, bytes.data(), bytes.size());
  return to + bytes.size();
}

}  // namespace

size_t NewText::length() {
  if (to_ != nullptr) output_.end(to_);
  return output_.length();
}

char *NewText::handOut() { return length() != 0 ? output_.handOut() : nullptr; }

bool NewText::makeRoom(uint64_t count) {
  if (to_ != nullptr) to_ = output_.withRoom(to_, count);
  return to_ != nullptr;
}

bool NewText::add(std::string_view bytes) {
  if (!makeRoom(bytes.size())) return false;
  to_ = copied(to_, bytes);
  return true;
}

// Where it begins in the output; null after a failure.
const char *NewText::addedName(const WholeName &name) {
  if (!makeRoom(name.length())) return nullptr;
  const char *begin = to_;
  if (!name.prefix.empty()) to_ = writeLiteral(copied(to_, name.prefix), ":");
  to_ = copied(to_, name.local);
  const bool isAllowed =
      isUnicodeName(begin, to_) && (!isAscii_ || findOtherThanAscii(begin, to_) == to_);
  if (!isAllowed) refuse(NEB_XML_ERR_UNWRITABLE);
  return isAllowed ? begin : nullptr;
}

bool NewText::addAttribute(const WholeName &name, const char *value) {
  return addName(name) && add("=\"") && addAttributeValue(value) && add("\"");
}

bool NewText::addAttributeValue(const char *value) {
  return addEscaped<ExactAttributeValue>(measured(value));
}

bool NewText::addElementValue(const char *value) {
  std::string_view text = measured(value);
  if (text.empty()) return true;
  if (!makeRoom(0)) return false;
  text.remove_prefix(writeFirstWhitespace(&to_, value));
  return addEscaped<ExactElementValue>(text);
}

template <typename Value>
bool NewText::addEscaped(std::string_view value) {
  const char *end = value.data() + value.size();
  if (findForbidden(value.data(), end) != end) return refuse(NEB_XML_ERR_UNWRITABLE);
  return addRuns<Value>(value);
}

template <typename Value>
bool NewText::addRuns(std::string_view value) {
  const char *from = value.data();
  const char *end = from + value.size();
  while (from < end) {
    const char *other = isAscii_ ? findOtherThanAscii(from, end) : end;
    if (!makeRoom(0)) return false;
    if (from == other) {
      const Character character = characterAt(from, end);
      if (!addReference(character.code)) return false;
      from += character.length;
      continue;
    }
    to_ = xmlCopyWithEscape<Value>(output_, to_, from, static_cast<size_t>(other - from));
    if (to_ == nullptr) return false;
    from = other;
  }
  return true;
}

bool NewText::addReference(uint32_t code) {
  char digits[7];  // of the largest character
  char *first = digits + sizeof digits;
  for (; code != 0; code /= 10) *--first = static_cast<char>('0' + code % 10);
  return add("&#") && add({first, static_cast<size_t>(digits + sizeof digits - first)}) && add(";");
}

bool NewText::addLine(const Layout &layout, size_t depth) {
  if (!layout.hasLines) return true;
  if (!add(layout.lineEnd) || !add(layout.indentation)) return false;
  size_t left = kLongestIndentation - std::min(kLongestIndentation, layout.indentation.size());
  if (layout.step.empty()) return true;
  for (depth += layout.level; depth != 0 && layout.step.size() <= left; --depth) {
    left -= layout.step.size();
    if (!add(layout.step)) return false;
  }
  return true;
}

bool NewText::addSubtree(const XmlNode *start, const Layout &layout) {
  size_t depth = 0;
  for (const XmlNode *node = start;;) {
    if (node != start && !addLine(layout, depth)) return false;
    if (!addStartTag(node)) return false;
    if (node->firstChild != nullptr) {
      node = node->firstChild;
      ++depth;
      continue;
    }
    if (!addLeaf(node)) return false;
    for (; node != start && node->next == nullptr; node = node->parent) {
      if (!addLine(layout, --depth) || !addEndTag(wholeNameOf(node->parent))) return false;
    }
    if (node == start) return true;
    node = node->next;
  }
}

// Up to the attributes; with children, the whole.
bool NewText::addStartTag(const XmlNode *element) {
  if (!isTag(element)) return refuse(NEB_XML_ERR_UNWRITABLE);
  if (!add("<") || !addName(wholeNameOf(element))) return false;
  names_.beginTag(element);
  for (const XmlNode *each = element->firstAttr; each != nullptr; each = each->next) {
    if (!addSubtreeAttribute(each)) return false;
  }
  if (element->firstChild == nullptr) return true;
  return isText(element->value) ? refuse(NEB_XML_ERR_UNWRITABLE)
                                : addTagEnd(endsInHyphens(element));
}

bool NewText::addSubtreeAttribute(const XmlNode *attribute) {
  if (!add(" ")) return false;
  const char *name = addedName(wholeNameOf(attribute));
  if (name == nullptr) return false;
  const uint32_t result = names_.add(attribute, name, to_);
  if (result == NEB_XML_ERR_NO_MEMORY) return refuse(result);
  if (result != NEB_XML_OK) return refuse(NEB_XML_ERR_UNWRITABLE);
  return add("=\"") && addAttributeValue(attribute->value) && add("\"");
}

bool NewText::addLeaf(const XmlNode *element) {
  if (isMissing(element->value)) return add("/>");
  return addTagEnd(endsInHyphens(element)) && addElementValue(element->value) &&
         addEndTag(wholeNameOf(element));
}

bool NewText::addEndTag(const WholeName &name) {
  return add("</") && addName(name) && addTagEnd(name.endsInHyphens());
}

}  // namespace neb::xml::internal
