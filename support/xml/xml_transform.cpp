// Printing trees as text.
#include <array>
#include <cstring>

#include "neb_xml.h"
#include "platform/bounded_memory.h"
#include "platform/output_file.h"
#include "platform/replaced_file.h"
#include "xml_node.h"

namespace {

enum PrintMode { XML_PRINT_FULL = 0, XML_PRINT_HEAD = 1, XML_PRINT_TAIL = 2 };

constexpr uint32_t kWidestIndent = 16;
constexpr uint32_t kLargestCharacter = 0x10FFFF;
constexpr char kAmpersand[] = "&amp;";
constexpr const char *kNamedReferences[] = {"&lt;", "&gt;", "&amp;", "&apos;", "&quot;"};

// A printer runs twice over a tree: once with a measure and once with a pen that writes into
// exactly the room measured.
class Measure {
 public:
  void write(const char * /*text*/, size_t count) { length_ += count; }
  void writeSpaces(size_t count) { length_ += count; }
  uint64_t length() const { return length_; }

 private:
  uint64_t length_ = 0;
};

class Pen {
 public:
  Pen(char *text, size_t room) : place_(text), room_(room) {}

  void write(const char *text, size_t count) {
    if (platform::memcpy_s(place_, room_, text, count) != 0) return;
    place_ += count;
    room_ -= count;
  }

  void writeSpaces(size_t count) {
    if (platform::memset_s(place_, room_, ' ', count) != 0) return;
    place_ += count;
    room_ -= count;
  }

 private:
  char *place_;
  size_t room_;
};

template <typename Sink, size_t size>
void writeLiteral(Sink &sink, const char (&literal)[size]) {
  sink.write(literal, size - 1);
}

template <typename Sink>
void writeText(Sink &sink, const char *text) {
  sink.write(text, std::strlen(text));
}

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

template <typename Sink>
void writeEscaped(Sink &sink, const char *character) {
  switch (*character) {
    case '"':
      return writeLiteral(sink, "&quot;");
    case '\'':
      return writeLiteral(sink, "&apos;");
    case '<':
      return writeLiteral(sink, "&lt;");
    case '>':
      return writeLiteral(sink, "&gt;");
    default:
      return sink.write(kAmpersand, beginsReference(character) ? 1 : sizeof kAmpersand - 1);
  }
}

constexpr std::array<bool, 256> makeRunEnds() {
  std::array<bool, 256> ends = {};
  for (const char end : {'\0', '"', '\'', '<', '>', '&'}) ends[static_cast<uint8_t>(end)] = true;
  return ends;
}

constexpr std::array<bool, 256> kRunEnds = makeRunEnds();

// Runs of ordinary characters are written whole.
template <typename Sink>
void xmlCopyWithEscape(Sink &sink, const char *text) {
  for (;;) {
    const char *run = text;
    while (!kRunEnds[static_cast<uint8_t>(*text)]) ++text;
    sink.write(run, static_cast<size_t>(text - run));
    if (*text == '\0') return;
    writeEscaped(sink, text);
    ++text;
  }
}

// What to print, and how.
struct Printing {
  const XmlNode *start;
  PrintMode mode;
  uint32_t width;  // spaces for each level
};

template <typename Sink>
class Printer {
 public:
  Printer(const Printing &printing, Sink &sink)
      : start_(printing.start), mode_(printing.mode), width_(printing.width), sink_(sink) {}

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
    if (width_ != 0) sink_.writeSpaces(depth * width_);
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
    writeLiteral(sink_, "<");
    writeName(node);
    if (!writeAttributes(node)) return false;
    if (node->firstChild != nullptr) {
      writeLiteral(sink_, ">\n");
    } else if (node->value != nullptr) {
      writeLiteral(sink_, ">");
      xmlCopyWithEscape(sink_, node->value);
      writeLiteral(sink_, "</");
      writeName(node);
      writeLiteral(sink_, ">\n");
    } else {
      writeEmptyElementEnd(node);
    }
    return true;
  }

  // In an opening half a last child is left open.
  void writeEmptyElementEnd(const XmlNode *node) {
    const bool staysOpen = mode_ == XML_PRINT_HEAD && nextOf(node) == nullptr;
    if (!staysOpen) writeLiteral(sink_, "/");
    writeLiteral(sink_, ">\n");
  }

  bool writeAttributes(const XmlNode *node) {
    for (const XmlNode *attribute = node->firstAttr; attribute != nullptr;
         attribute = attribute->next) {
      if (attribute->name == nullptr) return false;
      writeLiteral(sink_, " ");
      writeName(attribute);
      writeLiteral(sink_, "=\"");
      if (attribute->value != nullptr) xmlCopyWithEscape(sink_, attribute->value);
      writeLiteral(sink_, "\"");
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
      writeLiteral(sink_, "</");
      writeName(closed);
      writeLiteral(sink_, ">\n");
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
      writeText(sink_, node->prefix);
      writeLiteral(sink_, ":");
    }
    writeText(sink_, node->name);
  }

  const XmlNode *start_;
  PrintMode mode_;
  uint32_t width_;
  size_t depth_ = 0;  // of the node at hand, below start
  Sink &sink_;
};

// The length of the text is left in *length. The text is null when it would be empty.
uint32_t printTree(const Printing &printing, char **text, size_t *length) {
  Measure measure;
  if (!Printer<Measure>(printing, measure).print()) return NEB_XML_ERR_INVALID_PARAM;
  if (measure.length() > UINT32_MAX) return NEB_XML_ERR_NO_MEMORY;
  *length = measure.length();
  *text = nullptr;
  if (*length == 0) return NEB_XML_OK;
  auto *printed = static_cast<char *>(g_fnXMLMalloc(*length + 1));
  if (printed == nullptr) return NEB_XML_ERR_NO_MEMORY;
  Pen pen(printed, *length);
  Printer<Pen>(printing, pen).print();
  printed[*length] = '\0';
  *text = printed;
  return NEB_XML_OK;
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
