// Printing trees as documents.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "neb_xml.h"
#include "platform/bounded_memory.h"
#include "platform/output_file.h"
#include "platform/replaced_file.h"
#include "printer/escaping.h"
#include "printer/names.h"
#include "printer/output.h"
#include "record/node_strings.h"

namespace neb::xml::internal {

namespace {

enum PrintMode { XML_PRINT_FULL = 0, XML_PRINT_HEAD = 1, XML_PRINT_TAIL = 2 };

constexpr uint32_t kWidestIndent = 16;      // for one level
constexpr size_t kWidestIndentation = 128;  // in all

// How to write any name, with its prefix.
class AnyName {
 public:
  explicit AnyName(const XmlNode *node)
      : node_(*node),
        prefixLength_(prefixLengthOf(node)),
        localLength_(nameLengthOf(node)),
        hasBytesBefore_(hasBytesBeforeStrings(node)) {}

  // Without the colon.
  size_t length() const { return prefixLength_ + localLength_; }

  char *writeTo(char *to) const {
    if (node_.prefix != nullptr) {
      to = writeLiteral(copyString(to, node_.prefix, prefixLength_, hasBytesBefore_), ":");
    }
    return copyString(to, node_.name, localLength_, hasBytesBefore_);
  }

  // To be asked once it has been written.
  bool isXmlName(const char *begin, const char *end) const { return isName(begin, end); }

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
  bool isXmlName(const char *begin, const char *end) const {
    return isShortName(string_.bytes(), begin, end);
  }

 private:
  size_t length_;
  ShortString string_;
};

// A tree or one of its halves, in the lenient way.
struct HalfPrinting {
  const XmlNode *start;
  PrintMode mode;
  static constexpr size_t width = 0;
  static constexpr bool isExact = false;
};

// A whole tree in the lenient way. A type of its own, so that no node has to look at the mode.
struct LenientPrinting {
  const XmlNode *start;
  static constexpr PrintMode mode = XML_PRINT_FULL;
  static constexpr size_t width = 0;
  static constexpr bool isExact = false;
};

// So that parsing builds the same tree. What no document can hold is refused.
struct ExactPrinting {
  const XmlNode *start;
  size_t width;  // spaces for each level
  static constexpr PrintMode mode = XML_PRINT_FULL;
  static constexpr bool isExact = true;
};

// Only exact printing compares the names of attributes.
struct NoNames {};

template <typename PrintingKind>
class Printer {
 public:
  Printer(const PrintingKind &printing, Output &output) : printing_(printing), output_(output) {}

  [[gnu::flatten]] void print() {
    char *to = output_.begin();
    for (const XmlNode *node = printing_.start; node != nullptr;) {
      to = xmlPrintDomTreeRecursive(node, to);
      if (to == nullptr) return;
      node = node->firstChild != nullptr ? descend(node) : ascend(node, &to);
    }
    output_.end(to);
  }

 private:
  using Names = std::conditional_t<PrintingKind::isExact, AttributeNames, NoNames>;
  using ElementValue = std::conditional_t<PrintingKind::isExact, ExactElementValue, LenientValue>;
  using AttributeValue =
      std::conditional_t<PrintingKind::isExact, ExactAttributeValue, LenientValue>;

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
    if (isRefused) return output_.refuse(NEB_XML_ERR_INVALID_PARAM);
    // The opening half may have left the node open.
    const bool isOpen = isTag(node) && node->firstChild == nullptr && isLast(node);
    return isOpen && node != printing_.start ? writeClosing(node, to) : to;
  }

  // Calls a function with the name of a node that has one.
  template <typename Function>
  char *withName(const XmlNode *node, const Function &function) {
    if (ShortName::isOneOf(node)) return function(ShortName(node));
    if (node->name == nullptr) return output_.refuse(NEB_XML_ERR_INVALID_PARAM);
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
      return isMixed ? output_.refuse(NEB_XML_ERR_INVALID_PARAM) : writeTagEnd(to);
    }
    return hasText(node) ? writeValueAndEndTag(to, node, name) : writeEmptyElementEnd(to, node);
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
      if (!name.isXmlName(begin, end)) return output_.refuse(NEB_XML_ERR_INVALID_PARAM);
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
      if (!name.isXmlName(begin, end)) return output_.refuse(NEB_XML_ERR_INVALID_PARAM);
      const uint32_t result = names_.add(attribute, begin, end);
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
    } else if (length < kVectorSize && output_.hasRoom(to, length)) {
      const Vector bytes = loadFirst(node->value, length);
      if (needsNoEscape<Value>(bytes)) {
        storeVector(to, bytes);
        return to + length;
      }
    }
    return xmlCopyWithEscape<Value>(output_, to, node->value, length);
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

  static char *writeTagEnd(char *to) { return writeLiteral(writeTagClose(to), "\n"); }

  template <typename Name>
  char *writeValueAndEndTag(char *to, const XmlNode *node, const Name &name) {
    to = writeText(writeTagClose(to), node);
    if (to != nullptr) to = withRoomForTag(to, name, 0);
    return to == nullptr ? nullptr : writeEndTag(to, name);
  }

  char *writeText(char *to, const XmlNode *node) {
    if (PrintingKind::isExact && mayBeWhitespace(*node->value)) {
      const size_t written = writeFirstWhitespace(&to, node->value);
      return xmlCopyWithEscape<ElementValue>(output_, to, node->value + written,
                                             valueLengthOf(node) - written);
    }
    return writeValue<ElementValue>(to, node);
  }

  // In an opening half a last child is left open.
  char *writeEmptyElementEnd(char *to, const XmlNode *node) {
    const bool staysOpen = printing_.mode == XML_PRINT_HEAD && isLast(node);
    if (!staysOpen) to = writeLiteral(to, "/");
    return writeLiteral(to, ">\n");
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
    const Vector spaces = Vector{} + ' ';
    for (size_t at = 0; at < count; at += kVectorSize) storeVector(to + at, spaces);
    return to + count;
  }

  template <typename Name>
  static char *writeEndTag(char *to, const Name &name) {
    return writeLiteral(writeTagClose(name.writeTo(writeLiteral(to, "</"))), "\n");
  }

  PrintingKind printing_;
  size_t depth_ = 0;  // of the node at hand, below start
  Output &output_;
  [[no_unique_address]] Names names_;
};

// *text is null when nothing is printed.
template <typename PrintingKind>
uint32_t printTree(const PrintingKind &printing, char **text, size_t *length) {
  Output printed;
  Printer(printing, printed).print();
  if (printed.result() != NEB_XML_OK) return printed.result();
  *text = nullptr;
  *length = printed.length();
  if (*length == 0) return NEB_XML_OK;
  *text = printed.handOut();
  return *text != nullptr ? NEB_XML_OK : NEB_XML_ERR_NO_MEMORY;
}

bool isPrintable(const XmlNode *start) { return start != nullptr && !isAttribute(start); }

template <typename PrintingKind>
uint32_t transform(const PrintingKind &printing, char **text) {
  if (!isPrintable(printing.start) || text == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  char *printed = nullptr;
  size_t length = 0;
  const uint32_t result = printTree(printing, &printed, &length);
  if (result == NEB_XML_OK) *text = printed;
  return result;
}

uint32_t resultOf(platform::WriteOutcome outcome) {
  switch (outcome) {
    case platform::WriteOutcome::notOpened:
      return NEB_XML_ERR_FILE_OPEN;
    case platform::WriteOutcome::notWritten:
      return NEB_XML_ERR_FILE_WRITE;
    case platform::WriteOutcome::noMemory:
      return NEB_XML_ERR_NO_MEMORY;
    case platform::WriteOutcome::written:
      break;
  }
  return NEB_XML_OK;
}

using FileWriter = platform::WriteOutcome (*)(const char *path, const char *text, size_t length);

template <typename PrintingKind>
uint32_t printToFile(const PrintingKind &printing, const char *path, FileWriter writeFile) {
  if (!isPrintable(printing.start) || path == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  char *text = nullptr;
  size_t length = 0;
  const uint32_t result = printTree(printing, &text, &length);
  if (result != NEB_XML_OK) return result;
  const platform::WriteOutcome outcome = writeFile(path, text != nullptr ? text : "", length);
  XML_Free(nullptr, text);
  return resultOf(outcome);
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_Transform(const XmlNode *start, char **text) {
  return transform(LenientPrinting{start}, text);
}

uint32_t NEB_XML_TransformHead(const XmlNode *start, char **text) {
  return transform(HalfPrinting{start, XML_PRINT_HEAD}, text);
}

uint32_t NEB_XML_TransformTail(const XmlNode *start, char **text) {
  return transform(HalfPrinting{start, XML_PRINT_TAIL}, text);
}

uint32_t NEB_XML_TransformIndented(const XmlNode *start, uint32_t width, char **text) {
  if (width > kWidestIndent) return NEB_XML_ERR_INVALID_PARAM;
  return transform(ExactPrinting{start, width}, text);
}

uint32_t NEB_XML_TransformFile(const XmlNode *start, const char *path) {
  return printToFile(LenientPrinting{start}, path, neb::platform::writeWholeFile);
}

uint32_t NEB_XML_SaveFile(const XmlNode *start, const char *path, uint32_t width) {
  if (width > kWidestIndent) return NEB_XML_ERR_INVALID_PARAM;
  return printToFile(ExactPrinting{start, width}, path, neb::platform::replaceWholeFile);
}
