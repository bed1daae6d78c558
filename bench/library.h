// The interface through which every library is measured. Each file in libraries/ fills in one or
// more Subjects and registers them. To add a library, add a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

using Document = void *;

// What a tree holds. White space is not counted, because libraries keep different parts of it.
struct Census {
  size_t elements = 0;
  size_t attributes = 0;
  size_t characters = 0;  // of names, values and texts
  uint64_t sum = 0;       // of these characters

  bool operator==(const Census &) const = default;
};

// The two visitors of a walk. Both see all elements, attributes and strings.
struct CensusVisitor {
  Census census;

  void element() { ++census.elements; }
  void attribute() { ++census.attributes; }
  void string(const char *text) {
    for (; text != nullptr && *text != '\0'; ++text) {
      const auto character = static_cast<unsigned char>(*text);
      if (character <= ' ') continue;
      ++census.characters;
      census.sum += character;
    }
  }
  void qualified(const char *prefix, const char *name) {
    if (prefix != nullptr && *prefix != '\0') {
      string(prefix);
      string(":");
    }
    string(name);
  }
};

// Reads the first byte of every string.
struct TouchVisitor {
  size_t sum = 0;

  void element() { ++sum; }
  void attribute() { ++sum; }
  void string(const char *text) {
    if (text != nullptr) sum += static_cast<unsigned char>(*text);
  }
  void qualified(const char *prefix, const char *name) {
    string(prefix);
    string(name);
  }
};

// One step down: the index-th child of that name, from 1. The first step is the root itself.
struct Step {
  std::string name;
  size_t index;
};

struct Path {
  std::string text;  // as in "orders.order.12.note"
  std::vector<Step> steps;
};

// A library in one of its modes. An operation is null if the library does not offer it, or if only
// the fastest mode is measured.
struct Subject {
  std::string library;
  std::string mode;
  std::string version;
  size_t maxDepth;         // deeper documents would overflow its stack; 0: none do
  bool isWrapper = false;  // around a library whose parsing is measured already

  Document (*parse)(const std::string &input) = nullptr;  // null if not accepted
  Document (*load)(const char *path) = nullptr;           // by the library's own call for files
  void (*release)(Document) = nullptr;
  Census (*inspect)(Document) = nullptr;
  size_t (*walk)(Document) = nullptr;                         // with a TouchVisitor
  size_t (*print)(Document, std::string *keep) = nullptr;     // to memory; the length
  Document (*clone)(Document) = nullptr;                      // with strings of its own
  const char *(*find)(Document, const Path &path) = nullptr;  // the text of the node found
  // Finds an attribute by name in each child of the root; a sum over the first characters.
  size_t (*readAttribute)(Document, const char *name) = nullptr;
  int64_t (*addNumbers)(Document) = nullptr;  // the texts of the root's children

  // Makes a document and appends count children, each with a text and an attribute; then gives
  // each another attribute value and a number as its text, from 0 upwards.
  Document (*edit)(size_t count) = nullptr;

  std::string id() const { return library + "/" + mode; }
};

// All subjects, sorted by rank and then as registered.
struct Registration {
  Registration(int rank, std::vector<Subject> subjects);
};

const std::vector<Subject> &subjects();

// The first of them, which the others are compared with.
Subject nebXmlSession();

// The strings that edit() uses.
inline constexpr const char *kListName = "list";
inline constexpr const char *kItemName = "item";
inline constexpr const char *kItemText = "inserted";
inline constexpr const char *kItemAttribute = "state";
inline constexpr const char *kItemOldState = "new";
inline constexpr const char *kItemNewState = "changed";

// Document order without recursion, over any tree whose Moves name child, next and parent.
template <class Moves, class Node, class Enter>
void forEachNode(Node root, Enter enter) {
  for (Node node = root;;) {
    enter(node);
    Node next = Moves::child(node);
    while (!next && node != root) {
      next = Moves::next(node);
      if (!next) node = Moves::parent(node);
    }
    if (!next) return;
    node = next;
  }
}

// Follows a path from the document's root, with Moves::named and Moves::nextNamed.
template <class Moves, class Node>
Node findNode(Node root, const Path &path) {
  Node node = root;
  for (size_t i = 1; node && i < path.steps.size(); ++i) {
    const Step &step = path.steps[i];
    node = Moves::named(node, step.name.c_str());
    for (size_t n = 1; node && n < step.index; ++n)
      node = Moves::nextNamed(node, step.name.c_str());
  }
  return node;
}

}  // namespace bench
