/*
 * NEB XML in C++: a thin wrapper over the C interface in neb_xml.h and over nothing else.
 *
 * Header only, for C++17 and later. A Document owns a tree. A Node and an Attribute are views of
 * one pointer. They are free to copy, and valid as long as the C interface says that the node is.
 * Every call on an empty view returns an empty answer or NEB_XML_ERR_INVALID_PARAM. Failures are
 * values: a Status, or a Result that holds a value or none.
 *
 * One thing may throw: making a std::string, if memory runs out. That is to_string, and every call
 * that passes on a std::string_view of 256 bytes or more. Nothing is changed or leaked then.
 * Without exceptions the program ends there instead.
 *
 * A path, name or value with a NUL in it is NEB_XML_ERR_INVALID_PARAM, since the C interface would
 * end it there.
 *
 * Strings are read as std::optional<std::string_view>: nullopt if there is none. A value
 * that is written empty, as in x="", is read as none. The views are of the node's own string, and
 * valid as long as that is. In setting calls an empty string clears, as in C.
 *
 *   auto document = neb::xml::Document::parse("<config><port>80</port></config>");
 *   if (!document) return report(document.error());
 *   document->root().find("config.port").set(std::uint16_t{8080});
 *   for (neb::xml::Node child : document->root().children()) use(child.name());
 */
#ifndef NEB_XML_HPP
#define NEB_XML_HPP

// Names are written as in the standard library.
// NOLINTBEGIN(readability-identifier-naming)

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "neb_xml.h"

namespace neb::xml {

/**
 * The result code of a call; true when the call succeeded.
 *
 *   if (Status status = node.set("text"); !status) log(status.code());
 */
class Status {
 public:
  /** A code of the C interface, and whether it is NEB_XML_OK. */
  Status(std::uint32_t code) noexcept : code_(code) {}
  explicit operator bool() const noexcept { return code_ == NEB_XML_OK; }
  std::uint32_t code() const noexcept { return code_; }

 private:
  std::uint32_t code_;
};

/** Why a call failed; for a parsed document also where. Line and column count from 1. */
struct Error {
  std::uint32_t code = NEB_XML_OK; /**< Of the C interface. */
  const char *reason = "";         /**< A constant string. */
  std::size_t offset = 0;          /**< In bytes, from 0. */
  std::size_t line = 0;            /**< 0 if there is no position. */
  std::size_t column = 0;          /**< In bytes; 0 if there is no position. */
};

/**
 * A value, or the error that kept it from being made.
 *
 *   Result<int> port = node.get<int>();
 *   listen(port.value_or(80));
 */
template <typename Value>
class Result {
 public:
  /** Holds a value, or an error. */
  Result(Value value) : value_(std::move(value)) {}
  Result(const Error &error) : error_(error) {}

  /** Whether there is a value; the error, which says nothing if there is one. */
  explicit operator bool() const noexcept { return value_.has_value(); }
  const Error &error() const noexcept { return error_; }

  /** The value; only if there is one. */
  Value &operator*() &noexcept { return *value_; }
  const Value &operator*() const &noexcept { return *value_; }
  Value &&operator*() &&noexcept { return std::move(*value_); }
  Value *operator->() noexcept { return &*value_; }
  const Value *operator->() const noexcept { return &*value_; }

  /** The value, or another if there is none. */
  Value value_or(Value other) const { return value_.value_or(std::move(other)); }

 private:
  std::optional<Value> value_;
  Error error_;
};

/** A string of a node; nullopt if it has none. */
using Text = std::optional<std::string_view>;

/** All three strings of a node or attribute, read by one call. */
struct Strings {
  Text prefix; /**< What is before the colon. */
  Text name;   /**< The local name. */
  Text value;  /**< The value of the element or attribute. */
};

template <typename View>
class Info;

namespace detail {

/** A string of the C interface; none if it is null. */
inline Text text_of(const char *text) noexcept {
  return text == nullptr ? Text() : Text(std::string_view(text));
}
/** The same, of known length. */
inline Text text_of(const char *text, std::size_t length) noexcept {
  return text == nullptr ? Text() : Text(std::string_view(text, length));
}

/** The strings in a record of the C interface. */
inline Strings strings_of(const NEB_XML_NODE_INFO &info) noexcept {
  return {text_of(info.prefix, info.prefixLength), text_of(info.name, info.nameLength),
          text_of(info.value, info.valueLength)};
}

/** Whether a string would be cut where it is taken for a terminated one. */
inline bool holds_nul(std::string_view text) noexcept { return text.find('\0') != text.npos; }

/** A string with its terminator; short ones need no allocation. */
class Terminated {
 public:
  explicit Terminated(std::string_view text) : is_whole_(!holds_nul(text)) {
    if (text.size() < sizeof small_) {
      text.copy(small_, text.size());
      small_[text.size()] = '\0';
    } else {
      large_ = text;
    }
  }

  /** Whether the terminator is the only NUL. */
  explicit operator bool() const noexcept { return is_whole_; }

  const char *get() const noexcept { return large_.empty() ? small_ : large_.c_str(); }

 private:
  bool is_whole_;
  std::string large_;
  char small_[256];
};

/** The result of a C call that takes a string. */
template <typename Call>
std::uint32_t with_terminated(std::string_view text, Call call) {
  const Terminated terminated(text);
  return terminated ? call(terminated.get()) : std::uint32_t{NEB_XML_ERR_INVALID_PARAM};
}

/** Frees a string that the C interface has returned. */
struct FreeText {
  /** Null is ignored. */
  void operator()(char *text) const noexcept { NEB_XML_FreeMem(text); }
};

/** How a C++ type is passed to the typed calls of C. */
template <typename Value>
struct Typed;

template <typename Value, std::uint32_t code, typename InC = Value>
struct TypedAs {
  static constexpr std::uint32_t type = code;
  using Variable = InC;
};

template <>
struct Typed<bool> : TypedAs<bool, NEB_XML_VALUE_BOOL, std::uint32_t> {};
template <>
struct Typed<std::int8_t> : TypedAs<std::int8_t, NEB_XML_VALUE_INT8> {};
template <>
struct Typed<std::uint8_t> : TypedAs<std::uint8_t, NEB_XML_VALUE_UINT8> {};
template <>
struct Typed<std::int16_t> : TypedAs<std::int16_t, NEB_XML_VALUE_INT16> {};
template <>
struct Typed<std::uint16_t> : TypedAs<std::uint16_t, NEB_XML_VALUE_UINT16> {};
template <>
struct Typed<std::int32_t> : TypedAs<std::int32_t, NEB_XML_VALUE_INT32> {};
template <>
struct Typed<std::uint32_t> : TypedAs<std::uint32_t, NEB_XML_VALUE_UINT32> {};

/** Names a type only for those that the typed calls take. */
template <typename Value>
using IfTyped = typename Typed<Value>::Variable;

/** A typed value by some call that fills a variable. */
template <typename Value, typename Call>
Result<Value> read_typed(Call call) {
  typename Typed<Value>::Variable variable{};
  const std::uint32_t code = call(Typed<Value>::type, &variable);
  if (code != NEB_XML_OK) return Error{code, "there is no such value of this type"};
  return static_cast<Value>(variable);
}

/** What Node and Attribute have in common. */
class View {
 public:
  /** Nothing, or a node of the C interface. */
  View() = default;
  explicit View(XmlNode *node) noexcept : node_(node) {}

  /** Whether there is a node. */
  explicit operator bool() const noexcept { return node_ != nullptr; }

  /** The node of the C interface; null for an empty view. */
  XmlNode *get() const noexcept { return node_; }

  /** The strings of the node, valid as long as they are there; none of an empty view. */
  Strings strings() const noexcept {
    NEB_XML_NODE_INFO info;
    if (NEB_XML_GetNodeInfo(node_, &info) != NEB_XML_OK) return {};
    return strings_of(info);
  }
  Text prefix() const noexcept {
    const char *prefix = nullptr;
    NEB_XML_GetNodeValue(node_, nullptr, &prefix, nullptr, nullptr);
    return text_of(prefix);
  }
  Text name() const noexcept {
    const char *name = nullptr;
    NEB_XML_GetNodeValue(node_, nullptr, nullptr, &name, nullptr);
    return text_of(name);
  }
  Text value() const noexcept { return strings().value; }

  /** The value as a bool or an integer of 8, 16 or 32 bits, within range and well formed. */
  template <typename Value>
  Result<Value> get_as() const {
    return read_typed<Value>([this](std::uint32_t type, void *variable) {
      return NEB_XML_GetNodeValueEx(node_, type, variable);
    });
  }

  /** Sets the value; an empty string clears it. See NEB_XML_SetNode, NEB_XML_SetNodeValueEx. */
  Status set(std::string_view value) {
    return with_terminated(
        value, [this](const char *text) { return NEB_XML_SetNode(node_, nullptr, nullptr, text); });
  }
  Status set(const char *value) { return NEB_XML_SetNode(node_, nullptr, nullptr, value); }
  template <typename Value, typename = IfTyped<Value>>
  Status set(Value value) {
    const typename Typed<Value>::Variable variable = value;
    return NEB_XML_SetNodeValueEx(node_, Typed<Value>::type, &variable);
  }

 protected:
  XmlNode *node_ = nullptr; /**< Null for an empty view. */
};

/** A forward iterator over views; Step returns what follows one. */
template <typename Item, typename Step>
class Iterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = Item;
  using difference_type = std::ptrdiff_t;
  using reference = Item;

  struct pointer {
    Item item;
    Item *operator->() noexcept { return &item; }
  };

  Iterator() = default;
  Iterator(Item item, Step step) : item_(item), step_(step) {}

  Item operator*() const noexcept { return item_; }
  pointer operator->() const noexcept { return {item_}; }
  Iterator &operator++() {
    item_ = step_(item_);
    return *this;
  }
  Iterator operator++(int) {
    Iterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const Iterator &a, const Iterator &b) noexcept {
    return a.item_.get() == b.item_.get();
  }
  friend bool operator!=(const Iterator &a, const Iterator &b) noexcept { return !(a == b); }

 private:
  Item item_;
  Step step_;
};

/** What range-for and the standard algorithms iterate over. */
template <typename Item, typename Step>
class Range {
 public:
  using iterator = Iterator<Item, Step>;
  Range(Item first, Step step) : first_(first), step_(step) {}
  iterator begin() const { return {first_, step_}; }
  iterator end() const { return {Item(), step_}; }
  bool empty() const noexcept { return !first_; }

 private:
  Item first_;
  Step step_;
};

/** The end of a range of infos. */
struct End {};

/** An iterator that reads each item by one call; Step returns the view of what follows one. */
template <typename View, typename Step>
class InfoIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = Info<View>;
  using difference_type = std::ptrdiff_t;
  using pointer = const value_type *;
  using reference = const value_type &;

  InfoIterator(View first, Step step) noexcept : step_(step) { info_.read(first); }

  reference operator*() const noexcept { return info_; }
  pointer operator->() const noexcept { return &info_; }
  InfoIterator &operator++() noexcept {
    info_.read(step_(info_));
    return *this;
  }
  friend bool operator==(const InfoIterator &a, End) noexcept { return !a.info_; }
  friend bool operator!=(const InfoIterator &a, End) noexcept { return bool(a.info_); }

 private:
  value_type info_;
  Step step_;
};

/** What range-for iterates over. */
template <typename View, typename Step>
class InfoRange {
 public:
  InfoRange(View first, Step step) noexcept : first_(first), step_(step) {}
  InfoIterator<View, Step> begin() const noexcept { return {first_, step_}; }
  End end() const noexcept { return {}; }
  bool empty() const noexcept { return !first_; }

 private:
  View first_;
  Step step_;
};

}  // namespace detail

/**
 * An attribute of an element.
 *
 *   for (Attribute attribute : node.attributes()) print(*attribute.name(), attribute.value());
 */
class Attribute : public detail::View {
 public:
  using View::View;

  /** The value as a bool or an integer of 8, 16 or 32 bits. */
  template <typename Value>
  Result<Value> get() const {
    return get_as<Value>();
  }
  using View::get;

  /** The next attribute of the element; empty after the last. */
  Attribute next() const noexcept { return Attribute(NEB_XML_GetNodeNextSibling(node_)); }

  /** All that one call reads of the attribute; empty of an empty view. */
  Info<Attribute> info() const noexcept;
};

/**
 * An element or a document.
 *
 *   Node server = root.find("config.server.2");
 *   if (server.get<bool>("enabled").value_or(false)) connect(*server.value());
 *   server.append("port")->set(std::uint16_t{8080});
 */
class Node : public detail::View {
  struct NextSibling {
    Node operator()(Node node) const { return node.next(); }
  };
  struct NextNamed {
    std::string_view name;
    Node operator()(Node node) const { return node.next().or_next_named(name); }
  };
  struct NextBefore {
    XmlNode *end = nullptr;  // the first node in document order that is not inside
    Node operator()(Node node) const {
      XmlNode *next = NEB_XML_Iterator(node.get());
      return Node(next == end ? nullptr : next);
    }
  };
  struct NextAttribute {
    Attribute operator()(Attribute attribute) const { return attribute.next(); }
  };

 public:
  using View::View;

  /**
   * This node and what is below it as a document, with indent spaces for each level: 0 to 16. It
   * parses to the same tree; what no document can hold is NEB_XML_ERR_INVALID_PARAM. See
   * NEB_XML_TransformIndented.
   */
  Result<std::string> to_string(std::uint32_t indent = 0) const {
    char *text = nullptr;
    const std::uint32_t code = NEB_XML_TransformIndented(node_, indent, &text);
    if (code != NEB_XML_OK) return Error{code, "the node cannot be printed"};
    const std::unique_ptr<char, detail::FreeText> owner(text);
    return std::string(text);
  }

  /** The neighbours; empty where there is none. */
  Node parent() const noexcept { return Node(NEB_XML_GetNodeParent(node_)); }
  Node first_child() const noexcept { return Node(NEB_XML_GetNodeFirstChild(node_)); }
  Node last_child() const noexcept { return Node(NEB_XML_GetNodeLastChild(node_)); }
  Node next() const noexcept { return Node(NEB_XML_GetNodeNextSibling(node_)); }
  Node previous() const noexcept { return Node(NEB_XML_GetNodePrevSibling(node_)); }

  /** All that one call reads of the node; empty of an empty view. */
  Info<Node> info() const noexcept;

  /** The children; those with a local name, which must outlive the range; all nodes below. */
  auto children() const { return detail::Range<Node, NextSibling>(first_child(), {}); }
  auto children(std::string_view name) const {
    return detail::Range<Node, NextNamed>(first_child().or_next_named(name), {name});
  }
  auto descendants() const {
    return detail::Range<Node, NextBefore>(first_child(), {after_subtree().get()});
  }

  /** Makes a new element in this tree's own storage, as last child, first child, or sibling. */
  Result<Node> append(std::string_view name) { return make(name, NEB_XML_AppendChildNode); }
  Result<Node> prepend(std::string_view name) { return make(name, NEB_XML_AddFirstChildNode); }
  Result<Node> insert_after(std::string_view name) {
    return make(name, NEB_XML_AddNextSiblingNode);
  }
  Result<Node> insert_before(std::string_view name) {
    return make(name, NEB_XML_AddPrevSiblingNode);
  }

  /**
   * Removes this node from its tree and frees it; the view is empty afterwards. A document without
   * a parent is freed by its Document: NEB_XML_ERR_INVALID_PARAM, and nothing is changed.
   */
  Status remove() noexcept {
    if (node_ == nullptr || is_lone_document()) return NEB_XML_ERR_INVALID_PARAM;
    NEB_XML_FreeNode(std::exchange(node_, nullptr));
    return NEB_XML_OK;
  }

  /** The attributes, in their order; the first of them. */
  auto attributes() const { return detail::Range<Attribute, NextAttribute>(first_attribute(), {}); }
  Attribute first_attribute() const noexcept {
    const char *ignored = nullptr;
    XmlNode *cursor = nullptr;
    NEB_XML_GetFirstAttrEx(node_, &ignored, &ignored, &ignored, &cursor);
    return Attribute(cursor);
  }

  /** An attribute's value. No string if there is no such attribute or it has no value. */
  Text attribute(const char *name) const noexcept { return attribute(nullptr, name); }
  Text attribute(const char *prefix, const char *name) const noexcept {
    const char *value = nullptr;
    NEB_XML_GetAttr(node_, prefix, name, &value);
    return detail::text_of(value);
  }

  /** Sets an attribute, which is added if it is missing. */
  Status set_attribute(const char *name, std::string_view value, const char *prefix = nullptr) {
    return detail::with_terminated(value, [&](const char *text) {
      const std::uint32_t code = NEB_XML_SetAttr(node_, prefix, name, text);
      return code == NEB_XML_ERR_NOT_FOUND ? NEB_XML_AddAttr(node_, prefix, name, text) : code;
    });
  }
  Status set_attribute(const char *name, const char *value, const char *prefix = nullptr) {
    return set_attribute(name, std::string_view(value == nullptr ? "" : value), prefix);
  }
  template <typename Value, typename = detail::IfTyped<Value>>
  Status set_attribute(const char *name, Value value, const char *prefix = nullptr) {
    const typename detail::Typed<Value>::Variable variable = value;
    return NEB_XML_SetAttrValueEx(node_, prefix, name, detail::Typed<Value>::type, &variable);
  }

  /** Removes an attribute from the element and frees it. */
  Status remove_attribute(const char *name, const char *prefix = nullptr) {
    return NEB_XML_RemoveAttr(node_, prefix, name);
  }

  /** Changes the local name, or the prefix; an empty string clears it. */
  Status set_name(std::string_view name) {
    return detail::with_terminated(
        name, [this](const char *text) { return NEB_XML_SetNode(node_, nullptr, text, nullptr); });
  }
  Status set_prefix(std::string_view prefix) {
    return detail::with_terminated(prefix, [this](const char *text) {
      return NEB_XML_SetNode(node_, text, nullptr, nullptr);
    });
  }

  /** The node's value, or an attribute's, as a bool or an integer of 8, 16 or 32 bits. */
  template <typename Value>
  Result<Value> get() const {
    return get_as<Value>();
  }
  template <typename Value>
  Result<Value> get(const char *attribute, const char *prefix = nullptr) const {
    return detail::read_typed<Value>([&](std::uint32_t type, void *variable) {
      return NEB_XML_GetAttrValueEx(node_, prefix, attribute, type, variable);
    });
  }
  using View::get;

  /** The node that a path finds, this node's name being its first segment; empty if none. */
  Node find(std::string_view path) const {
    XmlNode *found = nullptr;
    detail::with_terminated(path, [&](const char *text) {  // finds nothing if there is no such path
      return NEB_XML_GetNodeByUrl(node_, text, &found);
    });
    return Node(found);
  }

  /** Appends a copy of a node of any tree, with all that is below it. */
  Result<Node> append_copy(Node source) {
    return insert_copy(source.get(), NEB_XML_AppendChildNode);
  }

 private:
  template <typename View>
  friend class Info;

  using Insertion = std::uint32_t (*)(XmlNode *, XmlNode *);

  // With siblings too, as the first of several top-level elements.
  bool is_lone_document() const noexcept {
    std::int32_t type = NEB_XML_NODE_ELEMENT;
    NEB_XML_GetNodeValue(node_, &type, nullptr, nullptr, nullptr);
    return type == NEB_XML_NODE_DOCUMENT && !parent();
  }

  Node after_subtree() const noexcept {
    Node node = *this;
    while (node && !node.next()) node = node.parent();
    return node.next();
  }

  Node or_next_named(std::string_view name) const {
    Node node = *this;
    while (node && node.name() != name) node = node.next();
    return node;
  }

  Result<Node> make(std::string_view name, Insertion insert) {
    XmlNode *pattern = nullptr;
    const std::uint32_t code = detail::with_terminated(name, [&](const char *text) {
      return NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, text, nullptr, &pattern);
    });
    if (code != NEB_XML_OK) return Error{code, "the element cannot be made"};
    Result<Node> inserted = insert_copy(pattern, insert);
    NEB_XML_FreeNode(pattern);
    return inserted;
  }

  Result<Node> insert_copy(const XmlNode *source, Insertion insert) {
    XmlNode *copy = nullptr;
    std::uint32_t code = NEB_XML_ImportNode(node_, source, &copy);
    if (code == NEB_XML_OK) code = insert(node_, copy);
    if (code == NEB_XML_OK) return Node(copy);
    NEB_XML_FreeNode(copy);
    return Error{code, "the element cannot be put there"};
  }
};

/**
 * A node or an attribute as one call reads it: the answers stay as they are when the tree is edited.
 * The ranges read each item by one call as well. They are meant for range-for loops only.
 *
 *   for (const auto &item : list.info().children()) {
 *     for (const auto &attribute : item.attributes()) print(*attribute.name(), attribute.value());
 *   }
 */
template <typename View>
class Info {
 public:
  /** What an empty view has: nothing. */
  explicit Info(View view) noexcept {
    read(view);
    if (!view) info_ = {};
  }

  /** What was read, and whether there was a node. */
  View view() const noexcept { return view_; }
  explicit operator bool() const noexcept { return bool(view_); }

  /** The strings, valid as long as they are the node's; none of an empty view. */
  Strings strings() const noexcept { return detail::strings_of(info_); }
  Text prefix() const noexcept { return detail::text_of(info_.prefix, info_.prefixLength); }
  Text name() const noexcept { return detail::text_of(info_.name, info_.nameLength); }
  Text value() const noexcept { return detail::text_of(info_.value, info_.valueLength); }

  /** The neighbours; empty where there is none. */
  Node parent() const noexcept { return Node(info_.parent); }
  View next() const noexcept { return View(info_.nextSibling); }
  Node first_child() const noexcept { return Node(info_.firstChild); }
  Attribute first_attribute() const noexcept { return Attribute(info_.firstAttribute); }

  /** The children; all nodes below; the attributes. */
  auto children() const { return detail::InfoRange<Node, Next>(first_child(), {}); }
  auto descendants() const {
    XmlNode *end = first_child() ? first_child().parent().after_subtree().get() : nullptr;
    return detail::InfoRange<Node, NextBefore>(first_child(), {end});
  }
  auto attributes() const { return detail::InfoRange<Attribute, Next>(first_attribute(), {}); }

 private:
  struct Next {
    template <typename Item>
    Item operator()(const Info<Item> &item) const noexcept {
      return item.next();
    }
  };
  struct NextBefore {
    XmlNode *end = nullptr;  // the first node in document order that is not inside
    Node operator()(const Info<Node> &info) const noexcept {
      if (info.first_child()) return info.first_child();
      XmlNode *next = info.next() ? info.next().get() : NEB_XML_Iterator(info.view().get());
      return Node(next == end ? nullptr : next);
    }
  };

  template <typename, typename>
  friend class detail::InfoIterator;

  Info() = default;
  void read(View view) noexcept {
    view_ = view;
    if (view) NEB_XML_GetNodeInfo(view.get(), &info_);
  }

  View view_;
  NEB_XML_NODE_INFO info_;  // not read if there is no node: a loop ends there
};

inline Info<Attribute> Attribute::info() const noexcept { return Info<Attribute>(*this); }
inline Info<Node> Node::info() const noexcept { return Info<Node>(*this); }

/**
 * A document and everything in it; moves, and frees what it owns.
 *
 *   auto document = Document::parse_file("device.xml");
 *   if (!document) std::printf("%zu: %s\n", document.error().line, document.error().reason);
 *   document->save("device.xml", 2);
 */
class Document {
 public:
  Document() = default;

  /** Moves: the other document is empty afterwards. */
  Document(Document &&other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
  Document &operator=(Document &&other) noexcept {
    if (this == &other) return *this;
    NEB_XML_FreeNode(node_);
    node_ = std::exchange(other.node_, nullptr);
    return *this;
  }

  /** Frees the document and what is in it. */
  ~Document() { NEB_XML_FreeNode(node_); }

  /** Parses a document, which need not be terminated, into one with a memory session. */
  static Result<Document> parse(std::string_view text) {
    XmlNode *node = nullptr;
    NEB_XML_PARSE_ERROR error;
    const std::uint32_t code =
        NEB_XML_ParseBuffer(text.data(), text.size(), NEB_XML_PARSE_SESSION, &node, &error);
    return made(code, node, error);
  }

  /** Parses a file, read through the file hooks, into a document with a memory session. */
  static Result<Document> parse_file(const std::string &path) {
    XmlNode *node = nullptr;
    if (detail::holds_nul(path)) {
      return Error{NEB_XML_ERR_INVALID_PARAM, "the path holds a NUL"};
    }
    NEB_XML_PARSE_ERROR error;
    const std::uint32_t code =
        NEB_XML_ParseFileInfo(path.c_str(), NEB_XML_PARSE_SESSION, &node, &error);
    return made(code, node, error);
  }

  /** The document as a string, as Node::to_string returns it. */
  Result<std::string> to_string(std::uint32_t indent = 0) const { return root().to_string(indent); }

  /**
   * Replaces a file atomically by what to_string returns; what no document can hold is
   * NEB_XML_ERR_INVALID_PARAM before anything is written. See NEB_XML_SaveFile.
   */
  Status save(const std::string &path, std::uint32_t indent = 0) const {
    if (detail::holds_nul(path)) return NEB_XML_ERR_INVALID_PARAM;
    return NEB_XML_SaveFile(node_, path.c_str(), indent);
  }

  /** A new document, with a memory session, whose root element has a name. */
  static Result<Document> create(std::string_view name) {
    XmlNode *node = nullptr;
    const std::uint32_t code = detail::with_terminated(name, [&](const char *text) {
      return NEB_XML_CreateNodeEx(0, NEB_XML_NODE_DOCUMENT, nullptr, text, nullptr, &node);
    });
    if (code != NEB_XML_OK) return Error{code, "the document cannot be made"};
    return Document(node);
  }

  /** Whether there is a document. */
  explicit operator bool() const noexcept { return node_ != nullptr; }

  /** The document node, which is the root element. */
  Node root() const noexcept { return Node(node_); }

  /** A copy with a memory session of its own. */
  Result<Document> clone() const {
    XmlNode *copy = nullptr;
    const std::uint32_t code = NEB_XML_CloneNode(node_, &copy);
    if (code != NEB_XML_OK) return Error{code, "the document cannot be copied"};
    return Document(copy);
  }

 private:
  explicit Document(XmlNode *node) noexcept : node_(node) {}

  static Result<Document> made(std::uint32_t code, XmlNode *node,
                               const NEB_XML_PARSE_ERROR &error) {
    if (code == NEB_XML_OK) return Document(node);
    return Error{code, error.reason, error.offset, error.line, error.column};
  }

  XmlNode *node_ = nullptr;
};

}  // namespace neb::xml

// NOLINTEND(readability-identifier-naming)

#endif
