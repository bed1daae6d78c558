// Creating, changing and freeing nodes.
#include "tree/nodes.h"

#include <cstring>

#include "ownership/bound_session.h"
#include "ownership/cross_references.h"
#include "ownership/name_holders.h"
#include "ownership/release.h"
#include "ownership/strings.h"
#include "platform/bounded_memory.h"
#include "record/links.h"
#include "tree/attributes.h"

namespace neb::xml::internal {

namespace {

// Copies of the strings that a setting operation was given; null where there was nothing to copy.
struct StringCopies {
  char *prefix = nullptr;
  char *name = nullptr;
  char *value = nullptr;
};

void freeCopies(const Storage &storage, const StringCopies &copies) {
  if (copies.prefix != nullptr) storage.freeUnused(copies.prefix);
  if (copies.name != nullptr) storage.freeUnused(copies.name);
  if (copies.value != nullptr) storage.freeUnused(copies.value);
}

bool copyGiven(const Storage &storage, const char *text, char **copy) {
  if (isMissing(text)) return true;
  *copy = storage.duplicate(text, std::strlen(text));
  return *copy != nullptr;
}

bool needsCrossReference(const Storage &storage, const XmlNode *node) {
  return storage.isHeap() && !isOnHeap(node);
}

// All or nothing. The node does not change, except that a cross-reference may be noted.
bool makeCopies(const Storage &storage, XmlNode *node, const char *prefix, const char *name,
                const char *value, StringCopies *copies) {
  const bool made = copyGiven(storage, prefix, &copies->prefix) &&
                    copyGiven(storage, name, &copies->name) &&
                    copyGiven(storage, value, &copies->value) &&
                    (!needsCrossReference(storage, node) || noteCrossReference(node));
  if (made) return true;
  freeCopies(storage, *copies);
  *copies = {};
  return false;
}

void replaceString(const Storage &storage, XmlNode *node, StringField field, char *copy) {
  if (copy == nullptr) return;
  dropString(node, field, storage);
  putString(node, field, copy, storage.isHeap());
}

void storeCopies(const Storage &storage, XmlNode *node, const StringCopies &copies) {
  bindToSession(node, storage.handle());
  replaceString(storage, node, StringField::name, copies.name);
  replaceString(storage, node, StringField::prefix, copies.prefix);
  replaceString(storage, node, StringField::value, copies.value);
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
    result = setStrings(Storage(session), document, prefix, name, value);
  }
  if (result != NEB_XML_OK) {
    XML_MemSessionEnd(session);
    return result;
  }
  *node = document;
  return NEB_XML_OK;
}

uint32_t createInStorage(const Storage &storage, uint32_t type, const char *prefix,
                         const char *name, const char *value, XmlNode **node) {
  XmlNode *made = makeNode(storage, type);
  if (made == nullptr) return NEB_XML_ERR_NO_MEMORY;
  const uint32_t result = setStrings(storage, made, prefix, name, value);
  if (result != NEB_XML_OK) {
    storage.freeUnused(made);
    return result;
  }
  *node = made;
  return NEB_XML_OK;
}

}  // namespace

XmlNode *makeNode(const Storage &storage, uint32_t type) {
  const bool isHeld = storage.isHeap() && type == NEB_XML_NODE_DOCUMENT;
  const size_t size = isHeld ? sizeof(HeldDocument) : recordSize(type);
  auto *node = static_cast<XmlNode *>(storage.allocate(size));
  if (node == nullptr) return nullptr;
  platform::memset_s(node, size, 0, size);
  node->type = static_cast<int8_t>(type);
  node->isDocument = type == NEB_XML_NODE_DOCUMENT ? 1 : 0;
  node->sessionId = storage.handle();
  if (isHeld) beginHolding(node);
  return node;
}

uint32_t setStrings(const Storage &treeStorage, XmlNode *node, const char *prefix, const char *name,
                    const char *value) {
  const Storage storage = storageForStrings(node, treeStorage);
  StringCopies copies;
  if (!makeCopies(storage, node, prefix, name, value, &copies)) return NEB_XML_ERR_NO_MEMORY;
  storeCopies(storage, node, copies);
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
  return setStrings(Storage::of(owner), node, prefix, name, value);
}

uint32_t NEB_XML_CreateNode(uint32_t type, const char *prefix, const char *name, const char *value,
                            XmlNode **node) {
  if (!isCreatable(type) || node == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return createInStorage(Storage(), type, prefix, name, value, node);
}

uint32_t NEB_XML_CreateNodeEx(uint32_t session, uint32_t type, const char *prefix, const char *name,
                              const char *value, XmlNode **node) {
  if (!isCreatable(type) || node == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (type == NEB_XML_NODE_DOCUMENT) return createDocumentWithSession(prefix, name, value, node);
  return createInStorage(Storage(session), type, prefix, name, value, node);
}

uint32_t NEB_XML_SetNode(XmlNode *node, const char *prefix, const char *name, const char *value) {
  if (node == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (wouldDuplicateAttribute(node, prefix, name)) return NEB_XML_ERR_ALREADY_EXISTS;
  const Storage storage = storageForStrings(node, Storage::of(node));
  const bool clearsPrefix = isEmpty(prefix);
  const bool clearsName = isEmpty(name);
  const bool clearsValue = isEmpty(value);
  // Copied before anything is cleared, since the arguments may be the node's own strings.
  StringCopies copies;
  const bool copied = makeCopies(storage, node, prefix, name, value, &copies);
  if (clearsPrefix) dropString(node, StringField::prefix, storage);
  if (clearsName) dropString(node, StringField::name, storage);
  if (clearsValue) dropString(node, StringField::value, storage);
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
