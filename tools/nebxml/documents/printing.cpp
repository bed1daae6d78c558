#include "documents/printing.h"

#include <memory>

#include "documents/string_sink.h"
#include "terminal/command_error.h"

namespace nebxml {
namespace {

CommandError unwritable(const Document &document) {
  return {ExitStatus::notFound, document.fileName(),
          "cannot be written as XML, which does not allow one of its names or values"};
}

}  // namespace

std::string printTree(const Document &document, uint32_t indent) {
  std::string whole;
  for (const XmlNode *top : document.topLevelNodes()) {
    char *part = nullptr;
    const uint32_t result = NEB_XML_TransformIndented(top, indent, &part);
    const std::unique_ptr<char, decltype(&NEB_XML_FreeMem)> owner(part, &NEB_XML_FreeMem);
    if (result == NEB_XML_ERR_INVALID_PARAM) throw unwritable(document);
    if (result != NEB_XML_OK) throw noMemory(document.fileName());
    whole += part;
  }
  return whole;
}

std::string printElement(const Document &document, const XmlNode *element, uint32_t indent) {
  const NEB_XML_PRINT_OPTIONS options{sizeof options, NEB_XML_PRINT_NO_FINAL_LINE_END, indent};
  std::string text;
  const uint32_t result = NEB_XML_Print(element, &options, appendToString, &text);
  if (result == NEB_XML_ERR_UNWRITABLE) throw unwritable(document);
  if (result != NEB_XML_OK) throw noMemory(document.fileName());
  return text;
}

}  // namespace nebxml
