// Printing trees as XML.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "neb_xml.h"
#include "platform/bounded_memory.h"
#include "platform/output_file.h"
#include "platform/replaced_file.h"
#include "printer/escaping.h"
#include "printer/names.h"
#include "printer/printed_text.h"
#include "record/node_strings.h"

namespace neb::xml::internal {

namespace {

enum PrintMode { XML_PRINT_FULL = 0, XML_PRINT_HEAD = 1, XML_PRINT_TAIL = 2 };

constexpr uint32_t kWidestIndent = 16;      // for one level
constexpr size_t kWidestIndentation = 128;  // in all

// How to copy the parts of a node's name; without a prefix its length is 0.
struct NameParts {
  size_t prefixLength;
  size_t localLength;
  bool hasBytesBefore;

  explicit NameParts(const XmlNode *node)
      : prefixLength(prefixLengthOf(node)),
        localLength(nameLengthOf(node)),
        hasBytesBefore(hasBytesBeforeStrings(node)) {}
};

// Lenient printing of a tree or one of its halves.
struct HalfPrinting {
  const XmlNode *start;
  PrintMode mode;
  static constexpr size_t width = 0;
  static constexpr bool isExact = false;
};

// The usual mode as a constant, so that no node has to check it.
struct PlainPrinting {
  const XmlNode *start;
  static constexpr PrintMode mode = XML_PRINT_FULL;
  static constexpr size_t width = 0;
  static constexpr bool isExact = false;
};

// Exact printing: parsing gives the same tree. What XML cannot represent is refused.
struct ExactPrinting {
  const XmlNode *start;
  size_t width;  // spaces for each level
  static constexpr PrintMode mode = XML_PRINT_FULL;
  static constexpr bool isExact = true;
};

// Only exact printing has to watch the names of attributes.
struct NoNames {};

template <typename PrintingKind>
class Printer {
 public:
  Printer(const PrintingKind &printing, PrintedText &text) : printing_(printing), text_(text) {}

  [[gnu::flatten]] void print() {
    char *to = nullptr;
    for (const XmlNode *node = printing_.start; node != nullptr; node = successor(node)) {
      if (!xmlPrintDomTreeRecursive(node, &to)) {
        text_.refuse(NEB_XML_ERR_INVALID_PARAM);
        return;
      }
    }
    text_.end(to);
  }

 private:
  using Names = std::conditional_t<PrintingKind::isExact, AttributeNames, NoNames>;
  using ElementValue = std::conditional_t<PrintingKind::isExact, ExactElementValue, LenientValue>;
  using AttributeValue =
      std::conditional_t<PrintingKind::isExact, ExactAttributeValue, LenientValue>;

  // The start node counts as the top of a tree of its own.
  const XmlNode *parentOf(const XmlNode *node) const {
    return node == printing_.start ? nullptr : node->parent;
  }
  const XmlNode *nextOf(const XmlNode *node) const {
    return node == printing_.start ? nullptr : node->next;
  }

  const XmlNode *successor(const XmlNode *node) {
    if (node->firstChild != nullptr) {
      ++depth_;
      return node->firstChild;
    }
    for (; node != nullptr; node = parentOf(node)) {
      if (nextOf(node) != nullptr) return nextOf(node);
      --depth_;
    }
    return nullptr;
  }

  bool isLastChild(const XmlNode *node) const {
    const XmlNode *parent = parentOf(node);
    return parent != nullptr && parent->lastChild == node;
  }

  // Advances *place. False if something is refused.
  bool xmlPrintDomTreeRecursive(const XmlNode *node, char **place) {
    if (node->name == nullptr) return false;
    if (node->type != NEB_XML_NODE_ELEMENT && node->type != NEB_XML_NODE_DOCUMENT) {
      return !PrintingKind::isExact;
    }
    if (printing_.mode != XML_PRINT_TAIL && !writeOpening(node, place)) return false;
    if (printing_.mode != XML_PRINT_HEAD) *place = writeClosingAscent(node, *place);
    return true;
  }

  bool writeOpening(const XmlNode *node, char **place) {
    const NameParts parts(node);
    char *to = withRoomForTag(*place, parts, depth_);
    if (to != nullptr) to = writeTagBegin(to, node, parts);
    for (const XmlNode *attribute = node->firstAttr; attribute != nullptr;
         attribute = attribute->next) {
      if (attribute->name == nullptr) return false;
      to = writeAttribute(to, attribute);
    }
    if (node->firstChild != nullptr) {
      if (PrintingKind::isExact && !isBlank(node->value)) return false;
      to = writeTagEnd(to);
    } else if (hasText(node)) {
      to = writeValueAndEndTag(to, node, parts);
    } else {
      to = writeEmptyElementEnd(to, node);
    }
    *place = to;
    return true;
  }

  // The parser makes no value of an empty text.
  static bool hasText(const XmlNode *node) {
    return PrintingKind::isExact ? !isMissing(node->value) : node->value != nullptr;
  }

  // White space beside children is layout.
  static bool isBlank(const char *value) {
    return value == nullptr || value[std::strspn(value, " \t\n\r")] == '\0';
  }

  char *writeTagBegin(char *to, const XmlNode *node, const NameParts &parts) {
    char *name = writeLiteral(writeIndent(to, depth_), "<");
    char *end = writeName(name, node, parts);
    if constexpr (PrintingKind::isExact) {
      if (!isName(name, end)) return text_.refuse(NEB_XML_ERR_INVALID_PARAM);
      names_.beginTag(node);
    }
    return end;
  }

  char *writeAttribute(char *to, const XmlNode *attribute) {
    const NameParts parts(attribute);
    to = withRoomForTag(to, parts, 0);
    if (to == nullptr) return nullptr;
    char *name = writeLiteral(to, " ");
    to = writeName(name, attribute, parts);
    if constexpr (PrintingKind::isExact) {
      if (!isName(name, to)) return text_.refuse(NEB_XML_ERR_INVALID_PARAM);
      const uint32_t result = names_.add(attribute, name, to);
      if (result != NEB_XML_OK) return text_.refuse(result);
    }
    to = writeLiteral(to, "=\"");
    if (attribute->value != nullptr) to = writeValue<AttributeValue>(to, attribute);
    return to == nullptr ? nullptr : writeLiteral(to, "\"");
  }

  // Needs room for a short value. Leaves room for a little markup behind it.
  template <typename Value>
  char *writeValue(char *to, const XmlNode *node) {
    const size_t length = valueLengthOf(node);
    if (ShortString::isLengthOfOne(length) && hasBytesBeforeStrings(node)) {
      const ShortString value(node->value, length);
      const bool isPlain = countBeforeFound(Value::findEscaped(value.bytes())) == kVectorSize;
      if (isPlain) return value.copyTo(to, length);
    }
    return xmlCopyWithEscape<Value>(text_, to, node->value, length);
  }

  // Behind a name or a quote. The parser takes "-->" for markup everywhere.
  static char *writeTagClose(char *to) {
    const bool wouldMislead = PrintingKind::isExact && to[-1] == '-' && to[-2] == '-';
    return writeLiteral(wouldMislead ? writeLiteral(to, " ") : to, ">");
  }

  static char *writeTagEnd(char *to) {
    return to == nullptr ? nullptr : writeLiteral(writeTagClose(to), "\n");
  }

  char *writeValueAndEndTag(char *to, const XmlNode *node, const NameParts &parts) {
    if (to == nullptr) return nullptr;
    to = withRoomForTag(writeText(writeTagClose(to), node), parts, 0);
    return to == nullptr ? nullptr : writeEndTag(to, node, parts);
  }

  char *writeText(char *to, const XmlNode *node) {
    if (PrintingKind::isExact && mayBeWhitespace(*node->value)) {
      const size_t written = writeFirstBlank(&to, node->value);
      return xmlCopyWithEscape<ElementValue>(text_, to, node->value + written,
                                             valueLengthOf(node) - written);
    }
    return writeValue<ElementValue>(to, node);
  }

  // In an opening half a last child is left open.
  char *writeEmptyElementEnd(char *to, const XmlNode *node) {
    if (to == nullptr) return nullptr;
    const bool staysOpen = printing_.mode == XML_PRINT_HEAD && nextOf(node) == nullptr;
    if (!staysOpen) to = writeLiteral(to, "/");
    return writeLiteral(to, ">\n");
  }

  // After a childless last child: closes every ancestor that ends with it, up to the start node.
  // The closing half begins with the node itself, which the opening half may have left open.
  char *writeClosingAscent(const XmlNode *node, char *to) {
    if (node->firstChild != nullptr || !isLastChild(node)) return to;
    const bool beginsWithNode = printing_.mode == XML_PRINT_TAIL;
    const XmlNode *closed = beginsWithNode ? node : parentOf(node);
    size_t depth = beginsWithNode ? depth_ : depth_ - 1;
    for (;;) {
      const NameParts parts(closed);
      to = withRoomForTag(to, parts, depth);
      if (to != nullptr) to = writeEndTag(writeIndent(to, depth), closed, parts);
      if (!isLastChild(closed)) return to;
      closed = parentOf(closed);
      --depth;
    }
  }

  // Behind the name the slack is long enough for an attribute's short value with what stands around
  // it, the end of the tag, and a short text.
  static_assert(PrintedText::kSlack >= sizeof("<: =\"\">") + 3 * kVectorSize);
  char *withRoomForTag(char *to, const NameParts &parts, size_t depth) {
    return text_.withRoom(to, indentationOf(depth) + parts.prefixLength + parts.localLength);
  }

  // Unlimited, the indentation of deep elements would take quadratic room.
  size_t indentationOf(size_t depth) const {
    return std::min(depth * printing_.width, kWidestIndentation);
  }

  char *writeIndent(char *to, size_t depth) const {
    const size_t count = indentationOf(depth);
    if (count != 0) std::memset(to, ' ', count);
    return to + count;
  }

  static char *writeName(char *to, const XmlNode *node, const NameParts &parts) {
    if (node->prefix != nullptr) {
      to =
          writeLiteral(copyString(to, node->prefix, parts.prefixLength, parts.hasBytesBefore), ":");
    }
    return copyString(to, node->name, parts.localLength, parts.hasBytesBefore);
  }

  static char *writeEndTag(char *to, const XmlNode *node, const NameParts &parts) {
    return writeLiteral(writeTagClose(writeName(writeLiteral(to, "</"), node, parts)), "\n");
  }

  PrintingKind printing_;
  size_t depth_ = 0;  // of the current node, below start
  PrintedText &text_;
  [[no_unique_address]] Names names_;
};

// Sets *length to the length of the text. The text is null if it would be empty.
template <typename PrintingKind>
uint32_t printTree(const PrintingKind &printing, char **text, size_t *length) {
  PrintedText printed;
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
  return transform(PlainPrinting{start}, text);
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
  return printToFile(PlainPrinting{start}, path, neb::platform::writeWholeFile);
}

uint32_t NEB_XML_SaveFile(const XmlNode *start, const char *path, uint32_t width) {
  if (width > kWidestIndent) return NEB_XML_ERR_INVALID_PARAM;
  return printToFile(ExactPrinting{start, width}, path, neb::platform::replaceWholeFile);
}
