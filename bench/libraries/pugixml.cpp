// default: load_buffer, which copies the input. fastest: parsed in place in a copy that is
// made first, no conversion of line ends, texts kept in their elements.
#include <cstring>
#include <pugixml.hpp>

#include "library.h"

namespace {

using namespace bench;

constexpr unsigned kFastest =
    pugi::parse_minimal | pugi::parse_cdata | pugi::parse_escapes | pugi::parse_embed_pcdata;

std::string version() {
  const auto version = static_cast<unsigned>(PUGIXML_VERSION);
  return std::to_string(version / 1000) + "." + std::to_string(version % 1000 / 10);
}

pugi::xml_document &tree(Document document) { return *static_cast<pugi::xml_document *>(document); }
pugi::xml_node root(Document document) { return tree(document).document_element(); }

Document finish(pugi::xml_document *document, const pugi::xml_parse_result &result) {
  if (result) return document;
  delete document;
  return nullptr;
}

Document parseDefault(const std::string &input) {
  auto *document = new pugi::xml_document;
  return finish(document, document->load_buffer(input.data(), input.size()));
}

Document parseFastest(const std::string &input) {
  auto *document = new pugi::xml_document;
  void *copy = pugi::get_memory_allocation_function()(input.size());
  std::memcpy(copy, input.data(), input.size());
  return finish(document, document->load_buffer_inplace_own(copy, input.size(), kFastest,
                                                            pugi::encoding_utf8));
}

Document loadDefault(const char *path) {
  auto *document = new pugi::xml_document;
  return finish(document, document->load_file(path));
}

Document loadFastest(const char *path) {
  auto *document = new pugi::xml_document;
  return finish(document, document->load_file(path, kFastest, pugi::encoding_utf8));
}

void release(Document document) { delete &tree(document); }

struct Moves {
  static pugi::xml_node child(pugi::xml_node node) { return node.first_child(); }
  static pugi::xml_node next(pugi::xml_node node) { return node.next_sibling(); }
  static pugi::xml_node parent(pugi::xml_node node) { return node.parent(); }
  static pugi::xml_node named(pugi::xml_node node, const char *name) { return node.child(name); }
  static pugi::xml_node nextNamed(pugi::xml_node node, const char *name) {
    return node.next_sibling(name);
  }
};

template <class Visitor>
void visit(Document document, Visitor &visitor) {
  forEachNode<Moves>(root(document), [&](pugi::xml_node node) {
    if (node.type() == pugi::node_element) {
      visitor.element();
      visitor.string(node.name());
      for (pugi::xml_attribute attribute : node.attributes()) {
        visitor.attribute();
        visitor.string(attribute.name());
        visitor.string(attribute.value());
      }
    }
    visitor.string(node.value());
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

struct StringWriter : pugi::xml_writer {
  std::string text;
  void write(const void *data, size_t size) override {
    text.append(static_cast<const char *>(data), size);
  }
};

size_t print(Document document, std::string *keep) {
  StringWriter writer;
  tree(document).save(writer, "", pugi::format_raw | pugi::format_no_declaration,
                      pugi::encoding_utf8);
  if (keep) *keep = writer.text;
  return writer.text.size();
}

Document clone(Document document) {
  auto *copy = new pugi::xml_document;
  copy->reset(tree(document));
  return copy;
}

const char *find(Document document, const Path &path) {
  return findNode<Moves>(root(document), path).child_value();
}

size_t readAttribute(Document document, const char *name) {
  TouchVisitor visitor;
  for (pugi::xml_node child : root(document)) visitor.string(child.attribute(name).value());
  return visitor.sum;
}

int64_t addNumbers(Document document) {
  int64_t sum = 0;
  for (pugi::xml_node child : root(document)) sum += child.text().as_int();
  return sum;
}

Document edit(size_t count) {
  auto *document = new pugi::xml_document;
  pugi::xml_node list = document->append_child(kListName);
  for (size_t i = 0; i < count; ++i) {
    pugi::xml_node item = list.append_child(kItemName);
    item.append_attribute(kItemAttribute) = kItemOldState;
    item.text() = kItemText;
  }
  int number = 0;
  for (pugi::xml_node item : list) {
    item.text() = number++;
    item.attribute(kItemAttribute) = kItemNewState;
  }
  return document;
}

const Registration registration(2, {{.library = "pugixml",
                                     .mode = "default",
                                     .version = version(),
                                     .maxDepth = 0,
                                     .parse = parseDefault,
                                     .load = loadDefault,
                                     .release = release,
                                     .inspect = inspect},
                                    {.library = "pugixml",
                                     .mode = "fastest",
                                     .version = version(),
                                     .maxDepth = 0,
                                     .parse = parseFastest,
                                     .load = loadFastest,
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
