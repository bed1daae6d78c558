// The walk over a tree that writes it as a document, whatever the kind of printing.
#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "platform/compiler.h"
#include "printer/escaping.h"
#include "printer/names.h"
#include "record/node_strings.h"

namespace neb::xml::internal {

enum PrintMode { XML_PRINT_FULL = 0, XML_PRINT_HEAD = 1, XML_PRINT_TAIL = 2 };

inline constexpr uint32_t kWidestIndent = 16;      // for one level
inline constexpr size_t kWidestIndentation = 128;  // in all

// How to write any name, with its prefix.
class AnyName {
 public:
  explicit AnyName(const XmlNode *node)
      : node_(*node),
        prefixLength_(prefixLengthOf(node)),
        localLength_(nameLengthOf(node)),
        hasBytesBefore_(hasBytesBeforeStrings(node)) {}

  // Without the colon.
  uint64_t length() const { return uint64_t{prefixLength_} + localLength_; }

  char *writeTo(char *to) const {
    if (node_.prefix != nullptr) {
      to = writeLiteral(copyString(to, node_.prefix, prefixLength_, hasBytesBefore_), ":");
    }
    return copyString(to, node_.name, localLength_, hasBytesBefore_);
  }

  // To be asked once it has been written.
  template <typename Bytes>
  bool isXmlName(const char *begin, const char *end) const {
    return isName<Bytes>(begin, end);
  }

 private:
  const XmlNode &node_;
  size_t prefixLength_;
  size_t localLength_;
  bool hasBytesBefore_;
};

// How to write what most names are: short, without a prefix and in a session. It stays in
// registers from the start tag to the end tag.
class ShortName {
 public:
  static bool isOneOf(const XmlNode *node) {
    return ShortString::isLengthOfOne(node->nameLength) && node->prefix == nullptr &&
           hasBytesBeforeStrings(node);
  }

  explicit ShortName(const XmlNode *node)
      : length_(node->nameLength), string_(node->name, length_) {}

  size_t length() const { return length_; }
  char *writeTo(char *to) const { return string_.copyTo(to, length_); }
  template <typename Bytes>
  bool isXmlName(const char *begin, const char *end) const {
    return isShortName<Bytes>(string_.bytes(), begin, end);
  }

 private:
  size_t length_;
  ShortString string_;
};

// Only exact printing compares the names of attributes.
struct NoNames {};

// The kind says what is written, and into what. Sources define theirs in a namespace without a
// name, so that the compiler knows all that is done with each.
template <typename PrintingKind>
class Printer {
 public:
  using Target = typename PrintingKind::Target;

  Printer(const PrintingKind &printing, Target &output) : printing_(printing), output_(output) {}

  NEB_XML_FLATTEN void print() {
    char *to = printing_.writeBeginning(output_.begin());
    for (const XmlNode *node = printing_.start; node != nullptr;) {
      to = xmlPrintDomTreeRecursive(node, to);
      if (to == nullptr) return;
      node = node->firstChild != nullptr ? descend(node) : ascend(node, &to);
    }
    output_.end(printing_.endLastLine(to));
  }

 private:
  using Names = std::conditional_t<PrintingKind::isExact, AttributeNames, NoNames>;
  using ElementValue = typename PrintingKind::ElementValue;
  using AttributeValue = typename PrintingKind::AttributeValue;

  const XmlNode *descend(const XmlNode *node) {
    ++depth_;
    return node->firstChild;
  }

  // After a childless node: the node that comes next. If the childless node was printed, this
  // closes every ancestor that ends with it, up to the start node. Null at the end or after a
  // failure.
  const XmlNode *ascend(const XmlNode *node, char **cursor) {
    if (!isLast(node)) return node->next;
    const bool closes = printing_.mode != XML_PRINT_HEAD && isTag(node);
    while (isLast(node)) {
      if (node == printing_.start) return nullptr;
      node = node->parent;
      --depth_;
      if (closes) *cursor = writeClosing(node, *cursor);
      if (*cursor == nullptr) return nullptr;
    }
    return node->next;
  }

  // The start node counts as the top of a tree of its own.
  bool isLast(const XmlNode *node) const {
    return node->next == nullptr || node == printing_.start;
  }

  static bool isTag(const XmlNode *node) {
    return node->type == NEB_XML_NODE_ELEMENT || node->type == NEB_XML_NODE_DOCUMENT;
  }

  // Takes and returns the cursor, as all functions that write do; null after a failure.
  char *xmlPrintDomTreeRecursive(const XmlNode *node, char *to) {
    if (isTag(node) && printing_.mode != XML_PRINT_TAIL) return writeOpening(node, to);
    const bool isRefused = node->name == nullptr || PrintingKind::isExact;
    if (isRefused) return refuse();
    // The opening half may have left the node open.
    const bool isOpen = isTag(node) && node->firstChild == nullptr && isLast(node);
    return isOpen && node != printing_.start ? writeClosing(node, to) : to;
  }

  // What no document can hold.
  char *refuse() { return output_.refuse(PrintingKind::kRefusal); }

  // Calls a function with the name of a node that has one.
  template <typename Function>
  char *withName(const XmlNode *node, const Function &function) {
    if (ShortName::isOneOf(node)) return function(ShortName(node));
    if (node->name == nullptr) return refuse();
    return function(AnyName(node));
  }

  char *writeOpening(const XmlNode *node, char *to) {
    return withName(node, [&](const auto &name) {
      char *next = writeTagBegin(to, node, name);
      const XmlNode *attribute = node->firstAttr;
      for (; attribute != nullptr && next != nullptr; attribute = attribute->next) {
        next = writeAttribute(next, attribute);
      }
      return next != nullptr ? writeRestOfOpening(next, node, name) : nullptr;
    });
  }

  template <typename Name>
  char *writeRestOfOpening(char *to, const XmlNode *node, const Name &name) {
    if (node->firstChild != nullptr) {
      const bool isMixed = PrintingKind::isExact && !isWhitespaceOnly(node->value);
      return isMixed ? refuse() : writeTagEnd(to);
    }
    const bool hasEndTag = hasText(node) || printing_.hasEndTagsOfEmptyElements;
    return hasEndTag ? writeValueAndEndTag(to, node, name) : writeEmptyElementEnd(to, node);
  }

  // Parsing takes an empty value for none.
  static bool hasText(const XmlNode *node) {
    return PrintingKind::isExact ? !isMissing(node->value) : node->value != nullptr;
  }

  // White space beside children is layout.
  static bool isWhitespaceOnly(const char *value) {
    return value == nullptr || value[std::strspn(value, " \t\n\r")] == '\0';
  }

  template <typename Name>
  char *writeTagBegin(char *to, const XmlNode *node, const Name &name) {
    to = withRoomForTag(to, name, depth_);
    if (to == nullptr) return nullptr;
    char *begin = writeLiteral(writeIndent(to, depth_), "<");
    char *end = name.writeTo(begin);
    if constexpr (PrintingKind::isExact) {
      if (!printing_.allowsName(name, begin, end)) return refuse();
      names_.beginTag(node);
    }
    return end;
  }

  char *writeAttribute(char *to, const XmlNode *attribute) {
    to = withName(attribute,
                  [&](const auto &name) { return writeAttributeName(to, attribute, name); });
    if (to == nullptr) return nullptr;
    to = writeValue<AttributeValue>(writeLiteral(to, "=\""), attribute);
    return to == nullptr ? nullptr : writeLiteral(to, "\"");
  }

  template <typename Name>
  char *writeAttributeName(char *to, const XmlNode *attribute, const Name &name) {
    to = withRoomForTag(to, name, 0);
    if (to == nullptr) return nullptr;
    char *begin = writeLiteral(to, " ");
    char *end = name.writeTo(begin);
    if constexpr (PrintingKind::isExact) {
      if (!printing_.allowsName(name, begin, end)) return refuse();
      const uint32_t result = names_.add(attribute, begin, end);
      if (result == NEB_XML_ERR_ALREADY_EXISTS) return refuse();
      if (result != NEB_XML_OK) return output_.refuse(result);
    }
    return end;
  }

  // Behind it there is room for a little markup. At the cursor there is room for a short value. On
  // the heap, a short value that needs no escape still asks for room, as any other value does.
  template <typename Value>
  char *writeValue(char *to, const XmlNode *node) {
    if (node->value == nullptr) return to;
    const size_t length = valueLengthOf(node);
    if (ShortString::isLengthOfOne(length) && hasBytesBeforeStrings(node)) {
      const ShortString value(node->value, length);
      if (needsNoEscape<Value>(value.bytes())) return value.copyTo(to, length);
    } else if (!platform::kIsSmall && length < kVectorSize && output_.hasRoom(to, length)) {
      const Vector bytes = loadFirst(node->value, length);
      if (needsNoEscape<Value>(bytes)) {
        storeVector(to, bytes);
        return to + length;
      }
    }
    return printing_.template copyValue<Value>(output_, to, node->value, length);
  }

  template <typename Value>
  static bool needsNoEscape(Vector bytes) {
    return bitsOf(Value::findEscaped(bytes)) == 0;
  }

  // Behind a name or a quote. Parsing takes "-->" for markup, wherever it is.
  static char *writeTagClose(char *to) {
    const bool wouldMislead = PrintingKind::isExact && to[-1] == '-' && to[-2] == '-';
    return writeLiteral(wouldMislead ? writeLiteral(to, " ") : to, ">");
  }

  char *writeTagEnd(char *to) const { return printing_.writeLineEnd(writeTagClose(to)); }

  template <typename Name>
  char *writeValueAndEndTag(char *to, const XmlNode *node, const Name &name) {
    to = writeText(writeTagClose(to), node);
    if (to != nullptr) to = withRoomForTag(to, name, 0);
    return to == nullptr ? nullptr : writeEndTag(to, name);
  }

  char *writeText(char *to, const XmlNode *node) {
    const bool isEmpty = printing_.hasEndTagsOfEmptyElements && node->value == nullptr;
    if (PrintingKind::isExact && !isEmpty && mayBeWhitespace(*node->value)) {
      const size_t written = writeFirstWhitespace(&to, node->value);
      return printing_.template copyValue<ElementValue>(output_, to, node->value + written,
                                                        valueLengthOf(node) - written);
    }
    return writeValue<ElementValue>(to, node);
  }

  // In an opening half a last child is left open.
  char *writeEmptyElementEnd(char *to, const XmlNode *node) {
    const bool staysOpen = printing_.mode == XML_PRINT_HEAD && isLast(node);
    if (!staysOpen) to = writeLiteral(to, "/");
    return printing_.writeLineEnd(writeLiteral(to, ">"));
  }

  // An end tag on a line of its own.
  char *writeClosing(const XmlNode *node, char *to) {
    return withName(node, [&](const auto &name) {
      char *begin = withRoomForTag(to, name, depth_);
      return begin == nullptr ? nullptr : writeEndTag(writeIndent(begin, depth_), name);
    });
  }

  // Behind the name the slack is long enough for an attribute's short value with what is around
  // it, the end of the tag, and a short text.
  static_assert(Output::kSlack >= sizeof("<: =\">") + 3 * kVectorSize);
  template <typename Name>
  char *withRoomForTag(char *to, const Name &name, size_t depth) {
    return output_.withRoom(to, indentationOf(depth) + name.length());
  }

  // Without an end to it, deep elements would take as much room as all that are above them.
  size_t indentationOf(size_t depth) const {
    return std::min(depth * printing_.width, kWidestIndentation);
  }

  char *writeIndent(char *to, size_t depth) const {
    const size_t count = indentationOf(depth);
    const Vector spaces = Vector{} + static_cast<uint8_t>(printing_.indentation);
    for (size_t at = 0; at < count; at += kVectorSize) storeVector(to + at, spaces);
    return to + count;
  }

  template <typename Name>
  char *writeEndTag(char *to, const Name &name) const {
    return printing_.writeLineEnd(writeTagClose(name.writeTo(writeLiteral(to, "</"))));
  }

  PrintingKind printing_;
  size_t depth_ = 0;  // of the node at hand, below start
  Target &output_;
  NEB_XML_NO_UNIQUE_ADDRESS Names names_;
};

}  // namespace neb::xml::internal
