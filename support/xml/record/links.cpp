#include "record/links.h"

namespace neb::xml::internal {

namespace {

// The last of a chain of attributes could not be told from a single one.
void dropAttributes(XmlNode *element) {
  cutAttributes(element, [](const XmlNode * /*attribute*/) { return true; });
}

void dropChildren(XmlNode *parent) {
  XmlNode *next = nullptr;
  for (XmlNode *child = parent->firstChild; child != nullptr; child = next) {
    next = child->next;
    if (!isOnHeap(child)) unlinkNode(child);
  }
  for (XmlNode *child = parent->firstChild; child != nullptr; child = child->next) {
    child->parent = nullptr;
  }
  parent->firstChild = nullptr;
  parent->lastChild = nullptr;
}

}  // namespace

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
  dropAttributes(node);
  dropChildren(node);
}

void clearLinks(XmlNode *node) {
  node->parent = nullptr;
  node->next = nullptr;
  if (isAttribute(node)) return;
  node->prev = nullptr;
  node->firstChild = nullptr;
  node->lastChild = nullptr;
  node->firstAttr = nullptr;
}

}  // namespace neb::xml::internal
