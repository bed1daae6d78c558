// It parses in place in a copy that is made first. default and unchecked take any end tag for any
// start tag; checked compares their names, as the other libraries do.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <optional>
#include <rapidxml/rapidxml.hpp>
#include <rapidxml/rapidxml_print.hpp>
#include <rapidxml/rapidxml_utils.hpp>

#include "library.h"

namespace {

using namespace bench;
using Node = rapidxml::xml_node<>;

struct Tree {
  std::string input;
  std::optional<rapidxml::file<>> file;  // instead of the input
  rapidxml::xml_document<> document;
};

Tree &tree(Document document) { return *static_cast<Tree *>(document); }
Node *root(Document document) { return tree(document).document.first_node(); }

template <int Flags>
Document finish(Tree *tree, char *input) {
  try {
    tree->document.parse<Flags>(input);
    return tree;
  } catch (const rapidxml::parse_error &) {
    delete tree;
    return nullptr;
  }
}

template <int Flags>
Document parse(const std::string &input) {
  auto *tree = new Tree;
  tree->input = input;
  return finish<Flags>(tree, tree->input.data());
}

template <int Flags>
Document load(const char *path) {
  auto *tree = new Tree;
  tree->file.emplace(path);
  return finish<Flags>(tree, tree->file->data());
}

void release(Document document) { delete &tree(document); }

struct Moves {
  static Node *child(Node *node) { return node->first_node(); }
  static Node *next(Node *node) { return node->next_sibling(); }
  static Node *parent(Node *node) { return node->parent(); }
  static Node *named(Node *node, const char *name) { return node->first_node(name); }
  static Node *nextNamed(Node *node, const char *name) { return node->next_sibling(name); }
};

// If an element has data nodes, the text of the first one is also the value of the element.
bool repeatsChild(Node *node) {
  const Node *child = node->first_node();
  return child && child->type() == rapidxml::node_data;
}

template <class Visitor>
void visit(Document document, Visitor &visitor) {
  forEachNode<Moves>(root(document), [&](Node *node) {
    if (node->type() == rapidxml::node_element) {
      visitor.element();
      visitor.string(node->name());
      for (auto *attribute = node->first_attribute(); attribute;
           attribute = attribute->next_attribute()) {
        visitor.attribute();
        visitor.string(attribute->name());
        visitor.string(attribute->value());
      }
      if (repeatsChild(node)) return;
    }
    visitor.string(node->value());
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
  std::string text;
  rapidxml::print(std::back_inserter(text), tree(document).document, rapidxml::print_no_indenting);
  if (keep) *keep = text;
  return text.size();
}

template <class Part>
void ownStrings(rapidxml::memory_pool<> &pool, Part *part) {
  part->name(pool.allocate_string(part->name(), part->name_size() + 1), part->name_size());
  part->value(pool.allocate_string(part->value(), part->value_size() + 1), part->value_size());
}

// clone_node shares the strings of the source.
Document clone(Document document) {
  auto *copy = new Tree;
  Node *top = copy->document.clone_node(root(document));
  copy->document.append_node(top);
  forEachNode<Moves>(top, [copy](Node *node) {
    ownStrings(copy->document, node);
    for (auto *attribute = node->first_attribute(); attribute;
         attribute = attribute->next_attribute()) {
      ownStrings(copy->document, attribute);
    }
  });
  return copy;
}

const char *find(Document document, const Path &path) {
  const Node *found = findNode<Moves>(root(document), path);
  return found ? found->value() : nullptr;
}

size_t readAttribute(Document document, const char *name) {
  TouchVisitor visitor;
  for (Node *child = root(document)->first_node(); child; child = child->next_sibling()) {
    const rapidxml::xml_attribute<> *attribute = child->first_attribute(name);
    if (attribute) visitor.string(attribute->value());
  }
  return visitor.sum;
}

int64_t addNumbers(Document document) {
  int64_t sum = 0;
  for (Node *child = root(document)->first_node(); child; child = child->next_sibling()) {
    int32_t number = 0;
    std::from_chars(child->value(), child->value() + child->value_size(), number);
    sum += number;
  }
  return sum;
}

Document edit(size_t count) {
  auto *made = new Tree;
  rapidxml::xml_document<> &pool = made->document;
  const auto own = [&pool](const char *text) { return pool.allocate_string(text); };
  Node *list = pool.allocate_node(rapidxml::node_element, own(kListName));
  pool.append_node(list);
  for (size_t i = 0; i < count; ++i) {
    Node *item = pool.allocate_node(rapidxml::node_element, own(kItemName), own(kItemText));
    item->append_attribute(pool.allocate_attribute(own(kItemAttribute), own(kItemOldState)));
    list->append_node(item);
  }
  int number = 0;
  for (Node *item = list->first_node(); item; item = item->next_sibling()) {
    char text[16];
    *std::to_chars(std::begin(text), std::end(text) - 1, number++).ptr = '\0';
    item->value(own(text));
    item->first_attribute(kItemAttribute)->value(own(kItemNewState));
  }
  return made;
}

// Its recursion takes less than 500 bytes a level.
constexpr size_t kMaxDepth = 10000;

constexpr int kUnchecked = rapidxml::parse_no_data_nodes;
constexpr int kChecked = kUnchecked | rapidxml::parse_validate_closing_tags;

template <int Flags>
Subject parser(const char *mode) {
  return {.library = "RapidXML",
          .mode = mode,
          .version = BENCH_RAPIDXML_VERSION,
          .maxDepth = kMaxDepth,
          .parse = parse<Flags>,
          .load = load<Flags>,
          .release = release,
          .inspect = inspect};
}

Subject checked() {
  Subject subject = parser<kChecked>("checked");
  subject.walk = walk;
  subject.print = print;
  subject.clone = clone;
  subject.find = find;
  subject.readAttribute = readAttribute;
  subject.addNumbers = addNumbers;
  subject.edit = edit;
  return subject;
}

const Registration registration(3, {parser<rapidxml::parse_default>("default"),
                                    parser<kUnchecked>("unchecked"), checked()});

}  // namespace
