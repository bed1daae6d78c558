// fastest: short texts inside their nodes, no nodes for white space, no limits on depth and size.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <charconv>
#include <cstring>
#include <iterator>

#include "library.h"

namespace {

using namespace bench;

constexpr int kQuiet = XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET;
constexpr int kFastest =
    kQuiet | XML_PARSE_COMPACT | XML_PARSE_NOBLANKS | XML_PARSE_NOCDATA | XML_PARSE_HUGE;

const xmlChar *in(const char *text) { return reinterpret_cast<const xmlChar *>(text); }
const char *out(const xmlChar *text) { return reinterpret_cast<const char *>(text); }

xmlDocPtr tree(Document document) { return static_cast<xmlDocPtr>(document); }
xmlNodePtr root(Document document) { return xmlDocGetRootElement(tree(document)); }

template <int Options>
Document parse(const std::string &input) {
  return xmlReadMemory(input.data(), static_cast<int>(input.size()), nullptr, nullptr, Options);
}

template <int Options>
Document load(const char *path) {
  return xmlReadFile(path, nullptr, Options);
}

void release(Document document) { xmlFreeDoc(tree(document)); }

xmlNodePtr elementNamed(xmlNodePtr node, const char *name) {
  while (node && !(node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, in(name)))) {
    node = node->next;
  }
  return node;
}

struct Moves {
  static xmlNodePtr child(xmlNodePtr node) {
    return node->type == XML_ELEMENT_NODE ? node->children : nullptr;
  }
  static xmlNodePtr next(xmlNodePtr node) { return node->next; }
  static xmlNodePtr parent(xmlNodePtr node) { return node->parent; }
  static xmlNodePtr named(xmlNodePtr node, const char *name) {
    return elementNamed(node->children, name);
  }
  static xmlNodePtr nextNamed(xmlNodePtr node, const char *name) {
    return elementNamed(node->next, name);
  }
};

const char *prefix(const xmlNs *space) { return space ? out(space->prefix) : nullptr; }

template <class Visitor>
void visitElement(xmlNodePtr node, Visitor &visitor) {
  visitor.element();
  visitor.qualified(prefix(node->ns), out(node->name));
  for (const xmlNs *space = node->nsDef; space; space = space->next) {
    visitor.attribute();
    if (space->prefix) {
      visitor.qualified("xmlns", out(space->prefix));
    } else {
      visitor.string("xmlns");
    }
    visitor.string(out(space->href));
  }
  for (const xmlAttr *attribute = node->properties; attribute; attribute = attribute->next) {
    visitor.attribute();
    visitor.qualified(prefix(attribute->ns), out(attribute->name));
    for (xmlNodePtr text = attribute->children; text; text = text->next) {
      visitor.string(out(text->content));
    }
  }
}

template <class Visitor>
void visit(Document document, Visitor &visitor) {
  forEachNode<Moves>(root(document), [&](xmlNodePtr node) {
    if (node->type == XML_ELEMENT_NODE) {
      visitElement(node, visitor);
    } else if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
      visitor.string(out(node->content));
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
  xmlChar *text = nullptr;
  int size = 0;
  xmlDocDumpMemory(tree(document), &text, &size);
  if (keep && text) *keep = out(text);
  xmlFree(text);
  return static_cast<size_t>(size);
}

Document clone(Document document) { return xmlCopyDoc(tree(document), 1); }

const char *content(const xmlNode *node) {
  return node && node->children ? out(node->children->content) : nullptr;
}

const char *find(Document document, const Path &path) {
  return content(findNode<Moves>(root(document), path));
}

size_t readAttribute(Document document, const char *name) {
  TouchVisitor visitor;
  for (xmlNodePtr child = root(document)->children; child; child = child->next) {
    const xmlAttr *attribute = xmlHasProp(child, in(name));
    if (attribute && attribute->children) visitor.string(out(attribute->children->content));
  }
  return visitor.sum;
}

int64_t addNumbers(Document document) {
  int64_t sum = 0;
  for (xmlNodePtr child = root(document)->children; child; child = child->next) {
    int32_t number = 0;
    const char *text = content(child);
    if (text) std::from_chars(text, text + std::strlen(text), number);
    sum += number;
  }
  return sum;
}

Document edit(size_t count) {
  xmlDocPtr document = xmlNewDoc(nullptr);
  xmlNodePtr list = xmlNewDocNode(document, nullptr, in(kListName), nullptr);
  xmlDocSetRootElement(document, list);
  for (size_t i = 0; i < count; ++i) {
    xmlNodePtr item = xmlNewTextChild(list, nullptr, in(kItemName), in(kItemText));
    xmlNewProp(item, in(kItemAttribute), in(kItemOldState));
  }
  int number = 0;
  for (xmlNodePtr item = list->children; item; item = item->next) {
    char text[16];
    *std::to_chars(std::begin(text), std::end(text) - 1, number++).ptr = '\0';
    xmlNodeSetContent(item, in(text));
    xmlSetProp(item, in(kItemAttribute), in(kItemNewState));
  }
  return document;
}

const Registration registration(5, {{.library = "libxml2",
                                     .mode = "default",
                                     .version = LIBXML_DOTTED_VERSION,
                                     .maxDepth = 0,
                                     .parse = parse<kQuiet>,
                                     .load = load<kQuiet>,
                                     .release = release,
                                     .inspect = inspect},
                                    {.library = "libxml2",
                                     .mode = "fastest",
                                     .version = LIBXML_DOTTED_VERSION,
                                     .maxDepth = 0,
                                     .parse = parse<kFastest>,
                                     .load = load<kFastest>,
                                     .release = release,
                                     .inspect = inspect,
                                     .walk = walk,
                                     .print = print,
                                     .clone = clone,
                                     .find = find,
                                     .readAttribute = readAttribute,
                                     .addNumbers = addNumbers,
                                     .edit = edit}});

}  // namespace
