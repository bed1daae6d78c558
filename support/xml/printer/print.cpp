// Printing trees so that any parser reads them, through a function of the caller or into a file.
#include "neb_xml.h"
#include "platform/replaced_file.h"
#include "printer/entry.h"
#include "printer/printer.h"
#include "record/options.h"

namespace neb::xml::internal {

namespace {

// So that any parser reads the same tree, in a layout of choice.
struct StrictPrinting {
  using Target = SinkOutput;
  using ElementValue = StrictElementValue;
  using AttributeValue = StrictAttributeValue;
  static constexpr PrintMode mode = XML_PRINT_FULL;
  static constexpr bool isExact = true;
  static constexpr uint32_t kRefusal = NEB_XML_ERR_UNWRITABLE;

  char *writeBeginning(char *to) const {
    if (!hasDeclaration) return to;
    to = writeLiteral(to, "<?xml version=\"1.0\" encoding=\"");
    to = isAscii ? writeLiteral(to, "US-ASCII") : writeLiteral(to, "UTF-8");
    return writeLineEnd(writeLiteral(to, "\"?>"));
  }

  char *writeLineEnd(char *to) const { return writeLineEndIf(to, !isOneLine); }

  // The end of the last line, which has been written as any other, is an option of its own.
  char *endLastLine(char *to) const {
    if (to == nullptr) return nullptr;
    if (!isOneLine) to -= hasCarriageReturns ? 2 : 1;
    return writeLineEndIf(to, hasFinalLineEnd);
  }

  template <typename Value>
  char *copyValue(SinkOutput &output, char *to, const char *value, size_t length) const {
    return copyStrictly<Value>(output, to, value, length, isAscii);
  }

  // Most names are ASCII: then they need not be read by character.
  template <typename Name>
  bool allowsName(const Name &name, const char *begin, const char *end) const {
    return name.template isXmlName<AsciiCharacters>(begin, end) ||
           (!isAscii && isUnicodeName(begin, end));
  }

  const XmlNode *start = nullptr;
  size_t width = 0;        // for each level
  char indentation = ' ';  // of such characters
  bool hasDeclaration = false;
  bool hasCarriageReturns = false;
  bool isOneLine = false;
  bool hasEndTagsOfEmptyElements = false;
  bool hasFinalLineEnd = true;
  bool isAscii = false;

 private:
  char *writeLineEndIf(char *to, bool isWanted) const {
    if (!isWanted) return to;
    return hasCarriageReturns ? writeLiteral(to, "\r\n") : writeLiteral(to, "\n");
  }
};

constexpr uint32_t kPrintFlags = NEB_XML_PRINT_DECLARATION | NEB_XML_PRINT_ASCII |
                                 NEB_XML_PRINT_TABS | NEB_XML_PRINT_CRLF | NEB_XML_PRINT_ONE_LINE |
                                 NEB_XML_PRINT_END_TAGS | NEB_XML_PRINT_NO_FINAL_LINE_END;

// Options that contradict each other are a mistake.
bool areConsistent(const NEB_XML_PRINT_OPTIONS &options) {
  const auto has = [&](uint32_t flag) { return (options.flags & flag) != 0; };
  if ((options.flags & ~kPrintFlags) != 0 || options.indent > kWidestIndent) return false;
  if (has(NEB_XML_PRINT_TABS) && options.indent == 0) return false;
  return !has(NEB_XML_PRINT_ONE_LINE) || options.indent == 0;
}

bool makePrinting(const XmlNode *start, const NEB_XML_PRINT_OPTIONS *options,
                  StrictPrinting *printing) {
  NEB_XML_PRINT_OPTIONS taken;
  if (!isPrintable(start) || !takeOptions(options, &taken) || !areConsistent(taken)) return false;
  const auto has = [&](uint32_t flag) { return (taken.flags & flag) != 0; };
  printing->start = start;
  printing->width = taken.indent;
  printing->indentation = has(NEB_XML_PRINT_TABS) ? '\t' : ' ';
  printing->hasDeclaration = has(NEB_XML_PRINT_DECLARATION);
  printing->hasCarriageReturns = has(NEB_XML_PRINT_CRLF);
  printing->isOneLine = has(NEB_XML_PRINT_ONE_LINE);
  printing->hasEndTagsOfEmptyElements = has(NEB_XML_PRINT_END_TAGS);
  printing->hasFinalLineEnd = !has(NEB_XML_PRINT_NO_FINAL_LINE_END);
  printing->isAscii = has(NEB_XML_PRINT_ASCII);
  return true;
}

uint32_t print(const StrictPrinting &printing, NEB_XML_SINK sink, void *context) {
  SinkOutput output(sink, context);
  Printer(printing, output).print();
  return output.result();
}

struct Saving {
  StrictPrinting printing;
  uint32_t result = NEB_XML_OK;
};

uint32_t writeToFile(void *context, const char *bytes, size_t length) {
  const auto &file = *static_cast<const platform::NewFile *>(context);
  return file.write(bytes, length) ? NEB_XML_OK : NEB_XML_ERR_FILE_WRITE;
}

bool printInto(platform::NewFile file, void *context) {
  auto &saving = *static_cast<Saving *>(context);
  saving.result = print(saving.printing, writeToFile, &file);
  return saving.result == NEB_XML_OK;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_Print(const XmlNode *node, const NEB_XML_PRINT_OPTIONS *options, NEB_XML_SINK sink,
                       void *context) {
  StrictPrinting printing;
  if (sink == nullptr || !makePrinting(node, options, &printing)) return NEB_XML_ERR_INVALID_PARAM;
  return print(printing, sink, context);
}

uint32_t NEB_XML_Save(const XmlNode *node, const char *path, const NEB_XML_PRINT_OPTIONS *options) {
  Saving saving;
  if (path == nullptr || !makePrinting(node, options, &saving.printing)) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  const neb::platform::WriteOutcome outcome = neb::platform::replaceFile(path, printInto, &saving);
  return saving.result != NEB_XML_OK ? saving.result : resultOf(outcome);
}
