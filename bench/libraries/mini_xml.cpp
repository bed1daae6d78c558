// default: texts split into words. opaque: texts whole. It offers no deep copy.
#include <mxml.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "library.h"

namespace {

using namespace bench;

mxml_node_t *tree(Document document) { return static_cast<mxml_node_t *>(document); }

template <mxml_type_t (*TextType)(mxml_node_t *)>
Document parse(const std::string &input) {
  mxmlSetErrorCallback([](const char *) {});  // which would print
  return mxmlLoadString(nullptr, input.c_str(), TextType);
}

template <mxml_type_t (*TextType)(mxml_node_t *)>
Document load(const char *path) {
  mxmlSetErrorCallback([](const char *) {});
  FILE *file = std::fopen(path, "r");
  if (!file) return nullptr;
  mxml_node_t *document = mxmlLoadFile(nullptr, file, TextType);
  std::fclose(file);
  return document;
}

void release(Document document) { mxmlDelete(tree(document)); }

// Declaration, comments, processing instructions and CDATA are elements of such names.
bool isSpecial(const char *name) { return name[0] == '?' || name[0] == '!'; }

mxml_node_t *firstElement(mxml_node_t *node) {
  const char *name = nullptr;
  while (node && (!(name = mxmlGetElement(node)) || isSpecial(name))) {
    node = mxmlGetNextSibling(node);
  }
  return node;
}

mxml_node_t *root(Document document) {
  mxml_node_t *top = tree(document);
  return isSpecial(mxmlGetElement(top)) ? firstElement(mxmlGetFirstChild(top)) : top;
}

struct Moves {
  static mxml_node_t *child(mxml_node_t *node) { return mxmlGetFirstChild(node); }
  static mxml_node_t *next(mxml_node_t *node) { return mxmlGetNextSibling(node); }
  static mxml_node_t *parent(mxml_node_t *node) { return mxmlGetParent(node); }
  static mxml_node_t *named(mxml_node_t *node, const char *name) {
    return mxmlFindElement(node, node, name, nullptr, nullptr, MXML_DESCEND_FIRST);
  }
  static mxml_node_t *nextNamed(mxml_node_t *node, const char *name) {
    return mxmlFindElement(node, mxmlGetParent(node), name, nullptr, nullptr, MXML_NO_DESCEND);
  }
};

template <class Visitor>
void visitElement(mxml_node_t *node, const char *elementName, Visitor &visitor) {
  if (const char *cdata = mxmlGetCDATA(node)) return visitor.string(cdata);
  if (isSpecial(elementName)) return;
  visitor.element();
  visitor.string(elementName);
  const int count = mxmlElementGetAttrCount(node);
  for (int i = 0; i < count; ++i) {
    const char *name = nullptr;
    const char *value = mxmlElementGetAttrByIndex(node, i, &name);
    visitor.attribute();
    visitor.string(name);
    visitor.string(value);
  }
}

template <class Visitor>
void visit(Document document, Visitor &visitor) {
  forEachNode<Moves>(root(document), [&](mxml_node_t *node) {
    switch (mxmlGetType(node)) {
      case MXML_ELEMENT:
        return visitElement(node, mxmlGetElement(node), visitor);
      case MXML_OPAQUE:
        return visitor.string(mxmlGetOpaque(node));
      default:
        return visitor.string(mxmlGetText(node, nullptr));
    }
  });
}

Census inspect(Document document) {
  CensusVisitor visitor;
  visit(document, visitor);
  return visitor.census;
}

size_t walk(Document document) {
  TouchVisitor visitor;
  visit(document, visitor);
  return visitor.sum;
}

size_t print(Document document, std::string *keep) {
  char *text = mxmlSaveAllocString(tree(document), MXML_NO_CALLBACK);
  if (!text) return 0;
  if (keep) *keep = text;
  const size_t size = std::strlen(text);
  std::free(text);
  return size;
}

const char *find(Document document, const Path &path) {
  mxml_node_t *found = findNode<Moves>(root(document), path);
  return found ? mxmlGetOpaque(found) : nullptr;
}

size_t readAttribute(Document document, const char *name) {
  TouchVisitor visitor;
  for (mxml_node_t *child = mxmlGetFirstChild(root(document)); child;
       child = mxmlGetNextSibling(child)) {
    visitor.string(mxmlElementGetAttr(child, name));
  }
  return visitor.sum;
}

int64_t addNumbers(Document document) {
  int64_t sum = 0;
  for (mxml_node_t *child = mxmlGetFirstChild(root(document)); child;
       child = mxmlGetNextSibling(child)) {
    int32_t number = 0;
    const char *text = mxmlGetOpaque(child);
    if (text) std::from_chars(text, text + std::strlen(text), number);
    sum += number;
  }
  return sum;
}

Document edit(size_t count) {
  mxml_node_t *list = mxmlNewElement(MXML_NO_PARENT, kListName);
  for (size_t i = 0; i < count; ++i) {
    mxml_node_t *item = mxmlNewElement(list, kItemName);
    mxmlElementSetAttr(item, kItemAttribute, kItemOldState);
    mxmlNewOpaque(item, kItemText);
  }
  int number = 0;
  for (mxml_node_t *item = mxmlGetFirstChild(list); item; item = mxmlGetNextSibling(item)) {
    mxmlSetOpaquef(item, "%d", number++);
    mxmlElementSetAttr(item, kItemAttribute, kItemNewState);
  }
  return list;
}

const Registration registration(6, {{.library = "Mini-XML",
                                     .mode = "default",
                                     .version = BENCH_MXML_VERSION,
                                     .maxDepth = 0,
                                     .parse = parse<nullptr>,
                                     .load = load<nullptr>,
                                     .release = release,
                                     .inspect = inspect},
                                    {.library = "Mini-XML",
                                     .mode = "opaque",
                                     .version = BENCH_MXML_VERSION,
                                     .maxDepth = 0,
                                     .parse = parse<MXML_OPAQUE_CALLBACK>,
                                     .load = load<MXML_OPAQUE_CALLBACK>,
                                     .release = release,
                                     .inspect = inspect,
                                     .walk = walk,
                                     .print = print,
                                     .clone = nullptr,
                                     .find = find,
                                     .readAttribute = readAttribute,
                                     .addNumbers = addNumbers,
                                     .edit = edit}});

}  // namespace
