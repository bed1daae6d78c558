#include "tree/release.h"

#include "tree/name_holders.h"

namespace neb::xml::internal {

namespace {

uint8_t elsewhereMark(StringField field) {
  switch (field) {
    case StringField::name:
      return kNameElsewhere;
    case StringField::value:
      return kValueElsewhere;
    case StringField::prefix:
      break;
  }
  return kPrefixElsewhere;
}

bool ownsString(const XmlNode *node, StringField field) {
  switch (field) {
    case StringField::name:
      return node->nameOwned == 1;
    case StringField::value:
      return node->valueOwned == 1;
    case StringField::prefix:
      break;
  }
  return true;
}

void pointField(XmlNode *node, StringField field, char *text) {
  switch (field) {
    case StringField::name:
      node->name = text;
      node->nameLength = 0;
      break;
    case StringField::value:
      node->value = text;
      node->valueSize = 0;
      break;
    case StringField::prefix:
      node->prefix = text;
      break;
  }
}

bool isStringOfHook(const XmlNode *node, StringField field) {
  const bool isElsewhere = (node->marks & elsewhereMark(field)) != 0;
  return isOfHook(node) != isElsewhere;
}

// A released record of a session stays where it is, though what it hung together with is gone. Its
// session must not be led there when it settles its ties.
void severLinks(XmlNode *node) {
  node->parent = nullptr;
  node->next = nullptr;
  if (isAttribute(node)) return;
  node->prev = nullptr;
  node->firstChild = nullptr;
  node->lastChild = nullptr;
  node->firstAttr = nullptr;
}

void releaseAndSever(XmlNode *node, const Storage &storage) {
  const bool staysInSession = !isOfHook(node);
  releaseSingle(node, storage);
  if (staysInSession) severLinks(node);
}

void releaseRecord(XmlNode *node) {
  if (node->isDocument == 1) {
    stopHolding(node);
  } else {
    g_fnXMLFree(node);
  }
}

// The last of a chain of attributes could not be told from one that stands alone.
void leaveAttributes(XmlNode *element) {
  cutAttributes(element, [](const XmlNode * /*attribute*/) { return true; });
}

void leaveChildren(XmlNode *parent) {
  XmlNode *next = nullptr;
  for (XmlNode *child = parent->firstChild; child != nullptr; child = next) {
    next = child->next;
    if (!isOfHook(child)) unlinkNode(child);
  }
  for (XmlNode *child = parent->firstChild; child != nullptr; child = child->next) {
    child->parent = nullptr;
  }
  parent->firstChild = nullptr;
  parent->lastChild = nullptr;
}

void releaseAttributes(XmlNode *element, const Storage &storage) {
  XmlNode *attribute = element->firstAttr;
  while (attribute != nullptr) {
    XmlNode *next = attribute->next;
    releaseAndSever(attribute, storage);
    attribute = next;
  }
}

}  // namespace

char *stringOf(const XmlNode *node, StringField field) {
  switch (field) {
    case StringField::name:
      return node->name;
    case StringField::value:
      return node->value;
    case StringField::prefix:
      break;
  }
  return node->prefix;
}

void putString(XmlNode *node, StringField field, char *copy, bool copyIsOfHook) {
  pointField(node, field, copy);
  const uint8_t mark = elsewhereMark(field);
  if (isOfHook(node) == copyIsOfHook) {
    node->marks &= static_cast<uint8_t>(~mark);
  } else {
    node->marks |= mark;
  }
  if (field == StringField::name) node->nameOwned = 1;
  if (field == StringField::value) node->valueOwned = 1;
}

void dropString(XmlNode *node, StringField field, const Storage &storage) {
  char *text = stringOf(node, field);
  const bool goesBack = text != nullptr && ownsString(node, field) && isStringOfHook(node, field);
  if (field == StringField::name && holdsSlot(node)) stopHolding(heldDocument(node));
  pointField(node, field, nullptr);
  node->marks &= static_cast<uint8_t>(~elsewhereMark(field));
  if (goesBack) storage.giveUpHookText(text);
}

void releaseSingle(XmlNode *node, const Storage &storage) {
  if (!storage.isHook()) return;
  dropString(node, StringField::name, storage);
  dropString(node, StringField::value, storage);
  dropString(node, StringField::prefix, storage);
  if (isOfHook(node)) releaseRecord(node);
}

void releaseChain(XmlNode *node, const Storage &storage) {
  size_t depth = 0;
  while (node != nullptr) {
    if (depth == 0 && ownsSession(node)) {
      XML_MemSessionEnd(node->sessionId);
      return;
    }
    if (!storage.isHook()) return;
    if (!isAttribute(node)) {
      releaseAttributes(node, storage);
      if (node->firstChild != nullptr) {
        node = node->firstChild;
        ++depth;
        continue;
      }
    }
    for (;;) {
      XmlNode *next = node->next;
      XmlNode *parent = node->parent;
      releaseAndSever(node, storage);
      node = next;
      if (node != nullptr || depth == 0) break;
      node = parent;
      --depth;
    }
  }
}

void unlinkNode(XmlNode *node) {
  if (node->prev != nullptr) node->prev->next = node->next;
  if (node->next != nullptr) node->next->prev = node->prev;
  if (node->parent != nullptr) {
    if (node->parent->firstChild == node) node->parent->firstChild = node->next;
    if (node->parent->lastChild == node) node->parent->lastChild = node->prev;
  }
  node->prev = nullptr;
  node->parent = nullptr;
  node->next = nullptr;
}

void unlinkAttribute(XmlNode *attribute) {
  XmlNode *element = attribute->parent;
  if (element->firstAttr == attribute) {
    element->firstAttr = attribute->next;
  } else {
    XmlNode *before = element->firstAttr;
    while (before != nullptr && before->next != attribute) before = before->next;
    if (before != nullptr) before->next = attribute->next;
  }
  attribute->parent = nullptr;
  attribute->next = nullptr;
}

void isolateNode(XmlNode *node) {
  if (isAttribute(node)) {
    if (node->parent != nullptr) unlinkAttribute(node);
    return;
  }
  unlinkNode(node);
  leaveAttributes(node);
  leaveChildren(node);
}

}  // namespace neb::xml::internal
