#include "document.h"

#include <utility>

#include "command_error.h"
#include "file_output.h"
#include "loading.h"
#include "node_reading.h"

namespace nebxml {
namespace {

constexpr char ampersand = '&';
constexpr std::string_view declaration = "<?xml version=\"1.0\"?>\n";

CommandError noMemory(const std::string &fileName) {
  return {ExitStatus::fileTrouble, fileName, "does not fit into memory"};
}

/**
 * The printer leaves an ampersand alone that begins a reference. Where it stands for itself it is
 * made a reference here, so that the value reads back as it was. The storage is taken from the
 * root: to look for it from each node would cost the depth of each.
 */
void protectAmpersands(XmlNode *root, XmlNode *node, const std::string &fileName) {
  const std::string_view value = nodeStrings(node).value;
  if (value.find(ampersand) == std::string_view::npos) {
    return;
  }
  std::string written;
  for (const char character : value) {
    written.append(1, character).append(character == ampersand ? "amp;" : "");
  }
  if (XML_SetNode(root, node, nullptr, nullptr, written.c_str()) != NEB_XML_OK) {
    throw noMemory(fileName);
  }
}

}  // namespace

Document::Document(std::string fileName)
    : fileName_(std::move(fileName)), root_(loadDocument(fileName_)), topLevelNodes_{root_.get()} {
  // A document with siblings is the topmost node of nothing, and no attribute could be added in
  // it. The further top-level elements are therefore taken out of the chain and kept beside it.
  while (XmlNode *further = NEB_XML_GetNodeNextSibling(root())) {
    topLevelNodes_.push_back(further);
    NEB_XML_RemoveNode(further);
  }
}

XmlNode *Document::find(const std::string &path) const {
  XmlNode *node = nullptr;
  switch (NEB_XML_GetNodeByUrl(root(), path.c_str(), &node)) {
    case NEB_XML_OK:
      return node;
    case NEB_XML_ERR_NOT_FOUND:
      throw CommandError(ExitStatus::notFound, fileName_, "no node at path '" + path + "'");
    default:
      throw CommandError(ExitStatus::wrongUsage, fileName_, "malformed path '" + path + "'");
  }
}

void Document::protectTree(XmlNode *top) {
  std::size_t depth = 0;
  for (XmlNode *node = top; node != nullptr; node = nextInSubtree(node, top, depth)) {
    protectAmpersands(root(), node, fileName_);
    XmlNode *attribute = nullptr;
    while ((attribute = nextAttribute(node, attribute)) != nullptr) {
      protectAmpersands(root(), attribute, fileName_);
    }
  }
}

std::string Document::print(const Destination &destination) {
  std::string whole(destination.hasDeclaration ? declaration : "");
  for (XmlNode *top : topLevelNodes_) {
    protectTree(top);
    char *part = nullptr;
    if (NEB_XML_TransformIndented(top, destination.indent, &part) != NEB_XML_OK) {
      throw noMemory(fileName_);
    }
    const std::unique_ptr<char, decltype(&NEB_XML_FreeMem)> owner(part, &NEB_XML_FreeMem);
    whole += part;
  }
  return whole;
}

void Document::saveInPlace(std::uint32_t indent) {
  if (topLevelNodes_.size() > 1) {
    throw CommandError(ExitStatus::notFound, fileName_,
                       "several top-level elements cannot be written in place; use -o");
  }
  protectTree(root());
  replaceFile(fileName_, root(), indent);
}

void Document::save(const Destination &destination) && {
  if (destination.inPlace) {
    saveInPlace(destination.indent);
  } else if (destination.fileName == standardStream) {
    writeStandardOutput(print(destination));
  } else {
    writeFile(destination.fileName, print(destination));
  }
}

}  // namespace nebxml
