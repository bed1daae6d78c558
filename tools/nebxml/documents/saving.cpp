#include "documents/saving.h"

#include <memory>
#include <new>
#include <utility>

#include "command_error.h"
#include "documents/edit_names.h"
#include "file_output.h"

namespace nebxml {
namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\"?>\n";

// What lenient reading leaves out of the tree would be lost with its file.
void requireWholeTree(const Document &document) {
  if (document.topLevelNodes().size() > 1) {
    throw CommandError(ExitStatus::notFound, document.fileName(),
                       "several top-level elements cannot be written in place; use -o");
  }
  if (document.bytes().find('\0') != std::string::npos) {
    throw CommandError(ExitStatus::notFound, document.fileName(),
                       "what stands behind a NUL byte cannot be written in place; use -o");
  }
}

std::string print(const Document &document, const Destination &destination) {
  std::string whole(destination.hasDeclaration ? kDeclaration : "");
  for (const XmlNode *top : document.topLevelNodes()) {
    char *part = nullptr;
    const uint32_t result = NEB_XML_TransformIndented(top, destination.indent, &part);
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

void write(const Document &document, std::string text, const Destination &destination) {
  const std::string bytes =
      document.encoding().encode(document.fileName(), document.bytes(), std::move(text));
  if (destination.inPlace) {
    replaceFile(document.fileName(), bytes);
  } else if (destination.fileName == kStandardStream) {
    writeStandardOutput(bytes);
  } else {
    writeFile(destination.fileName, bytes);
  }
}

uint32_t setAttribute(XmlNode *element, const NEB_XML_EDIT &edit) {
  const uint32_t result = NEB_XML_SetAttr(element, edit.prefix, edit.name, edit.value);
  return result == NEB_XML_ERR_NOT_FOUND
             ? NEB_XML_AddAttr(element, edit.prefix, edit.name, edit.value)
             : result;
}

uint32_t appendCopy(XmlNode *parent, const XmlNode *node) {
  XmlNode *copy = nullptr;
  const uint32_t result = NEB_XML_ImportNode(parent, node, &copy);
  return result == NEB_XML_OK ? NEB_XML_AppendChildNode(parent, copy) : result;
}

// The edits of the commands, made in the tree.
uint32_t editTree(XmlNode *node, const NEB_XML_EDIT &edit) {
  switch (edit.kind) {
    case NEB_XML_EDIT_SET_VALUE:
      return NEB_XML_SetNode(node, nullptr, nullptr, edit.value);
    case NEB_XML_EDIT_SET_ATTR:
      return setAttribute(node, edit);
    case NEB_XML_EDIT_REMOVE_ATTR:
      return NEB_XML_RemoveAttr(node, edit.prefix, edit.name);
    case NEB_XML_EDIT_REMOVE:
      return NEB_XML_RemoveNode(node);
    default:
      return appendCopy(node, edit.content);
  }
}

uint32_t appendPart(void *text, const char *bytes, size_t length) noexcept try {
  static_cast<std::string *>(text)->append(bytes, length);
  return NEB_XML_OK;
} catch (const std::bad_alloc &) {
  return NEB_XML_ERR_NO_MEMORY;
}

}  // namespace

void save(const Document &document, const Destination &destination) {
  if (destination.inPlace) requireWholeTree(document);
  write(document, print(document, destination), destination);
}

uint32_t saveEdited(const Document &document, XmlNode *node, NEB_XML_EDIT edit,
                    const Destination &destination) {
  if (!canEncodeNames(document.encoding(), edit)) return NEB_XML_ERR_UNWRITABLE;
  if (document.reading() == Reading::lenient) {
    const uint32_t result = editTree(node, edit);
    if (result == NEB_XML_OK) save(document, destination);
    return result;
  }
  edit.node = node;
  std::string text;
  const std::string &bytes = document.bytes();
  const uint32_t result =
      NEB_XML_EditBytes(bytes.data(), bytes.size(), &edit, 1, appendPart, &text);
  if (result == NEB_XML_OK) write(document, std::move(text), destination);
  return result;
}

}  // namespace nebxml
