// Creating, changing and freeing nodes.
#include "tree/nodes.h"

#include <cstring>

#include "ownership/bound_session.h"
#include "ownership/cross_references.h"
#include "ownership/name_holders.h"
#include "ownership/release.h"
#include "ownership/strings.h"
#include "platform/compiler.h"
#include "record/links.h"
#include "record/node_records.h"
#include "tree/attributes.h"

namespace neb::xml::internal {

namespace {

// Copies of the strings that a setting operation was given.
struct StringCopies {
  StringCopy prefix;
  StringCopy name;
  StringCopy value;
};

void freeCopies(const Storage &storage, const StringCopies &copies) {
  if (copies.prefix.string != nullptr) storage.freeUnused(copies.prefix.string);
  if (copies.name.string != nullptr) storage.freeUnused(copies.name.string);
  if (copies.value.string != nullptr) storage.freeUnused(copies.value.string);
}

bool copyGiven(const Storage &storage, std::string_view given, StringCopy *copy) {
  if (given.empty()) return true;
  *copy = {storage.duplicate(given), given.size()};
  return copy->string != nullptr;
}

bool needsCrossReference(const Storage &storage, const XmlNode *node) {
  return storage.isHeap() && !isOnHeap(node);
}

// All or nothing. The node does not change, except that a cross-reference may be noted.
bool makeCopies(const Storage &storage, XmlNode *node, const NodeStrings &given,
                StringCopies *copies) {
  const bool made = copyGiven(storage, given.prefix, &copies->prefix) &&
                    copyGiven(storage, given.name, &copies->name) &&
                    copyGiven(storage, given.value, &copies->value) &&
                    (!needsCrossReference(storage, node) || noteCrossReference(node));
  if (!made) freeCopies(storage, *copies);
  return made;
}

template <StringField field>
void replaceString(const Storage &storage, XmlNode *node, const StringCopy &copy) {
  if (copy.string == nullptr) return;
  dropString<field>(node, storage);
  putString<field>(node, copy, storage.isHeap());
}

template <StringField field>
void putCopy(XmlNode *node, const StringCopy &copy) {
  if (copy.string != nullptr) putString<field>(node, copy, isOnHeap(node));
}

void storeCopies(const Storage &storage, XmlNode *node, const StringCopies &copies) {
  bindToSession(node, storage.handle());
  replaceString<StringField::name>(storage, node, copies.name);
  replaceString<StringField::prefix>(storage, node, copies.prefix);
  replaceString<StringField::value>(storage, node, copies.value);
}

bool isEmpty(const char *text) { return text != nullptr && text[0] == '\0'; }

bool isCreatable(uint32_t type) {
  return type == NEB_XML_NODE_ELEMENT || type == NEB_XML_NODE_DOCUMENT;
}

void claimSession(XmlNode *document, XmlMemSession &session) {
  if (session.hasDocument) return;
  session.hasDocument = true;
  document->marks |= kOwnsSession;
}

uint32_t createDocumentWithSession(const char *prefix, const char *name, const char *value,
                                   XmlNode **node) {
  const uint32_t session = XML_MemSessionBegin(kDocumentSessionSize);
  XmlNode *document = session == 0 ? nullptr : XML_NewNode(session, NEB_XML_NODE_DOCUMENT);
  uint32_t result = NEB_XML_ERR_NO_MEMORY;
  if (document != nullptr) {
    result = setStrings(Storage(session), document, measured(prefix, name, value));
  }
  if (result != NEB_XML_OK) {
    XML_MemSessionEnd(session);
    return result;
  }
  *node = document;
  return NEB_XML_OK;
}

uint32_t createInStorage(const Storage &storage, uint32_t type, const NodeStrings &given,
                         XmlNode **node) {
  XmlNode *made = makeNode(storage, type, given);
  if (made == nullptr) return NEB_XML_ERR_NO_MEMORY;
  *node = made;
  return NEB_XML_OK;
}

}  // namespace

XmlNode *makeNode(const Storage &storage, uint32_t type) {
  const bool isHeld = storage.isHeap() && type == NEB_XML_NODE_DOCUMENT;
  const size_t size = isHeld ? sizeof(HeldDocument) : recordSize(type);
  auto *node = static_cast<XmlNode *>(storage.allocate(size));
  if (node == nullptr) return nullptr;
  fillEmpty(node, type, storage.handle());
  if (isHeld) beginHolding(node);
  return node;
}

// Flattened, as everything that copies strings here: they are short, and the calls from one part to
// the next would take a fifth of the time.
NEB_XML_FLATTEN XmlNode *makeNode(const Storage &storage, uint32_t type, const NodeStrings &given) {
  XmlNode *node = makeNode(storage, type);
  if (node == nullptr) return nullptr;
  StringCopies copies;
  if (!makeCopies(storage, node, given, &copies)) {
    storage.freeUnused(node);
    return nullptr;
  }
  putCopy<StringField::name>(node, copies.name);
  putCopy<StringField::prefix>(node, copies.prefix);
  putCopy<StringField::value>(node, copies.value);
  return node;
}

uint32_t setStrings(const Storage &treeStorage, XmlNode *node, const NodeStrings &given) {
  const Storage storage = storageForStrings(node, treeStorage);
  StringCopies copies;
  if (!makeCopies(storage, node, given, &copies)) return NEB_XML_ERR_NO_MEMORY;
  storeCopies(storage, node, copies);
  return NEB_XML_OK;
}

NEB_XML_FLATTEN uint32_t setValue(const Storage &treeStorage, XmlNode *node,
                                  std::string_view value) {
  const Storage storage = storageForStrings(node, treeStorage);
  char *copy = storage.duplicate(value);
  if (copy == nullptr) return NEB_XML_ERR_NO_MEMORY;
  if (needsCrossReference(storage, node) && !noteCrossReference(node)) {
    storage.freeUnused(copy);
    return NEB_XML_ERR_NO_MEMORY;
  }
  bindToSession(node, storage.handle());
  replaceString<StringField::value>(storage, node, {copy, value.size()});
  return NEB_XML_OK;
}

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

XmlNode *XML_NewNode(uint32_t session, uint32_t type) {
  const Storage storage(session);
  XmlNode *node = makeNode(storage, type);
  if (node != nullptr && node->isDocument == 1 && !storage.isHeap()) {
    claimSession(node, *storage.session());
  }
  return node;
}

uint32_t XML_SetNode(XmlNode *owner, XmlNode *node, const char *prefix, const char *name,
                     const char *value) {
  return setStrings(Storage::of(owner), node, measured(prefix, name, value));
}

uint32_t NEB_XML_CreateNode(uint32_t type, const char *prefix, const char *name, const char *value,
                            XmlNode **node) {
  if (!isCreatable(type) || node == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return createInStorage(Storage(), type, measured(prefix, name, value), node);
}

uint32_t NEB_XML_CreateNodeEx(uint32_t session, uint32_t type, const char *prefix, const char *name,
                              const char *value, XmlNode **node) {
  if (!isCreatable(type) || node == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (type == NEB_XML_NODE_DOCUMENT) return createDocumentWithSession(prefix, name, value, node);
  return createInStorage(Storage(session), type, measured(prefix, name, value), node);
}

NEB_XML_FLATTEN uint32_t NEB_XML_SetNode(XmlNode *node, const char *prefix, const char *name,
                                         const char *value) {
  if (node == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (wouldDuplicateAttribute(node, prefix, name)) return NEB_XML_ERR_ALREADY_EXISTS;
  const Storage storage = storageForStrings(node, Storage::of(node));
  const bool clearsPrefix = isEmpty(prefix);
  const bool clearsName = isEmpty(name);
  const bool clearsValue = isEmpty(value);
  // Copied before anything is cleared, since the arguments may be the node's own strings.
  StringCopies copies;
  const bool copied = makeCopies(storage, node, measured(prefix, name, value), &copies);
  if (clearsPrefix) dropString<StringField::prefix>(node, storage);
  if (clearsName) dropString<StringField::name>(node, storage);
  if (clearsValue) dropString<StringField::value>(node, storage);
  if (!copied) return NEB_XML_ERR_NO_MEMORY;
  storeCopies(storage, node, copies);
  return NEB_XML_OK;
}

uint32_t NEB_XML_RemoveNode(XmlNode *node) {
  if (node == nullptr || isAttribute(node) || isDetached(node)) return NEB_XML_ERR_INVALID_PARAM;
  if (isOnHeap(node)) bindTreeToSession(node, Storage::of(node).handle());
  unlinkNode(node);
  return NEB_XML_OK;
}

void XML_FreeSingleNode(XmlNode *node) {
  if (node == nullptr) return;
  const Storage storage = Storage::of(node);
  if (!storage.isHeap()) return;
  isolateNode(node);
  releaseSingle(node, storage);
}

void XML_FreeSingleAttrNode(XmlNode *attribute) {
  if (attribute == nullptr || !isOnHeap(attribute)) return;
  if (isAttribute(attribute) && attribute->parent == nullptr) XML_FreeSingleNode(attribute);
}

// A document that owns a session is in no chain but as the first node.
void XML_FreeNode(XmlNode *node) {
  if (node == nullptr) return;
  if (ownsSession(node)) {
    XML_MemSessionEnd(node->sessionId);
  } else {
    releaseChain(node, Storage::of(node));
  }
}

void NEB_XML_FreeNode(XmlNode *node) {
  if (node == nullptr) return;
  if (isAttribute(node)) {
    if (node->parent == nullptr) XML_FreeSingleAttrNode(node);
    return;
  }
  if (!isDetached(node)) unlinkNode(node);
  XML_FreeNode(node);
}
