#include "documents/tree.h"

#include <new>

namespace nebxml {

Tree createElement(const char *prefix, const char *name, const char *value) {
  XmlNode *node = nullptr;
  if (NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, prefix, name, value, &node) != NEB_XML_OK) {
    throw std::bad_alloc();
  }
  return Tree(node);
}

}  // namespace nebxml
