#include "tree/new_nodes.h"

#include "ownership/release.h"
#include "platform/compiler.h"
#include "tree/attributes.h"
#include "tree/insertion.h"
#include "tree/names.h"
#include "tree/nodes.h"
#include "tree/string_setting.h"

namespace neb::xml::internal {

namespace {

// The parent is null where the reference allows no element.
Position positionAt(XmlNode *reference, uint32_t where) {
  const bool isChild =
      where == NEB_XML_POSITION_LAST_CHILD || where == NEB_XML_POSITION_FIRST_CHILD;
  const bool isAllowed = isChild ? canHaveChildren(reference) : canHaveSiblings(reference);
  if (!isAllowed) return {};
  switch (where) {
    case NEB_XML_POSITION_LAST_CHILD:
      return lastChildOf(reference);
    case NEB_XML_POSITION_FIRST_CHILD:
      return firstChildOf(reference);
    case NEB_XML_POSITION_AFTER:
      return nextTo(reference);
    case NEB_XML_POSITION_BEFORE:
      return previousTo(reference);
    default:
      return {};
  }
}

}  // namespace

// Flattened like the setting of strings, see nodes.cpp.
NEB_XML_FLATTEN XmlNode *makeNamedNode(const Storage &storage, uint32_t type, const WholeName &name,
                                       std::string_view value) {
  XmlNode *node = makeNode(storage, type);
  if (node == nullptr) return nullptr;
  const bool areSet = setString<StringField::name>(storage, node, name.local) == NEB_XML_OK &&
                      setString<StringField::prefix>(storage, node, name.prefix) == NEB_XML_OK &&
                      setString<StringField::value>(storage, node, value) == NEB_XML_OK;
  if (areSet) return node;
  discard(node);
  return nullptr;
}

void discard(XmlNode *node) {
  if (isOnHeap(node)) releaseSingle(node, Storage());
}

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_NewElement(XmlNode *reference, uint32_t where, const char *name, size_t nameLength,
                            XmlNode **element) {
  if (reference == nullptr || name == nullptr || element == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  const Position position = positionAt(reference, where);
  XmlNode *topmost = topmostNode(reference);
  if (position.parent == nullptr || topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  const uint32_t result = checkWholeName({name, nameLength});
  if (result != NEB_XML_OK) return result;
  XmlNode *made = makeNamedNode(Storage::ofTopmost(topmost), NEB_XML_NODE_ELEMENT,
                                split({name, nameLength}), {});
  if (made == nullptr) return NEB_XML_ERR_NO_MEMORY;
  if (!insert(topmost, position, made)) {
    discard(made);
    return NEB_XML_ERR_NO_MEMORY;
  }
  *element = made;
  return NEB_XML_OK;
}
