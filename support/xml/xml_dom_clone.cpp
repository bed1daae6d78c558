// Copying nodes, alone or with their subtrees.
#include "neb_xml.h"
#include "xml_dom_nodes.h"
#include "xml_dom_release.h"
#include "xml_memory.h"

namespace {

// How a copy is made.
struct Copying {
  Storage storage;
  bool documentsBecomeElements = false;
};

// Where a copy goes: the storage of the source's tree, or for a document that owns a session a
// session of its own.
bool storageForCopy(const XmlNode *source, const XmlNode *topmost, Storage *storage) {
  if (!ownsSession(source)) {
    *storage = Storage::ofTopmost(topmost);
    return true;
  }
  const uint32_t session = XML_MemSessionBegin(kDocumentSessionSize);
  *storage = Storage(session);
  return session != 0;
}

uint32_t typeOfCopy(const XmlNode *source, const Copying &copying) {
  if (copying.documentsBecomeElements && source->type == NEB_XML_NODE_DOCUMENT) {
    return NEB_XML_NODE_ELEMENT;
  }
  return static_cast<uint32_t>(source->type);
}

XmlNode *copyRecord(const XmlNode *source, const Copying &copying) {
  const Storage &storage = copying.storage;
  XmlNode *copy = makeNode(storage, typeOfCopy(source, copying));
  if (copy == nullptr) return nullptr;
  if (setStrings(storage, copy, source->prefix, source->name, source->value) == NEB_XML_OK) {
    return copy;
  }
  releaseSingle(copy, storage);
  return nullptr;
}

bool copyAttributes(const XmlNode *source, XmlNode *copy, const Copying &copying) {
  XmlNode *last = nullptr;
  for (const XmlNode *from = source->firstAttr; from != nullptr; from = from->next) {
    XmlNode *attribute = copyRecord(from, copying);
    if (attribute == nullptr) return false;
    attribute->parent = copy;
    if (last == nullptr) {
      copy->firstAttr = attribute;
    } else {
      last->next = attribute;
    }
    last = attribute;
  }
  return true;
}

XmlNode *copySelf(const XmlNode *source, const Copying &copying) {
  XmlNode *copy = copyRecord(source, copying);
  if (copy == nullptr || copyAttributes(source, copy, copying)) return copy;
  releaseChain(copy, copying.storage);
  return nullptr;
}

void linkLast(XmlNode *parent, XmlNode *child) {
  child->parent = parent;
  child->prev = parent->lastChild;
  if (parent->lastChild == nullptr) {
    parent->firstChild = child;
  } else {
    parent->lastChild->next = child;
  }
  parent->lastChild = child;
}

// Copies what is below source under copy, walking both trees side by side. Each copy is linked
// before its own children are made, so that a failure leaves a whole tree to release.
bool xmlClone(const XmlNode *source, XmlNode *copy, const Copying &copying) {
  const XmlNode *from = source;
  XmlNode *to = copy;
  for (;;) {
    if (from->firstChild != nullptr) {
      from = from->firstChild;
    } else {
      while (from != source && from->next == nullptr) {
        from = from->parent;
        to = to->parent;
      }
      if (from == source) return true;
      from = from->next;
      to = to->parent;
    }
    XmlNode *child = copySelf(from, copying);
    if (child == nullptr) return false;
    linkLast(to, child);
    to = child;
  }
}

// A document whose session was opened for it owns that session.
void finishCopy(const XmlNode *source, XmlNode *copy, const Storage &storage) {
  if (!ownsSession(source)) return;
  copy->marks |= kOwnsSession;
  storage.session()->hasDocument = true;
}

void discardCopy(const XmlNode *source, XmlNode *copy, const Storage &storage) {
  if (ownsSession(source)) {
    XML_MemSessionEnd(storage.handle());
  } else if (copy != nullptr) {
    releaseChain(copy, storage);
  }
}

uint32_t cloneNode(const XmlNode *source, bool withChildren, XmlNode **copy) {
  if (source == nullptr || copy == nullptr || isAttribute(source)) return NEB_XML_ERR_INVALID_PARAM;
  const XmlNode *topmost = topmostNode(source);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  Copying copying;
  if (!storageForCopy(source, topmost, &copying.storage)) return NEB_XML_ERR_NO_MEMORY;
  XmlNode *made = copySelf(source, copying);
  if (made == nullptr || (withChildren && !xmlClone(source, made, copying))) {
    discardCopy(source, made, copying.storage);
    return NEB_XML_ERR_NO_MEMORY;
  }
  finishCopy(source, made, copying.storage);
  *copy = made;
  return NEB_XML_OK;
}

}  // namespace

uint32_t NEB_XML_CloneNode(const XmlNode *source, XmlNode **copy) {
  return cloneNode(source, true, copy);
}

uint32_t NEB_XML_CloneNodeSelf(const XmlNode *source, XmlNode **copy) {
  return cloneNode(source, false, copy);
}

uint32_t NEB_XML_ImportNode(XmlNode *target, const XmlNode *source, XmlNode **copy) {
  if (target == nullptr || source == nullptr || copy == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (isAttribute(target) || isAttribute(source)) return NEB_XML_ERR_INVALID_PARAM;
  const XmlNode *topmost = topmostNode(target);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  const Copying copying = {Storage::ofTopmost(topmost), true};
  XmlNode *made = copySelf(source, copying);
  if (made == nullptr) return NEB_XML_ERR_NO_MEMORY;
  if (!xmlClone(source, made, copying)) {
    releaseChain(made, copying.storage);
    return NEB_XML_ERR_NO_MEMORY;
  }
  *copy = made;
  return NEB_XML_OK;
}
