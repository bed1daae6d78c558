// Printing trees as text.
#include <algorithm>
#include <cstring>

#include "neb_xml.h"
#include "platform/bounded_memory.h"
#include "platform/output_file.h"
#include "platform/replaced_file.h"
#include "xml_node_strings.h"
#include "xml_references.h"
#include "xml_transform_text.h"
#include "xml_vector.h"

namespace {

enum PrintMode { XML_PRINT_FULL = 0, XML_PRINT_HEAD = 1, XML_PRINT_TAIL = 2 };

constexpr uint32_t kWidestIndent = 16;
constexpr uint32_t kLargestCharacter = 0x10FFFF;
constexpr size_t kSlice = 4096;
constexpr char kAmpersand[] = "&amp;";

// The value of a digit in base 10 or 16; the base itself for any other character.
uint32_t digitValue(char digit, uint32_t base) {
  uint32_t value = base;
  if (digit >= '0' && digit <= '9') value = static_cast<uint32_t>(digit - '0');
  if (digit >= 'a' && digit <= 'f') value = static_cast<uint32_t>(digit - 'a') + 10;
  if (digit >= 'A' && digit <= 'F') value = static_cast<uint32_t>(digit - 'A') + 10;
  return value < base ? value : base;
}

// Digits, or none, up to a semicolon, of a value that is no larger than the largest character.
bool endsAsNumericReference(const char *digits, uint32_t base) {
  uint32_t value = 0;
  for (; *digits != ';'; ++digits) {
    const uint32_t digit = digitValue(*digits, base);
    if (digit == base) return false;
    value = value * base + digit;
    if (value > kLargestCharacter) return false;
  }
  return true;
}

bool isNumericReference(const char *text) {
  if (text[1] != '#') return false;
  return text[2] == 'x' ? endsAsNumericReference(text + 3, 16)
                        : endsAsNumericReference(text + 2, 10);
}

// The text begins with an ampersand: whether that begins a well-formed reference.
bool beginsReference(const char *text) {
  return namedReferenceAt(text) != nullptr || isNumericReference(text);
}

char *writeLiteral(char *to, const char *literal, size_t length) {
  std::memcpy(to, literal, length);
  return to + length;
}

template <size_t size>
char *writeLiteral(char *to, const char (&literal)[size]) {
  return writeLiteral(to, literal, size - 1);
}

char *writeEscaped(char *to, const char *character) {
  switch (*character) {
    case '"':
      return writeLiteral(to, "&quot;");
    case '\'':
      return writeLiteral(to, "&apos;");
    case '<':
      return writeLiteral(to, "&lt;");
    case '>':
      return writeLiteral(to, "&gt;");
    default:
      return writeLiteral(to, kAmpersand, beginsReference(character) ? 1 : sizeof kAmpersand - 1);
  }
}

// The five characters that are escaped. '"' and '&' are one bit apart, and so are '<' and '>'.
Vector findEscaped(Vector bytes) {
  constexpr uint8_t kQuoteOrAmpersand = '"' ^ '&';
  constexpr uint8_t kLessOrGreater = '<' ^ '>';
  return ((bytes | kQuoteOrAmpersand) == ('"' | '&')) | ((bytes | kLessOrGreater) == ('<' | '>')) |
         (bytes == '\'');
}

// Copies up to the first character to escape or the end; the place is moved along.
const char *writeRun(char **place, const char *from, const char *end) {
  char *to = *place;
  size_t left = static_cast<size_t>(end - from);
  while (left >= kVectorSize) {
    const Vector bytes = loadVector(from);
    storeVector(to, bytes);
    const size_t plain = countBeforeFound(findEscaped(bytes));
    if (plain < kVectorSize) {
      *place = to + plain;
      return from + plain;
    }
    from += kVectorSize;
    to += kVectorSize;
    left -= kVectorSize;
  }
  const Vector bytes = loadFirst(from, left);
  storeVector(to, bytes);
  const size_t plain = std::min(countBeforeFound(findEscaped(bytes)), left);
  *place = to + plain;
  return from + plain;
}

// In slices: room for the rest of a long value, asked for again behind each character that becomes
// longer, would be as much memory as there are such characters times the rest.
[[gnu::noinline]] char *xmlCopyWithEscape(PrintedText &text, char *to, const char *value,
                                          size_t length) {
  const char *end = value + length;
  do {
    const char *sliceEnd = value + std::min(static_cast<size_t>(end - value), kSlice);
    to = text.withRoom(to, static_cast<size_t>(sliceEnd - value));
    while (to != nullptr) {
      value = writeRun(&to, value, sliceEnd);
      if (value == sliceEnd) break;
      to = writeEscaped(to, value);
      ++value;
      to = text.withRoom(to, static_cast<size_t>(sliceEnd - value));
    }
  } while (to != nullptr && value != end);
  return to;
}

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

// What to print, and how.
struct Printing {
  const XmlNode *start;
  PrintMode mode;
  uint32_t width;  // spaces for each level
};

// The usual way, so that nothing has to be asked about it at each node.
struct PlainPrinting {
  const XmlNode *start;
  static constexpr PrintMode mode = XML_PRINT_FULL;
  static constexpr uint32_t width = 0;
};

template <typename PrintingKind>
class Printer {
 public:
  Printer(const PrintingKind &printing, PrintedText &text) : printing_(printing), text_(text) {}

  // False when a node without a name is met.
  [[gnu::flatten]] bool print() {
    char *to = nullptr;
    for (const XmlNode *node = printing_.start; node != nullptr; node = successor(node)) {
      if (!xmlPrintDomTreeRecursive(node, &to)) return false;
    }
    text_.end(to);
    return true;
  }

 private:
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

  // Moves *place along.
  bool xmlPrintDomTreeRecursive(const XmlNode *node, char **place) {
    if (node->name == nullptr) return false;
    if (node->type != NEB_XML_NODE_ELEMENT && node->type != NEB_XML_NODE_DOCUMENT) return true;
    if (printing_.mode != XML_PRINT_TAIL && !writeOpening(node, place)) return false;
    if (printing_.mode != XML_PRINT_HEAD) *place = writeClosingAscent(node, *place);
    return true;
  }

  bool writeOpening(const XmlNode *node, char **place) {
    const NameParts parts(node);
    char *to = withRoomForTag(*place, parts, depth_);
    if (to != nullptr) {
      to = writeIndent(to, depth_);
      to = writeName(writeLiteral(to, "<"), node, parts);
    }
    for (const XmlNode *attribute = node->firstAttr; attribute != nullptr;
         attribute = attribute->next) {
      if (attribute->name == nullptr) return false;
      to = writeAttribute(to, attribute);
    }
    if (node->firstChild != nullptr) {
      to = writeTagEnd(to);
    } else if (node->value != nullptr) {
      to = writeValueAndEndTag(to, node, parts);
    } else {
      to = writeEmptyElementEnd(to, node);
    }
    *place = to;
    return true;
  }

  char *writeAttribute(char *to, const XmlNode *attribute) {
    const NameParts parts(attribute);
    to = withRoomForTag(to, parts, 0);
    if (to == nullptr) return nullptr;
    to = writeLiteral(writeName(writeLiteral(to, " "), attribute, parts), "=\"");
    if (attribute->value != nullptr) to = writeValue(to, attribute);
    return to == nullptr ? nullptr : writeLiteral(to, "\"");
  }

  // Behind it there is room for a little markup. At the place there is room for a short value.
  char *writeValue(char *to, const XmlNode *node) {
    const size_t length = valueLengthOf(node);
    if (ShortString::isLengthOfOne(length) && hasBytesBeforeStrings(node)) {
      const ShortString value(node->value, length);
      const bool isPlain = countBeforeFound(findEscaped(value.bytes())) == kVectorSize;
      if (isPlain) return value.copyTo(to, length);
    }
    return xmlCopyWithEscape(text_, to, node->value, length);
  }

  static char *writeTagEnd(char *to) { return to == nullptr ? nullptr : writeLiteral(to, ">\n"); }

  char *writeValueAndEndTag(char *to, const XmlNode *node, const NameParts &parts) {
    if (to == nullptr) return nullptr;
    to = withRoomForTag(writeValue(writeLiteral(to, ">"), node), parts, 0);
    return to == nullptr ? nullptr : writeEndTag(to, node, parts);
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
    const bool isIndented = printing_.width != 0 && !isBlankLeaf(node);
    for (;;) {
      const NameParts parts(closed);
      to = withRoomForTag(to, parts, isIndented ? depth : 0);
      if (to != nullptr) to = writeEndTag(isIndented ? writeIndent(to, depth) : to, closed, parts);
      if (!isLastChild(closed)) return to;
      closed = parentOf(closed);
      --depth;
    }
  }

  // Reading takes the white space behind an element with a blank text for the values of the
  // elements that end there: nothing may be added to it.
  static bool isBlankLeaf(const XmlNode *node) {
    return node->value != nullptr && node->value[std::strspn(node->value, " \t\n\r")] == '\0';
  }

  // Behind the name the slack is long enough for an attribute's short value with what stands around
  // it, the end of the tag, and a short text.
  static_assert(PrintedText::kSlack >= sizeof("<: =\"\">") + 3 * kVectorSize);
  char *withRoomForTag(char *to, const NameParts &parts, size_t depth) {
    return text_.withRoom(to, depth * printing_.width + parts.prefixLength + parts.localLength);
  }

  char *writeIndent(char *to, size_t depth) const {
    const size_t count = depth * printing_.width;
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
    return writeLiteral(writeName(writeLiteral(to, "</"), node, parts), ">\n");
  }

  PrintingKind printing_;
  size_t depth_ = 0;  // of the node at hand, below start
  PrintedText &text_;
};

// The length of the text is left in *length. The text is null when it would be empty.
uint32_t printTree(const Printing &printing, char **text, size_t *length) {
  PrintedText printed;
  const bool isPlain =
      printing.mode == PlainPrinting::mode && printing.width == PlainPrinting::width;
  const bool isPrinted = isPlain ? Printer(PlainPrinting{printing.start}, printed).print()
                                 : Printer(printing, printed).print();
  // Nothing follows a node without a name: memory had run out before it was met.
  if (printed.hasFailed()) return NEB_XML_ERR_NO_MEMORY;
  if (!isPrinted) return NEB_XML_ERR_INVALID_PARAM;
  *text = nullptr;
  *length = printed.length();
  if (*length == 0) return NEB_XML_OK;
  *text = printed.handOut();
  return *text != nullptr ? NEB_XML_OK : NEB_XML_ERR_NO_MEMORY;
}

bool isPrintable(const XmlNode *start) { return start != nullptr && !isAttribute(start); }

uint32_t transform(const Printing &printing, char **text) {
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

uint32_t printToFile(const Printing &printing, const char *path, FileWriter writeFile) {
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

uint32_t NEB_XML_Transform(const XmlNode *start, char **text) {
  return transform({start, XML_PRINT_FULL, 0}, text);
}

uint32_t NEB_XML_TransformHead(const XmlNode *start, char **text) {
  return transform({start, XML_PRINT_HEAD, 0}, text);
}

uint32_t NEB_XML_TransformTail(const XmlNode *start, char **text) {
  return transform({start, XML_PRINT_TAIL, 0}, text);
}

uint32_t NEB_XML_TransformIndented(const XmlNode *start, uint32_t width, char **text) {
  if (width > kWidestIndent) return NEB_XML_ERR_INVALID_PARAM;
  return transform({start, XML_PRINT_FULL, width}, text);
}

uint32_t NEB_XML_TransformFile(const XmlNode *start, const char *path) {
  return printToFile({start, XML_PRINT_FULL, 0}, path, platform::writeWholeFile);
}

uint32_t NEB_XML_SaveFile(const XmlNode *start, const char *path, uint32_t width) {
  if (width > kWidestIndent) return NEB_XML_ERR_INVALID_PARAM;
  return printToFile({start, XML_PRINT_FULL, width}, path, platform::replaceWholeFile);
}
