#include "documents/document.h"

#include <utility>

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

}  // namespace nebxml
