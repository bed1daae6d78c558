#include "editing/tree_edits.h"

#include "documents/node_reading.h"

namespace nebxml {
namespace {

// The tree belongs to the document that is edited; an edit names its nodes read-only.
XmlNode *writable(const XmlNode *node) { return const_cast<XmlNode *>(node); }

uint32_t insertAt(uint32_t kind, XmlNode *node, XmlNode *copy) {
  switch (kind) {
    case NEB_XML_EDIT_INSERT_FIRST:
      return NEB_XML_AddFirstChildNode(node, copy);
    case NEB_XML_EDIT_INSERT_LAST:
      return NEB_XML_AppendChildNode(node, copy);
    case NEB_XML_EDIT_INSERT_BEFORE:
      return NEB_XML_AddPrevSiblingNode(node, copy);
    default:
      return NEB_XML_AddNextSiblingNode(node, copy);
  }
}

uint32_t insertCopy(XmlNode *node, const NEB_XML_EDIT &edit) {
  XmlNode *copy = nullptr;
  const uint32_t result = NEB_XML_ImportNode(node, edit.content, &copy);
  if (result != NEB_XML_OK) return result;
  const uint32_t inserted = insertAt(edit.kind, node, copy);
  if (inserted != NEB_XML_OK) NEB_XML_FreeNode(copy);
  return inserted;
}

uint32_t remove(XmlNode *node) {
  NEB_XML_NODE_INFO info;
  if (!isAttribute(node)) return NEB_XML_RemoveNode(node);
  NEB_XML_GetNodeInfo(node, &info);
  return NEB_XML_RemoveAttr(NEB_XML_GetNodeParent(node), info.prefix, info.name);
}

}  // namespace

uint32_t editTree(const NEB_XML_EDIT &edit) {
  XmlNode *node = writable(edit.node);
  switch (edit.kind) {
    case NEB_XML_EDIT_SET_VALUE:
      return NEB_XML_SetNode(node, nullptr, nullptr, edit.value);
    case NEB_XML_EDIT_SET_ATTR:
      return NEB_XML_AddAttr(node, edit.prefix, edit.name, edit.value);
    case NEB_XML_EDIT_RENAME:
      return NEB_XML_SetNode(node, edit.prefix, edit.name, nullptr);
    case NEB_XML_EDIT_REMOVE:
      return remove(node);
    default:
      return insertCopy(node, edit);
  }
}

}  // namespace nebxml
