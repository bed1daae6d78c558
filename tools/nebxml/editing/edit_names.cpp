#include "editing/edit_names.h"

#include "documents/node_reading.h"

namespace nebxml {
namespace {

bool canEncodeName(const Encoding &encoding, const XmlNode *node) {
  const NodeStrings strings = nodeStrings(node);
  return encoding.canEncode(strings.prefix) && encoding.canEncode(strings.name);
}

bool canEncodeSubtree(const Encoding &encoding, const XmlNode *root) {
  size_t depth = 0;
  for (const XmlNode *node = root; node != nullptr; node = nextInSubtree(node, root, depth)) {
    if (!canEncodeName(encoding, node)) return false;
    for (const XmlNode *attribute : attributesAt(node)) {
      if (!canEncodeName(encoding, attribute)) return false;
    }
  }
  return true;
}

}  // namespace

bool canEncodeNames(const Encoding &encoding, const NEB_XML_EDIT &edit) {
  if (edit.content != nullptr) return canEncodeSubtree(encoding, edit.content);
  return encoding.canEncode(edit.prefix == nullptr ? "" : edit.prefix) &&
         encoding.canEncode(edit.name == nullptr ? "" : edit.name);
}

}  // namespace nebxml
