#include "documents/printing.h"

#include <memory>

#include "command_error.h"

namespace nebxml {
std::string printTree(const Document &document, uint32_t indent) {
  std::string whole;
  for (const XmlNode *top : document.topLevelNodes()) {
    char *part = nullptr;
    const uint32_t result = NEB_XML_TransformIndented(top, indent, &part);
    const std::unique_ptr<char, decltype(&NEB_XML_FreeMem)> owner(part, &NEB_XML_FreeMem);
    if (result == NEB_XML_ERR_INVALID_PARAM) {
      throw CommandError(
          ExitStatus::notFound, document.fileName(),
          "cannot be written as XML, which does not allow one of its names or values");
    }
    if (result != NEB_XML_OK) throw noMemory(document.fileName());
    whole += part;
  }
  return whole;
}

}  // namespace nebxml
