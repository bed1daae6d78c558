// Creation, change and release of nodes.
#include "tree/nodes.h"

#include <cstring>

#include "platform/bounded_memory.h"
#include "tree/attributes.h"
#include "tree/name_holders.h"
#include "tree/release.h"

namespace neb::xml::internal {

namespace {

// Copies of the strings that a setting operation was given; null where there was nothing to copy.
struct StringCopies {
  char *prefix = nullptr;
  char *name = nullptr;
  char *value = nullptr;
};

void giveBackCopies(const Storage &storage, const StringCopies &copies) {
  if (copies.prefix != nullptr) storage.giveBackOwn(copies.prefix);
  if (copies.name != nullptr) storage.giveBackOwn(copies.name);
  if (copies.value != nullptr) storage.giveBackOwn(copies.value);
}

bool copyGiven(const Storage &storage, const char *text, char **copy) {
  if (isMissing(text)) return true;
  *copy = storage.copyText(text, std::strlen(text));
  return *copy != nullptr;
}

bool mustTieForStrings(const Storage &storage, const XmlNode *node) {
  return storage.isHook() && !isOfHook(node);
}

// All or nothing. The node is not touched but for a tie.
bool makeCopies(const Storage &storage, XmlNode *node, const char *prefix, const char *name,
                const char *value, StringCopies *copies) {
  const bool made = copyGiven(storage, prefix, &copies->prefix) &&
                    copyGiven(storage, name, &copies->name) &&
                    copyGiven(storage, value, &copies->value) &&
                    (!mustTieForStrings(storage, node) || tieRecord(node));
  if (made) return true;
  giveBackCopies(storage, *copies);
  *copies = {};
  return false;
}

void replaceString(const Storage &storage, XmlNode *node, StringField field, char *copy) {
  if (copy == nullptr) return;
  dropString(node, field, storage);
  putString(node, field, copy, storage.isHook());
}

void storeCopies(const Storage &storage, XmlNode *node, const StringCopies &copies) {
  settleIn(node, storage.handle());
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
    storage.giveBackOwn(made);
    return result;
  }
  *node = made;
  return NEB_XML_OK;
}

}  // namespace

XmlNode *makeNode(const Storage &storage, uint32_t type) {
  const bool isHeld = storage.isHook() && type == NEB_XML_NODE_DOCUMENT;
  const size_t size = isHeld ? sizeof(HeldDocument) : recordSize(type);
  auto *node = static_cast<XmlNode *>(storage.obtain(size));
  if (node == nullptr) return nullptr;
  platform::memset_s(node, size, 0, size);
  node->type = static_cast<int8_t>(type);
  node->isDocument = type == NEB_XML_NODE_DOCUMENT ? 1 : 0;
  node->sessionId = storage.handle();
  if (isHeld) beginHolding(node);
  return node;
}

Storage storageForStrings(const XmlNode *node, const Storage &storage) {
  const bool isElsewhere = !storage.isHook() && !isOfHook(node);
  return isElsewhere && node->sessionId != storage.handle() ? Storage(node->sessionId) : storage;
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
  if (node != nullptr && node->isDocument == 1 && !storage.isHook()) {
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
  if (wouldRepeatAttribute(node, prefix, name)) return NEB_XML_ERR_ALREADY_EXISTS;
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
  if (isOfHook(node)) settleTreeIn(node, Storage::of(node).handle());
  unlinkNode(node);
  return NEB_XML_OK;
}

void XML_FreeSingleNode(XmlNode *node) {
  if (node == nullptr) return;
  const Storage storage = Storage::of(node);
  if (!storage.isHook()) return;
  isolateNode(node);
  releaseSingle(node, storage);
}

void XML_FreeSingleAttrNode(XmlNode *attribute) {
  if (attribute == nullptr || !isOfHook(attribute)) return;
  if (isAttribute(attribute) && attribute->parent == nullptr) XML_FreeSingleNode(attribute);
}

void XML_FreeNode(XmlNode *node) {
  if (node != nullptr) releaseChain(node, Storage::of(node));
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
