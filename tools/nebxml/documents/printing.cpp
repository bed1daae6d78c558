#include "documents/printing.h"

#include <memory>

#include "command_error.h"

namespace nebxml {
namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\"?>\n";

}  // namespace

std::string printTree(const Document &document, const Layout &layout) {
  std::string whole(layout.hasDeclaration ? kDeclaration : "");
  for (const XmlNode *top : document.topLevelNodes()) {
    char *part = nullptr;
    const uint32_t result = NEB_XML_TransformIndented(top, layout.indent, &part);
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
