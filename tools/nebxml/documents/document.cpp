#include "documents/document.h"

#include <utility>

#include "command_error.h"

namespace nebxml {

Document::Document(std::string fileName, const ReadingOptions &options)
    : fileName_(std::move(fileName)),
      reading_(options.language),
      root_(loadDocument(fileName_, options, bytes_, encoding_)),
      topLevelNodes_{root()} {
  // In a document with siblings, the library adds no attribute. So the further top-level
  // elements are detached and kept here.
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

}  // namespace nebxml
