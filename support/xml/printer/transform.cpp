// Printing trees into memory, and from there into files.
#include "neb_xml.h"
#include "platform/output_file.h"
#include "platform/replaced_file.h"
#include "printer/entry.h"
#include "printer/printer.h"

namespace neb::xml::internal {

namespace {

// What all kinds but the strict one have in common.
struct MemoryPrinting {
  using Target = Output;
  static constexpr uint32_t kRefusal = NEB_XML_ERR_INVALID_PARAM;
  static constexpr char indentation = ' ';
  static constexpr bool hasEndTagsOfEmptyElements = false;

  static char *writeBeginning(char *to) { return to; }
  static char *writeLineEnd(char *to) { return writeLiteral(to, "\n"); }
  static char *endLastLine(char *to) { return to; }

  template <typename Value>
  static char *copyValue(Output &output, char *to, const char *value, size_t length) {
    return xmlCopyWithEscape<Value>(output, to, value, length);
  }
};

// A tree or one of its halves, in the lenient way.
struct HalfPrinting : MemoryPrinting {
  HalfPrinting(const XmlNode *node, PrintMode half) : start(node), mode(half) {}

  using ElementValue = LenientValue;
  using AttributeValue = LenientValue;
  static constexpr size_t width = 0;
  static constexpr bool isExact = false;

  const XmlNode *start;
  PrintMode mode;
};

// A whole tree in the lenient way. A type of its own, so that no node has to look at the mode.
struct LenientPrinting : MemoryPrinting {
  explicit LenientPrinting(const XmlNode *node) : start(node) {}

  using ElementValue = LenientValue;
  using AttributeValue = LenientValue;
  static constexpr PrintMode mode = XML_PRINT_FULL;
  static constexpr size_t width = 0;
  static constexpr bool isExact = false;

  const XmlNode *start;
};

// So that parsing builds the same tree. What no document can hold is refused.
struct ExactPrinting : MemoryPrinting {
  ExactPrinting(const XmlNode *node, size_t spaces) : start(node), width(spaces) {}

  using ElementValue = ExactElementValue;
  using AttributeValue = ExactAttributeValue;
  static constexpr PrintMode mode = XML_PRINT_FULL;
  static constexpr bool isExact = true;

  template <typename Name>
  static bool allowsName(const Name &name, const char *begin, const char *end) {
    return name.template isXmlName<AnyCharacters>(begin, end);
  }

  const XmlNode *start;
  size_t width;  // spaces for each level
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

template <typename PrintingKind>
uint32_t transform(const PrintingKind &printing, char **text) {
  if (!isPrintable(printing.start) || text == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  char *printed = nullptr;
  size_t length = 0;
  const uint32_t result = printTree(printing, &printed, &length);
  if (result == NEB_XML_OK) *text = printed;
  return result;
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
  return transform(LenientPrinting(start), text);
}

uint32_t NEB_XML_TransformHead(const XmlNode *start, char **text) {
  return transform(HalfPrinting(start, XML_PRINT_HEAD), text);
}

uint32_t NEB_XML_TransformTail(const XmlNode *start, char **text) {
  return transform(HalfPrinting(start, XML_PRINT_TAIL), text);
}

uint32_t NEB_XML_TransformIndented(const XmlNode *start, uint32_t width, char **text) {
  if (width > kWidestIndent) return NEB_XML_ERR_INVALID_PARAM;
  return transform(ExactPrinting(start, width), text);
}

uint32_t NEB_XML_TransformFile(const XmlNode *start, const char *path) {
  return printToFile(LenientPrinting(start), path, neb::platform::writeWholeFile);
}

uint32_t NEB_XML_SaveFile(const XmlNode *start, const char *path, uint32_t width) {
  if (width > kWidestIndent) return NEB_XML_ERR_INVALID_PARAM;
  return printToFile(ExactPrinting(start, width), path, neb::platform::replaceWholeFile);
}
