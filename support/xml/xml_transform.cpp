// Printing trees as text.
#include <array>
#include <cstring>
#include <initializer_list>

#include "neb_xml.h"
#include "platform/bounded_memory.h"
#include "platform/output_file.h"
#include "platform/replaced_file.h"
#include "xml_node.h"
#include "xml_transform_text.h"

namespace {

enum PrintMode { XML_PRINT_FULL = 0, XML_PRINT_HEAD = 1, XML_PRINT_TAIL = 2 };

constexpr uint32_t kWidestIndent = 16;
constexpr uint32_t kLargestCharacter = 0x10FFFF;
constexpr char kAmpersand[] = "&amp;";
constexpr const char *kNamedReferences[] = {"&lt;", "&gt;", "&amp;", "&apos;", "&quot;"};

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
  for (const char *reference : kNamedReferences) {
    if (std::strncmp(text, reference, std::strlen(reference)) == 0) return true;
  }
  return isNumericReference(text);
}

void writeEscaped(PrintedText &text, const char *character) {
  switch (*character) {
    case '"':
      return text.writeLiteral("&quot;");
    case '\'':
      return text.writeLiteral("&apos;");
    case '<':
      return text.writeLiteral("&lt;");
    case '>':
      return text.writeLiteral("&gt;");
    default:
      return text.write(kAmpersand, beginsReference(character) ? 1 : sizeof kAmpersand - 1);
  }
}

using RunEnds = std::array<bool, 256>;

constexpr RunEnds makeRunEnds(std::initializer_list<char> characters) {
  RunEnds ends = {};
  for (const char end : characters) ends[static_cast<uint8_t>(end)] = true;
  return ends;
}

constexpr RunEnds kNameEnds = makeRunEnds({'\0'});
constexpr RunEnds kOrdinaryEnds = makeRunEnds({'\0', '"', '\'', '<', '>', '&'});

// Runs of ordinary characters are written as they stand.
void xmlCopyWithEscape(PrintedText &text, const char *value) {
  for (;;) {
    value = text.writeRun(value, kOrdinaryEnds.data());
    if (*value == '\0') return;
    writeEscaped(text, value);
    ++value;
  }
}

// What to print, and how.
struct Printing {
  const XmlNode *start;
  PrintMode mode;
  uint32_t width;  // spaces for each level
};

class Printer {
 public:
  Printer(const Printing &printing, PrintedText &text)
      : start_(printing.start), mode_(printing.mode), width_(printing.width), text_(text) {}

  // False when a node without a name is met.
  bool print() {
    for (const XmlNode *node = start_; node != nullptr; node = successor(node)) {
      if (!xmlPrintDomTreeRecursive(node)) return false;
    }
    return true;
  }

 private:
  // The start node counts as the top of a tree of its own.
  const XmlNode *parentOf(const XmlNode *node) const {
    return node == start_ ? nullptr : node->parent;
  }
  const XmlNode *nextOf(const XmlNode *node) const { return node == start_ ? nullptr : node->next; }

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

  void indent(size_t depth) {
    if (width_ != 0) text_.writeSpaces(depth * width_);
  }

  bool isLastChild(const XmlNode *node) const {
    const XmlNode *parent = parentOf(node);
    return parent != nullptr && parent->lastChild == node;
  }

  bool xmlPrintDomTreeRecursive(const XmlNode *node) {
    if (node->name == nullptr) return false;
    if (node->type != NEB_XML_NODE_ELEMENT && node->type != NEB_XML_NODE_DOCUMENT) return true;
    if (mode_ != XML_PRINT_TAIL && !writeOpening(node)) return false;
    if (mode_ != XML_PRINT_HEAD) writeClosingAscent(node);
    return true;
  }

  bool writeOpening(const XmlNode *node) {
    indent(depth_);
    text_.writeLiteral("<");
    writeName(node);
    if (!writeAttributes(node)) return false;
    if (node->firstChild != nullptr) {
      text_.writeLiteral(">\n");
    } else if (node->value != nullptr) {
      text_.writeLiteral(">");
      xmlCopyWithEscape(text_, node->value);
      text_.writeLiteral("</");
      writeName(node);
      text_.writeLiteral(">\n");
    } else {
      writeEmptyElementEnd(node);
    }
    return true;
  }

  // In an opening half a last child is left open.
  void writeEmptyElementEnd(const XmlNode *node) {
    const bool staysOpen = mode_ == XML_PRINT_HEAD && nextOf(node) == nullptr;
    if (!staysOpen) text_.writeLiteral("/");
    text_.writeLiteral(">\n");
  }

  bool writeAttributes(const XmlNode *node) {
    for (const XmlNode *attribute = node->firstAttr; attribute != nullptr;
         attribute = attribute->next) {
      if (attribute->name == nullptr) return false;
      text_.writeLiteral(" ");
      writeName(attribute);
      text_.writeLiteral("=\"");
      if (attribute->value != nullptr) xmlCopyWithEscape(text_, attribute->value);
      text_.writeLiteral("\"");
    }
    return true;
  }

  // After a childless last child: closes every ancestor that ends with it, up to the start node.
  // The closing half begins with the node itself, which the opening half may have left open.
  void writeClosingAscent(const XmlNode *node) {
    if (node->firstChild != nullptr || !isLastChild(node)) return;
    const bool beginsWithNode = mode_ == XML_PRINT_TAIL;
    const XmlNode *closed = beginsWithNode ? node : parentOf(node);
    size_t depth = beginsWithNode ? depth_ : depth_ - 1;
    const bool isIndented = !isBlankLeaf(node);
    for (;;) {
      if (isIndented) indent(depth);
      text_.writeLiteral("</");
      writeName(closed);
      text_.writeLiteral(">\n");
      if (!isLastChild(closed)) return;
      closed = parentOf(closed);
      --depth;
    }
  }

  // Reading takes the white space behind an element with a blank text for the values of the
  // elements that end there: nothing may be added to it.
  static bool isBlankLeaf(const XmlNode *node) {
    return node->value != nullptr && node->value[std::strspn(node->value, " \t\n\r")] == '\0';
  }

  void writeName(const XmlNode *node) {
    if (node->prefix != nullptr) {
      text_.writeRun(node->prefix, kNameEnds.data());
      text_.writeLiteral(":");
    }
    text_.writeRun(node->name, kNameEnds.data());
  }

  const XmlNode *start_;
  PrintMode mode_;
  uint32_t width_;
  size_t depth_ = 0;  // of the node at hand, below start
  PrintedText &text_;
};

// The length of the text is left in *length. The text is null when it would be empty.
uint32_t printTree(const Printing &printing, char **text, size_t *length) {
  PrintedText printed;
  if (!Printer(printing, printed).print()) return NEB_XML_ERR_INVALID_PARAM;
  *text = nullptr;
  *length = printed.length();
  if (printed.isEmpty()) return NEB_XML_OK;
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
