// It decodes references when a string is read for the first time; see the benchmark read/.
#include <tinyxml2.h>

#include "library.h"

namespace {

using namespace bench;

std::string version() {
  return std::to_string(TINYXML2_MAJOR_VERSION) + "." + std::to_string(TINYXML2_MINOR_VERSION) +
         "." + std::to_string(TINYXML2_PATCH_VERSION);
}

tinyxml2::XMLDocument &tree(Document document) {
  return *static_cast<tinyxml2::XMLDocument *>(document);
}

Document finish(tinyxml2::XMLDocument *document, tinyxml2::XMLError error) {
  if (error == tinyxml2::XML_SUCCESS) return document;
  delete document;
  return nullptr;
}

Document parse(const std::string &input) {
  auto *document = new tinyxml2::XMLDocument;
  return finish(document, document->Parse(input.data(), input.size()));
}

Document load(const char *path) {
  auto *document = new tinyxml2::XMLDocument;
  return finish(document, document->LoadFile(path));
}

void release(Document document) { delete &tree(document); }

struct Moves {
  static const tinyxml2::XMLNode *child(const tinyxml2::XMLNode *node) {
    return node->FirstChild();
  }
  static const tinyxml2::XMLNode *next(const tinyxml2::XMLNode *node) {
    return node->NextSibling();
  }
  static const tinyxml2::XMLNode *parent(const tinyxml2::XMLNode *node) { return node->Parent(); }
  static const tinyxml2::XMLElement *named(const tinyxml2::XMLElement *node, const char *name) {
    return node->FirstChildElement(name);
  }
  static const tinyxml2::XMLElement *nextNamed(const tinyxml2::XMLElement *node, const char *name) {
    return node->NextSiblingElement(name);
  }
};

template <class Visitor>
void visit(Document document, Visitor &visitor) {
  const tinyxml2::XMLNode *root = tree(document).RootElement();
  forEachNode<Moves>(root, [&](const tinyxml2::XMLNode *node) {
    if (const tinyxml2::XMLElement *element = node->ToElement()) {
      visitor.element();
      visitor.string(element->Name());
      for (const tinyxml2::XMLAttribute *attribute = element->FirstAttribute(); attribute;
           attribute = attribute->Next()) {
        visitor.attribute();
        visitor.string(attribute->Name());
        visitor.string(attribute->Value());
      }
    } else if (node->ToText()) {
      visitor.string(node->Value());
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
  tinyxml2::XMLPrinter printer(nullptr, true);
  tree(document).Print(&printer);
  if (keep) *keep = printer.CStr();
  return static_cast<size_t>(printer.CStrSize()) - 1;
}

Document clone(Document document) {
  auto *copy = new tinyxml2::XMLDocument;
  tree(document).DeepCopy(copy);
  return copy;
}

const char *find(Document document, const Path &path) {
  const tinyxml2::XMLElement *root = tree(document).RootElement();
  const tinyxml2::XMLElement *found = findNode<Moves>(root, path);
  return found ? found->GetText() : nullptr;
}

size_t readAttribute(Document document, const char *name) {
  TouchVisitor visitor;
  const tinyxml2::XMLElement *child = tree(document).RootElement()->FirstChildElement();
  for (; child; child = child->NextSiblingElement()) visitor.string(child->Attribute(name));
  return visitor.sum;
}

int64_t addNumbers(Document document) {
  int64_t sum = 0;
  const tinyxml2::XMLElement *child = tree(document).RootElement()->FirstChildElement();
  for (; child; child = child->NextSiblingElement()) sum += child->IntText();
  return sum;
}

Document edit(size_t count) {
  auto *document = new tinyxml2::XMLDocument;
  tinyxml2::XMLElement *list = document->NewElement(kListName);
  document->InsertEndChild(list);
  for (size_t i = 0; i < count; ++i) {
    tinyxml2::XMLElement *item = list->InsertNewChildElement(kItemName);
    item->SetAttribute(kItemAttribute, kItemOldState);
    item->SetText(kItemText);
  }
  int number = 0;
  for (tinyxml2::XMLElement *item = list->FirstChildElement(); item;
       item = item->NextSiblingElement()) {
    item->SetText(number++);
    item->SetAttribute(kItemAttribute, kItemNewState);
  }
  return document;
}

const Registration registration(4, {{.library = "TinyXML-2",
                                     .mode = "default",
                                     .version = version(),
                                     .maxDepth = 0,
                                     .parse = parse,
                                     .load = load,
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
