#include "saving.h"

#include <memory>

#include "command_error.h"
#include "file_output.h"
#include "loading.h"
#include "node_path.h"
#include "tree_difference.h"
#include "unwritable.h"

namespace nebxml {
namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\"?>\n";

CommandError refusal(const Document &document, const std::string &cause) {
  return {ExitStatus::notFound, document.fileName(), "cannot be written as XML: " + cause};
}

std::string print(const Document &document, const Destination &destination) {
  std::string whole(destination.hasDeclaration ? kDeclaration : "");
  for (const XmlNode *top : document.topLevelNodes()) {
    char *part = nullptr;
    const uint32_t result = NEB_XML_TransformIndented(top, destination.indent, &part);
    const std::unique_ptr<char, decltype(&NEB_XML_FreeMem)> owner(part, &NEB_XML_FreeMem);
    if (result == NEB_XML_ERR_INVALID_PARAM) throw refusal(document, firstUnwritable(document));
    if (result != NEB_XML_OK) throw noMemory(document.fileName());
    whole += part;
  }
  return whole;
}

XmlNode *parseAgain(const Document &document, std::string_view text) {
  XmlNode *root = nullptr;
  NEB_XML_PARSE_ERROR error{};
  switch (NEB_XML_ParseBuffer(text.data(), text.size(), NEB_XML_PARSE_SESSION, &root, &error)) {
    case NEB_XML_OK:
      return root;
    case NEB_XML_ERR_NO_MEMORY:
      throw noMemory(document.fileName());
    default:
      throw refusal(document, error.reason);
  }
}

void requireSameTree(const Document &document, std::string_view text) {
  const Document again(document.fileName(), parseAgain(document, text));
  const auto found = firstDifference(document.topLevelNodes(), again.topLevelNodes());
  if (found && found->first == nullptr) {
    throw refusal(document, found->difference.kind + " differs when read back");
  }
  if (found) {
    throw refusal(document, found->difference.kind + " differs when read back at path '" +
                                pathOf(document.topLevelNodes(), found->first) + "'");
  }
}

// Refuses a document that would lose more than layout if it replaced its file.
void requireReplaceable(const Document &document) {
  if (document.topLevelNodes().size() > 1) {
    throw CommandError(ExitStatus::notFound, document.fileName(),
                       "several top-level elements cannot be written in place; use -o");
  }
  if (continuesAfterNul(document.fileName())) {
    throw CommandError(ExitStatus::notFound, document.fileName(),
                       "what stands behind a NUL byte cannot be written in place; use -o");
  }
}

}  // namespace

void save(const Document &document, const Destination &destination) {
  if (destination.inPlace) requireReplaceable(document);
  const std::string text = print(document, destination);
  requireSameTree(document, text);
  if (destination.inPlace) {
    replaceFile(document.fileName(), document.root(), destination.indent);
  } else if (destination.fileName == kStandardStream) {
    writeStandardOutput(text);
  } else {
    writeFile(destination.fileName, text);
  }
}

}  // namespace nebxml
