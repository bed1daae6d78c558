/*
 * NEB XML in C++: a thin wrapper over the C interface in neb_xml.h and over nothing else.
 *
 * Header only, for C++17 and later. A Document owns a tree. A Node and an Attribute are views of
 * one pointer. They are free to copy, and valid as long as the C interface says that the node is. A
 * const Document hands out a ConstNode, which reads but cannot edit, and a temporary one hands out
 * none. Every call on an empty view returns an empty answer or an error.
 *
 * Failures are values: a Status, or a Result that holds a value or an Error. What may throw:
 *
 *   - std::bad_alloc, from a call that makes or fills a std::string or std::vector, if memory runs
 *     out;
 *   - BadResult, from Result::value and Result::value_or only;
 *   - what a sink or stream throws that a document is printed to.
 *
 * Nothing leaks then, and no document is changed. Without exceptions, value and value_or are not
 * declared, and the program ends where a std::string or std::vector cannot be made.
 *
 * Names are whole names: "p:port" has the prefix p and the local name port. A name without a colon
 * finds elements by their local name, whatever the prefix, as in paths, and attributes without a
 * prefix. New names must not be empty. A NUL in a path, name or value is an error, since the C
 * interface would end the string there.
 *
 * Strings are read as std::optional<std::string_view>: nullopt if there is none. An attribute
 * always has a value, which may be empty. The views are of the node's own string, and valid as long
 * as that is. In setting calls an empty string clears a value or prefix.
 *
 *   auto document = neb::xml::Document::parse("<config><port>80</port></config>");
 *   if (!document) return report(document.error());
 *   neb::xml::Status status = document->root().child("port").set(8080);
 *   for (neb::xml::Node child : document->root().children()) use(child.name());
 */
#ifndef NEB_XML_HPP
#define NEB_XML_HPP

#if __cplusplus < 201703L && !(defined(_MSVC_LANG) && _MSVC_LANG >= 201703L)
#error "neb_xml.hpp requires C++17 or later: compile with -std=c++17 or a later standard"
#else

// Names are written as in the standard library.
// NOLINTBEGIN(readability-identifier-naming)

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "neb_xml.h"

namespace neb::xml {

/** Why a call failed; for a parsed document also where. Line and column count from 1. */
struct Error {
  std::uint32_t code = NEB_XML_OK; /**< Of the C interface. */
  const char *reason = "";         /**< A constant string. */
  std::size_t offset = 0;          /**< In bytes, from 0. */
  std::size_t line = 0;            /**< 0 if there is no position. */
  std::size_t column = 0;          /**< In bytes; 0 if there is no position. */
  int system_error = 0;            /**< The errno of a file call that failed; 0 if none did. */

  const char *what() const noexcept { return reason; }
};

/** What Result::value throws. Its what() is the reason. */
class BadResult : public std::runtime_error {
 public:
  explicit BadResult(const Error &error, const char *what)
      : std::runtime_error(what), error_(error) {}
  const Error &error() const noexcept { return error_; }

 private:
  Error error_;
};

/**
 * The result code of a call; true when the call succeeded.
 *
 *   if (Status status = node.set("text"); !status) log(status.code());
 */
class Status {
 public:
  /** A code of the C interface, and whether it is NEB_XML_OK. */
  Status(std::uint32_t code) noexcept : code_(code) {}
  explicit Status(const Error &error) noexcept : code_(error.code) {}
  explicit operator bool() const noexcept { return code_ == NEB_XML_OK; }
  std::uint32_t code() const noexcept { return code_; }

  /** The code in words: a constant string. */
  const char *reason() const noexcept { return NEB_XML_GetErrorText(code_); }

#ifdef __cpp_exceptions
  /** Throws BadResult if the call failed. */
  void value() const {
    if (code_ != NEB_XML_OK) throw BadResult({code_, reason()}, reason());
  }
#endif

 private:
  std::uint32_t code_;
};

class Attribute;
class ConstAttribute;
class ConstNode;
class DetachedNode;
class Document;
class Node;

/**
 * A value, or the error that kept it from being made.
 *
 *   Result<int> port = node.get<int>("port").if_missing(80);
 *   if (!port) return report(port.error());
 *   listen(*port);
 */
template <typename Value, typename Failure = Error>
class [[nodiscard]] Result {
  static constexpr bool owns_nodes =
      std::is_same_v<Value, Document> || std::is_same_v<Value, DetachedNode>;

 public:
  /** Holds a value, or an error. */
  Result(Value value) : value_(std::move(value)) {}
  Result(Failure error) : error_(std::move(error)) {}

  /** Whether there is a value; the error, which says nothing if there is one. */
  bool has_value() const noexcept { return value_.has_value(); }
  explicit operator bool() const noexcept { return has_value(); }
  const Failure &error() const noexcept { return error_; }

  /** Whether what should be read does not exist. A malformed or empty value does exist. */
  bool is_missing() const noexcept { return !has_value() && error_.code == NEB_XML_ERR_NOT_FOUND; }

  /** The value; only if there is one. A document's nodes end with it: name the result first. */
  Value &operator*() &noexcept { return *value_; }
  const Value &operator*() const &noexcept { return *value_; }
  Value &&operator*() &&noexcept { return std::move(*value_); }
  Value *operator->() &noexcept { return &*value_; }
  const Value *operator->() const &noexcept { return &*value_; }
  template <bool is_owner = owns_nodes, typename = std::enable_if_t<is_owner>>
  const Value *operator->() && = delete;

  /** This result; or one with another value, if what should be read does not exist. */
  Result if_missing(Value other) const & { return is_missing() ? Result(std::move(other)) : *this; }

#ifdef __cpp_exceptions
  /** The value; throws BadResult if there is none. */
  Value &value() & { return *checked(); }
  const Value &value() const & { return *checked(); }
  Value &&value() && { return std::move(*checked()); }

  /**
   * The value, or another if what should be read does not exist. Other errors, such as a malformed
   * value, are not hidden: BadResult is thrown.
   */
  Value value_or(Value other) const & { return is_missing() ? std::move(other) : value(); }
  Value value_or(Value other) && {
    return is_missing() ? std::move(other) : std::move(*this).value();
  }
#endif

  /** The result of a call with the value, or of a call that returns a value; else the error. */
  template <typename Call>
  auto and_then(Call call) const & {
    return chain(*this, call);
  }
  template <typename Call>
  auto and_then(Call call) && {
    return chain(std::move(*this), call);
  }
  template <typename Call>
  auto transform(Call call) const & {
    return map(*this, call);
  }
  template <typename Call>
  auto transform(Call call) && {
    return map(std::move(*this), call);
  }

 private:
  template <typename Self, typename Call>
  static auto chain(Self &&self, Call &call) {
    using Next = decltype(call(*std::forward<Self>(self)));
    return self ? call(*std::forward<Self>(self)) : Next(self.error_);
  }
  template <typename Self, typename Call>
  static auto map(Self &&self, Call &call) {
    using Next = Result<std::decay_t<decltype(call(*std::forward<Self>(self)))>, Failure>;
    return self ? Next(call(*std::forward<Self>(self))) : Next(self.error_);
  }

#ifdef __cpp_exceptions
  Value *checked() { return has_value() ? &*value_ : throw BadResult(error_, error_.what()); }
  const Value *checked() const {
    return has_value() ? &*value_ : throw BadResult(error_, error_.what());
  }
#endif

  std::optional<Value> value_;
  Failure error_;
};

/** A string of a node; nullopt if it has none. */
using Text = std::optional<std::string_view>;

/** All three strings of a node or attribute, read by one call. */
struct Strings {
  Text prefix; /**< What is before the colon. */
  Text name;   /**< The local name. */
  Text value;  /**< The value of the element or attribute. */
};

/** How a document is printed. See NEB_XML_PRINT_OPTIONS. */
struct PrintOptions {
  std::uint32_t indent = 0;   /**< Spaces for each level, or tabs; 0 to 16. */
  bool tabs = false;          /**< Indents by tabs; needs an indent of 1 or more. */
  bool declaration = false;   /**< Begins with an XML declaration, with the encoding. */
  bool ascii = false;         /**< Writes characters beyond ASCII as references. */
  bool crlf = false;          /**< Ends lines with a carriage return and a line feed. */
  bool one_line = false;      /**< Ends no line but the last. */
  bool end_tags = false;      /**< Writes an empty element as <x></x>. */
  bool final_line_end = true; /**< Ends the last line. */
};

/**
 * Where a node is in a document, and one edit of a document: records of the C interface. Begin with
 * Edit edit = {}, since the fields that are not set must be zero. Its strings are terminated, and
 * must live until edit_bytes returns, as the tree of content must.
 */
using Location = NEB_XML_LOCATION;
using Edit = NEB_XML_EDIT;

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

/** The value in a record of the C interface, where an attribute's empty value is null. */
inline Text value_of(const NEB_XML_NODE_INFO &info) noexcept {
  if (info.value == nullptr && info.type == NEB_XML_NODE_ATTRIBUTE) return std::string_view("");
  return text_of(info.value, info.valueLength);
}

/** The strings in a record of the C interface. */
inline Strings strings_of(const NEB_XML_NODE_INFO &info) noexcept {
  return {text_of(info.prefix, info.prefixLength), text_of(info.name, info.nameLength),
          value_of(info)};
}

/** Whether a string would be cut where it is taken for a terminated one. */
inline bool holds_nul(std::string_view text) noexcept { return text.find('\0') != text.npos; }

/** Names a type only for a string that ends with the expression that makes it. */
template <typename String, typename Bare = std::remove_cv_t<String>>
using IfTemporary =
    std::enable_if_t<std::is_convertible_v<String, std::string_view> &&
                     !std::is_lvalue_reference_v<String> && !std::is_trivially_copyable_v<Bare>>;

/** A name that is looked for, with or without a prefix. */
class WholeName {
 public:
  WholeName() = default;
  explicit WholeName(std::string_view whole) noexcept : whole_(whole), colon_(whole.find(':')) {}

  /** Whether an element has this name. A name without a colon fits any prefix. */
  bool fits(const XmlNode *element) const noexcept {
    if (colon_ != whole_.npos) return fits_with_prefix(element);
    const char *name = nullptr;
    NEB_XML_GetNodeValue(element, nullptr, nullptr, &name, nullptr);
    return name != nullptr && whole_ == name;
  }

 private:
  bool fits_with_prefix(const XmlNode *element) const noexcept {
    const char *prefix = nullptr, *name = nullptr;
    NEB_XML_GetNodeValue(element, nullptr, &prefix, &name, nullptr);
    if (prefix == nullptr || name == nullptr) return name != nullptr && whole_ == name;
    return whole_.substr(0, colon_) == prefix && whole_.substr(colon_ + 1) == name;
  }

  std::string_view whole_;
  std::size_t colon_ = std::string_view::npos;
};

/** How a C++ type is passed to the typed calls of C. */
template <typename Value, typename... Types>
inline constexpr bool is_one_of = (std::is_same_v<Value, Types> || ...);

/** Names a type only for those that the typed calls take: no character, and no float. */
template <typename Value>
using IfTyped = std::enable_if_t<
    is_one_of<Value, bool, signed char, unsigned char, short, unsigned short, int, unsigned, long,
              unsigned long, long long, unsigned long long, double>>;

/** The code of a type. */
template <typename Value, typename = IfTyped<Value>>
constexpr std::uint32_t type_of() noexcept {
  if (std::is_same_v<Value, bool>) return NEB_XML_VALUE_BOOL;
  if (std::is_same_v<Value, double>) return NEB_XML_VALUE_DOUBLE;
  constexpr bool is_signed = std::is_signed_v<Value>;
  switch (sizeof(Value)) {
    case sizeof(std::int8_t):
      return is_signed ? NEB_XML_VALUE_INT8 : NEB_XML_VALUE_UINT8;
    case sizeof(std::int16_t):
      return is_signed ? NEB_XML_VALUE_INT16 : NEB_XML_VALUE_UINT16;
    case sizeof(std::int32_t):
      return is_signed ? NEB_XML_VALUE_INT32 : NEB_XML_VALUE_UINT32;
    default:
      return is_signed ? NEB_XML_VALUE_INT64 : NEB_XML_VALUE_UINT64;
  }
}

/** The variable that the C interface fills for a type. */
template <typename Value>
using Variable = std::conditional_t<std::is_same_v<Value, bool>, std::uint32_t, Value>;

/** A path with its terminator, as long as the C interface takes one. */
class Path {
 public:
  Path &add(std::string_view part) noexcept {
    is_usable_ = is_usable_ && part.size() <= longest - length_ && !holds_nul(part);
    if (is_usable_) length_ += part.copy(bytes_ + length_, part.size());
    return *this;
  }
  Path &add_escaped(std::string_view name) noexcept {
    for (std::size_t dot = name.find('.'); dot != name.npos; dot = name.find('.')) {
      add(name.substr(0, dot)).add("\\.");
      name.remove_prefix(dot + 1);
    }
    return add(name);
  }

  /** The path; null if it is too long or holds a NUL. */
  const char *get() const noexcept { return is_usable_ ? bytes_ : nullptr; }

 private:
  static constexpr std::size_t longest = 511;
  bool is_usable_ = true;
  std::size_t length_ = 0;
  char bytes_[longest + 1] = {};
};

/** Whether a node of the C interface is an attribute. */
inline bool is_attribute(const XmlNode *node) noexcept {
  std::int32_t type = NEB_XML_NODE_ELEMENT;
  NEB_XML_GetNodeValue(node, &type, nullptr, nullptr, nullptr);
  return type == NEB_XML_NODE_ATTRIBUTE;
}

/** The error of a code. */
inline Error error_of(std::uint32_t code) noexcept { return {code, NEB_XML_GetErrorText(code)}; }

/** Whatever frees a node of the C interface. */
class Owner {
 public:
  Owner() = default;
  Owner(Owner &&other) noexcept : node_(other.release_node()) {}
  Owner &operator=(Owner &&other) noexcept {
    if (this == &other) return *this;
    NEB_XML_FreeNode(node_);
    node_ = other.release_node();
    return *this;
  }
  ~Owner() { NEB_XML_FreeNode(node_); }

  /** Whether there is a node. */
  explicit operator bool() const noexcept { return node_ != nullptr; }

 protected:
  explicit Owner(XmlNode *node) noexcept : node_(node) {}
  XmlNode *release_node() noexcept { return std::exchange(node_, nullptr); }

  XmlNode *node_ = nullptr;
};

/** A typed value of a node; NEB_XML_ERR_NOT_FOUND if there is no node. */
template <typename Value>
Result<Value> read_typed(const XmlNode *node) noexcept {
  Variable<Value> variable{};
  const std::uint32_t code = NEB_XML_ReadValue(node, type_of<Value>(), &variable);
  if (code != NEB_XML_OK) return error_of(code);
  return static_cast<Value>(variable);
}

/** The options of the C interface. */
inline NEB_XML_PRINT_OPTIONS in_c_of(const PrintOptions &options) noexcept {
  NEB_XML_PRINT_OPTIONS in_c = {};
  in_c.size = sizeof in_c;
  in_c.indent = options.indent;
  const auto add = [&in_c](bool is_set, std::uint32_t flag) { in_c.flags |= is_set ? flag : 0; };
  add(options.tabs, NEB_XML_PRINT_TABS);
  add(options.declaration, NEB_XML_PRINT_DECLARATION);
  add(options.ascii, NEB_XML_PRINT_ASCII);
  add(options.crlf, NEB_XML_PRINT_CRLF);
  add(options.one_line, NEB_XML_PRINT_ONE_LINE);
  add(options.end_tags, NEB_XML_PRINT_END_TAGS);
  add(!options.final_line_end, NEB_XML_PRINT_NO_FINAL_LINE_END);
  return in_c;
}

/** Whether a call with a part of a document returns exactly this type. */
template <typename Answer, typename Sink, typename = void>
inline constexpr bool answers_with = false;
template <typename Answer, typename Sink>
inline constexpr bool
    answers_with<Answer, Sink, std::enable_if_t<std::is_invocable_v<Sink &, std::string_view>>> =
        std::is_same_v<Answer, std::invoke_result_t<Sink &, std::string_view>>;

/** Hands a part of a document to a string, a call or a stream. */
template <typename Sink>
std::uint32_t put(Sink &sink, std::string_view part) {
  if constexpr (std::is_same_v<Sink, std::string>) {
    sink.append(part);
    return NEB_XML_OK;
  } else if constexpr (answers_with<bool, Sink>) {
    return sink(part) ? NEB_XML_OK : NEB_XML_ERR_FILE_WRITE;
  } else if constexpr (answers_with<Status, Sink>) {
    return sink(part).code();
  } else if constexpr (std::is_invocable_v<Sink &, std::string_view>) {
    using Answer = std::invoke_result_t<Sink &, std::string_view>;
    static_assert(!std::is_arithmetic_v<Answer>, "a sink returns nothing, a Status or a bool");
    sink(part);
    return NEB_XML_OK;
  } else {
    sink.write(part.data(), static_cast<std::ptrdiff_t>(part.size()));
    return sink ? NEB_XML_OK : NEB_XML_ERR_FILE_WRITE;
  }
}

/** A document on its way to a sink. No exception passes through the C interface. */
template <typename Sink>
class Writing {
 public:
  explicit Writing(Sink &sink) noexcept : sink_(sink) {}

  /** The result of a call that writes, with a sink of the C interface and its context. */
  template <typename Call>
  Status run(Call call) {
    const std::uint32_t code = call(take, this);
#ifdef __cpp_exceptions
    if (thrown_) std::rethrow_exception(thrown_);
#endif
    return code;
  }

 private:
  static std::uint32_t take(void *context, const char *bytes, std::size_t length) noexcept {
    auto &self = *static_cast<Writing *>(context);
#ifdef __cpp_exceptions
    try {
      return put(self.sink_, {bytes, length});
    } catch (...) {
      self.thrown_ = std::current_exception();
      return NEB_XML_ERR_FILE_WRITE;
    }
#else
    return put(self.sink_, {bytes, length});
#endif
  }

  Sink &sink_;
#ifdef __cpp_exceptions
  std::exception_ptr thrown_;
#endif
};

/** Whose views a view hands out: those that edit, or those that only read. */
struct Editing {
  using Pointer = XmlNode *;
  using NodeView = Node;
  using AttributeView = Attribute;
};
struct Reading {
  using Pointer = const XmlNode *;
  using NodeView = ConstNode;
  using AttributeView = ConstAttribute;
};

/** What all views have in common; Self is the view. */
template <typename Self, typename Kind>
class View {
 public:
  using Pointer = typename Kind::Pointer;
  using NodeView = typename Kind::NodeView;
  using AttributeView = typename Kind::AttributeView;

  /** Nothing, or a node of the C interface. */
  View() = default;
  explicit View(Pointer node) noexcept : node_(node) {}

  /** Whether there is a node. */
  explicit operator bool() const noexcept { return node_ != nullptr; }

  /** The node of the C interface; null for an empty view. */
  Pointer get() const noexcept { return node_; }

  /** Whether two views are of the same node, or both of none. */
  friend bool operator==(Self a, Self b) noexcept { return a.get() == b.get(); }
  friend bool operator!=(Self a, Self b) noexcept { return a.get() != b.get(); }

  /** All that one call reads; empty of an empty view. */
  Info<Self> info() const noexcept { return Info<Self>(Self(node_)); }

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

  /**
   * The value as a bool, an integer or a double; an Error if there is no node or no value, or if
   * the value is malformed or out of range. See NEB_XML_ReadValue.
   */
  template <typename Value>
  Result<Value> get() const noexcept {
    return read_typed<Value>(node_);
  }

  /**
   * Where this is in the document that it was read from. The caller keeps its bytes: parse_file
   * does not. See NEB_XML_Locate.
   */
  Result<Location> locate(std::string_view document) const noexcept {
    Location location;
    const std::uint32_t code = NEB_XML_Locate(node_, document.data(), document.size(), &location);
    if (code != NEB_XML_OK) return error_of(code);
    return location;
  }

 protected:
  Pointer node_ = nullptr; /**< Null for an empty view. */
};

/** What views add that edit. Edits change the node, not the view. */
template <typename Base>
class Editable : public Base {
 public:
  using Base::Base;

  /** Sets the value; an empty string clears it. A null pointer is an error. */
  [[nodiscard]] Status set(std::string_view value) const noexcept {
    return set_string(NEB_XML_STRING_VALUE, value);
  }
  [[nodiscard]] Status set(const char *value) const noexcept {
    return value == nullptr ? Status(NEB_XML_ERR_INVALID_PARAM) : set(std::string_view(value));
  }
  template <typename Value, typename = IfTyped<Value>>
  [[nodiscard]] Status set(Value value) const noexcept {
    const Variable<Value> variable = value;
    return NEB_XML_WriteValue(this->node_, type_of<Value>(), &variable);
  }

  /** Changes the local name, or the prefix, which an empty string clears. Neither has a colon. */
  [[nodiscard]] Status set_name(std::string_view name) const noexcept {
    return set_string(NEB_XML_STRING_NAME, name);
  }
  [[nodiscard]] Status set_prefix(std::string_view prefix) const noexcept {
    return set_string(NEB_XML_STRING_PREFIX, prefix);
  }

 private:
  Status set_string(std::uint32_t field, std::string_view string) const noexcept {
    return NEB_XML_SetString(this->node_, field, string.data(), string.size());
  }
};

/**
 * A forward iterator over views; Step returns what follows one. If it looks ahead, it knows the
 * next view before it hands out one, so that one may be removed.
 */
template <typename Item, typename Step>
class Iterator {
 public:
  using iterator_concept = std::forward_iterator_tag;
  using iterator_category = std::input_iterator_tag;  // since it makes its items
  using value_type = Item;
  using difference_type = std::ptrdiff_t;
  using reference = Item;

  struct pointer {
    Item item;
    Item *operator->() noexcept { return &item; }
  };

  Iterator() = default;
  Iterator(Item item, Step step) noexcept : item_(item), step_(step) { look_ahead(); }

  Item operator*() const noexcept { return item_; }
  pointer operator->() const noexcept { return {item_}; }
  Iterator &operator++() noexcept {
    item_ = Step::looks_ahead ? next_ : step_(item_);
    look_ahead();
    return *this;
  }
  Iterator operator++(int) noexcept {
    Iterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const Iterator &a, const Iterator &b) noexcept {
    return a.item_ == b.item_;
  }
  friend bool operator!=(const Iterator &a, const Iterator &b) noexcept { return !(a == b); }

 private:
  void look_ahead() noexcept {
    if (Step::looks_ahead) next_ = step_(item_);
  }

  Item item_;
  Item next_;  // empty if it does not look ahead
  Step step_;
};

/** What range-for, the algorithms and the views of the standard library iterate over. */
template <typename Item, typename Step>
class Range {
 public:
  using iterator = Iterator<Item, Step>;
  Range() = default;
  Range(Item first, Step step) noexcept : first_(first), step_(step) {}
  iterator begin() const noexcept { return {first_, step_}; }
  iterator end() const noexcept { return {}; }
  bool empty() const noexcept { return !first_; }

 private:
  Item first_;
  Step step_;
};

/** The steps of the ranges. */
struct NextSibling {
  static constexpr bool looks_ahead = true;

  template <typename Item>
  Item operator()(Item item) const noexcept {
    return Item(NEB_XML_GetNodeNextSibling(item.get()));
  }
};
struct NextNamed {
  static constexpr bool looks_ahead = true;
  WholeName name;

  template <typename Item>
  Item operator()(Item item) const noexcept {
    return first_from(NextSibling()(item));
  }
  template <typename Item>
  Item first_from(Item item) const noexcept {
    while (item && !name.fits(item.get())) item = NextSibling()(item);
    return item;
  }
};
struct NextBefore {
  static constexpr bool looks_ahead = false;  // to a child, which may be removed
  const XmlNode *end = nullptr;               // the first node behind the subtree

  template <typename Item>
  Item operator()(Item item) const noexcept {
    XmlNode *next = NEB_XML_Iterator(item.get());
    return Item(next == end ? nullptr : next);
  }
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

  InfoIterator() = default;
  InfoIterator(View first, Step step) noexcept : step_(step) { info_.read(first); }

  reference operator*() const noexcept { return info_; }
  pointer operator->() const noexcept { return &info_; }
  InfoIterator &operator++() noexcept {
    info_.read(step_(info_));
    return *this;
  }
  InfoIterator operator++(int) noexcept {
    InfoIterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const InfoIterator &a, End) noexcept { return !a.info_; }
  friend bool operator!=(const InfoIterator &a, End) noexcept { return bool(a.info_); }
  friend bool operator==(End, const InfoIterator &a) noexcept { return !a.info_; }
  friend bool operator!=(End, const InfoIterator &a) noexcept { return bool(a.info_); }

 private:
  value_type info_;
  Step step_;
};

/** What range-for and the views of the standard library iterate over. */
template <typename View, typename Step>
class InfoRange {
 public:
  InfoRange() = default;
  InfoRange(View first, Step step) noexcept : first_(first), step_(step) {}
  InfoIterator<View, Step> begin() const noexcept { return {first_, step_}; }
  End end() const noexcept { return {}; }
  bool empty() const noexcept { return !first_; }

 private:
  View first_;
  Step step_;
};

/** What a pattern finds, in document order. The pattern is copied. */
template <typename Item>
class Selection {
 public:
  class iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Item;
    using difference_type = std::ptrdiff_t;
    using pointer = const Item *;
    using reference = const Item &;

    iterator() = default;
    explicit iterator(const Selection &selection) noexcept : selection_(&selection) { ++*this; }

    reference operator*() const noexcept { return item_; }
    pointer operator->() const noexcept { return &item_; }
    iterator &operator++() noexcept {
      selection_->find_next(cursor_);
      item_ = Item(cursor_.node);
      return *this;
    }
    iterator operator++(int) noexcept {
      iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const iterator &a, End) noexcept { return !a.item_; }
    friend bool operator!=(const iterator &a, End) noexcept { return bool(a.item_); }
    friend bool operator==(End, const iterator &a) noexcept { return !a.item_; }
    friend bool operator!=(End, const iterator &a) noexcept { return bool(a.item_); }

   private:
    const Selection *selection_ = nullptr;
    NEB_XML_CURSOR cursor_ = {};
    Item item_;
  };

  Selection() = default;
  Selection(typename Item::Pointer start, std::string_view pattern) noexcept : start_(start) {
    pattern_.add(pattern);
  }
  iterator begin() const noexcept { return iterator(*this); }
  End end() const noexcept { return {}; }
  bool empty() const noexcept { return begin() == end(); }

  /**
   * Why nothing is found, with the offset in the pattern if that is malformed; NEB_XML_OK if
   * something is. Searches up to the first match.
   */
  Error error() const noexcept {
    NEB_XML_CURSOR cursor = {};
    Error error = error_of(find_next(cursor));
    error.offset = cursor.offset;
    return error;
  }

 private:
  std::uint32_t find_next(NEB_XML_CURSOR &cursor) const noexcept {
    const std::uint32_t code = NEB_XML_Select(start_, pattern_.get(), &cursor);
    if (code != NEB_XML_OK || is_attribute(cursor.node) == Item::is_attribute) return code;
    cursor.node = nullptr;
    return NEB_XML_ERR_INVALID_PARAM;
  }

  typename Item::Pointer start_ = nullptr;
  Path pattern_;
};

/** What attributes answer. */
template <typename Self, typename Kind>
class AttributeBase : public View<Self, Kind> {
 public:
  static constexpr bool is_attribute = true;
  using View<Self, Kind>::View;

  /** The element; the next attribute, which is empty after the last. */
  typename Kind::NodeView parent() const noexcept {
    return typename Kind::NodeView(NEB_XML_GetNodeParent(this->node_));
  }
  Self next() const noexcept { return NextSibling()(Self(this->node_)); }
};

/** What elements and documents answer. */
template <typename Self, typename Kind>
class NodeBase : public View<Self, Kind> {
  using AttributeOf = typename Kind::AttributeView;

 public:
  static constexpr bool is_attribute = false;
  using View<Self, Kind>::View;
  using View<Self, Kind>::get;

  /** The neighbours; empty where there is none. */
  Self parent() const noexcept { return Self(NEB_XML_GetNodeParent(this->node_)); }
  Self first_child() const noexcept { return Self(NEB_XML_GetNodeFirstChild(this->node_)); }
  Self last_child() const noexcept { return Self(NEB_XML_GetNodeLastChild(this->node_)); }
  Self next() const noexcept { return Self(NEB_XML_GetNodeNextSibling(this->node_)); }
  Self previous() const noexcept { return Self(NEB_XML_GetNodePrevSibling(this->node_)); }

  /** The first child with a name; empty if there is none. */
  Self child(std::string_view name) const noexcept {
    return NextNamed{WholeName(name)}.first_from(first_child());
  }

  /**
   * The children; those with a name, which must outlive the range; all nodes below. A loop over
   * children or attributes may remove or move the one that it has, but not the next one. A loop
   * over all nodes below may remove and add nodes below the one that it has.
   */
  auto children() const noexcept { return Range<Self, NextSibling>(first_child(), {}); }
  auto children(std::string_view name) const noexcept {
    const NextNamed step{WholeName(name)};
    return Range<Self, NextNamed>(step.first_from(first_child()), step);
  }
  template <typename String, typename = IfTemporary<String>>
  void children(String &&name) const = delete;
  auto descendants() const noexcept {
    return Range<Self, NextBefore>(first_child(), {after_subtree().get()});
  }

  /** The attributes, in their order; the first; the one with a name, empty if there is none. */
  auto attributes() const noexcept {
    return Range<AttributeOf, NextSibling>(first_attribute(), {});
  }
  AttributeOf first_attribute() const noexcept {
    const char *ignored = nullptr;
    XmlNode *cursor = nullptr;
    NEB_XML_GetFirstAttrEx(this->node_, &ignored, &ignored, &ignored, &cursor);
    return AttributeOf(cursor);
  }
  AttributeOf find_attribute(std::string_view name) const noexcept {
    return AttributeOf(NEB_XML_FindAttr(this->node_, name.data(), name.size()));
  }

  /** An attribute's value, which may be empty; nullopt if there is no such attribute. */
  Text attribute(std::string_view name) const noexcept { return find_attribute(name).value(); }
  Text attribute(const char *name) const noexcept {  // decided at compile time for a literal
    return std::strchr(name, ':') == nullptr ? bare_attribute(name)
                                             : attribute(std::string_view(name));
  }

  /** An attribute's value as a bool, an integer or a double. */
  template <typename Value>
  Result<Value> get(std::string_view attribute) const noexcept {
    return find_attribute(attribute).template get<Value>();
  }

  /**
   * The node that a path finds; empty if there is none. The first segment of the path is the name
   * of this node for find, and of a child for at. See NEB_XML_GetNodeByUrl. For at, the name of
   * this node counts as a part of the path, which has at most 511 bytes.
   */
  Self find(std::string_view path) const noexcept { return find(Path().add(path)); }
  Self at(std::string_view path) const noexcept {
    return find(Path().add_escaped(this->name().value_or("")).add(".").add(path));
  }

  /**
   * What a pattern finds, such as "config.**.server[@name=web].port", this node's name being its
   * first segment. Attributes are found by select<Attribute>("**.@port"). What has been handed out
   * last must stay in the tree while the loop goes on. A pattern that is malformed, or finds
   * attributes where nodes are asked for, ends the loop: error() of the selection says why. An
   * iterator refers to its selection, which must outlive it. See NEB_XML_Select.
   */
  template <
      typename Item = Self,
      typename = std::enable_if_t<std::is_same_v<typename Item::Pointer, typename Kind::Pointer>>>
  auto select(std::string_view pattern) const noexcept {
    return Selection<Item>(this->node_, pattern);
  }

  /**
   * Writes this node and what is below it as a document, part by part. The document parses to the
   * same tree; what no document can hold is NEB_XML_ERR_UNWRITABLE. See NEB_XML_Print.
   *
   * sink  a std::string, which grows; a stream, such as a std::ostream, which may still hold bytes
   *       back: flush it, and test it; or what can be called with each part, as std::string_view,
   *       and returns nothing, a Status or whether to go on. A number of bytes does not compile.
   *       What it throws, this function throws.
   */
  template <typename Sink>
  [[nodiscard]] Status print(Sink &&sink, const PrintOptions &options = {}) const {
    const NEB_XML_PRINT_OPTIONS in_c = in_c_of(options);
    return Writing<std::remove_reference_t<Sink>>(sink).run([&](NEB_XML_SINK take, void *context) {
      return NEB_XML_Print(this->node_, &in_c, take, context);
    });
  }

  /** The same as a string; with an indentation only, which is 0 to 16 spaces for each level. */
  Result<std::string> to_string(const PrintOptions &options) const {
    std::string text;
    if (const Status status = print(text, options); !status) return error_of(status.code());
    return Result<std::string>(std::move(text));
  }
  Result<std::string> to_string(std::uint32_t indent = 0) const {
    return to_string(PrintOptions{indent});
  }

  /** Replaces a file atomically by what to_string returns. See NEB_XML_Save. */
  [[nodiscard]] Status save(const std::string &path, const PrintOptions &options) const noexcept {
    if (holds_nul(path)) return NEB_XML_ERR_INVALID_PARAM;
    const NEB_XML_PRINT_OPTIONS in_c = in_c_of(options);
    return NEB_XML_Save(this->node_, path.c_str(), &in_c);
  }
  [[nodiscard]] Status save(const std::string &path, std::uint32_t indent = 0) const noexcept {
    return save(path, PrintOptions{indent});
  }

 private:
  template <typename>
  friend class xml::Info;

  Text bare_attribute(const char *name) const noexcept {
    const char *value = nullptr;
    if (NEB_XML_GetAttr(this->node_, nullptr, name, &value) != NEB_XML_OK) return {};
    return std::string_view(value == nullptr ? "" : value);
  }

  Self find(const Path &path) const noexcept {
    XmlNode *found = nullptr;
    NEB_XML_GetNodeByUrl(this->node_, path.get(), &found);
    return Self(found);
  }

  Self after_subtree() const noexcept {
    Self node(this->node_);
    while (node && !node.next()) node = node.parent();
    return node.next();
  }
};

}  // namespace detail

/**
 * An attribute of an element that only reads.
 *
 *   for (ConstAttribute attribute : node.attributes()) print(*attribute.name(), *attribute.value());
 */
class ConstAttribute : public detail::AttributeBase<ConstAttribute, detail::Reading> {
 public:
  using AttributeBase::AttributeBase;
};

/** An attribute of an element. */
class Attribute : public detail::Editable<detail::AttributeBase<Attribute, detail::Editing>> {
 public:
  using Editable::Editable;

  operator ConstAttribute() const noexcept { return ConstAttribute(node_); }

  /** Removes this attribute from its element and frees it; the view is empty afterwards. */
  Status remove() noexcept;
};

/**
 * An element or a document that only reads.
 *
 *   ConstNode server = root.at("server.2");
 *   if (server.get<bool>("enabled").value_or(false)) connect(server.child("address").value());
 */
class ConstNode : public detail::NodeBase<ConstNode, detail::Reading> {
 public:
  using NodeBase::NodeBase;
};

/**
 * A node that is in no tree, with what is below it. Frees it, unless it is inserted or released.
 * What was detached from a Document must be inserted, released or destroyed before that.
 *
 *   Result<DetachedNode> server = root.at("server.2").detach();
 *   if (server) Status status = root.prepend(std::move(*server));
 */
class DetachedNode : public detail::Owner {
 public:
  DetachedNode() = default;
  /** Takes over a detached node of the C interface. */
  explicit DetachedNode(XmlNode *node) noexcept : Owner(node) {}

  /** The node; not of a temporary, which frees it. Insert the owner, not the view. */
  Node node() const &noexcept;
  Node node() const && = delete;

  /** Hands the node to the caller, who frees it with NEB_XML_FreeNode. */
  XmlNode *release() noexcept { return release_node(); }
};

/**
 * An element or a document.
 *
 *   Node server = root.at("server.2");
 *   if (Result<Node> port = server.append("port")) Status status = port->set(8080);
 */
class Node : public detail::Editable<detail::NodeBase<Node, detail::Editing>> {
 public:
  using Editable::Editable;

  operator ConstNode() const noexcept { return ConstNode(node_); }

  /** Makes a new element in this tree's own storage, as last child, first child, or sibling. */
  Result<Node> append(std::string_view name) const noexcept {
    return make(name, NEB_XML_POSITION_LAST_CHILD);
  }
  Result<Node> prepend(std::string_view name) const noexcept {
    return make(name, NEB_XML_POSITION_FIRST_CHILD);
  }
  Result<Node> insert_after(std::string_view name) const noexcept {
    return make(name, NEB_XML_POSITION_AFTER);
  }
  Result<Node> insert_before(std::string_view name) const noexcept {
    return make(name, NEB_XML_POSITION_BEFORE);
  }

  /**
   * Moves a node here, with all that is below it, from this tree or from another of the same
   * storage. A node of another Document is refused, and nothing is changed: use append_copy. The
   * same holds for a node that this one is or lies below, for a document or a detached node, which
   * its owner would free, and for one below several top-level elements, as NEB_XML_Parse reads
   * them.
   */
  [[nodiscard]] Status append(Node node) const noexcept {
    return move(node, NEB_XML_AppendChildNode);
  }
  [[nodiscard]] Status prepend(Node node) const noexcept {
    return move(node, NEB_XML_AddFirstChildNode);
  }
  [[nodiscard]] Status insert_after(Node node) const noexcept {
    return move(node, NEB_XML_AddNextSiblingNode);
  }
  [[nodiscard]] Status insert_before(Node node) const noexcept {
    return move(node, NEB_XML_AddPrevSiblingNode);
  }

  /** The same for a detached node, which remains its owner's if it is refused. */
  [[nodiscard]] Status append(DetachedNode &&node) const noexcept {
    return take(node, NEB_XML_AppendChildNode);
  }
  [[nodiscard]] Status prepend(DetachedNode &&node) const noexcept {
    return take(node, NEB_XML_AddFirstChildNode);
  }
  [[nodiscard]] Status insert_after(DetachedNode &&node) const noexcept {
    return take(node, NEB_XML_AddNextSiblingNode);
  }
  [[nodiscard]] Status insert_before(DetachedNode &&node) const noexcept {
    return take(node, NEB_XML_AddPrevSiblingNode);
  }

  /** Appends a copy of a node of any tree, with all that is below it. */
  Result<Node> append_copy(ConstNode source) const noexcept {
    return insert_copy(source.get(), NEB_XML_AppendChildNode);
  }

  /** Takes this node out of its tree; the view is empty afterwards. A document is refused. */
  Result<DetachedNode> detach() noexcept {
    if (const Status status = NEB_XML_RemoveNode(node_); !status) {
      return detail::error_of(status.code());
    }
    return DetachedNode(std::exchange(node_, nullptr));
  }

  /**
   * Removes this node from its tree and frees it; the view is empty afterwards. A document, or an
   * element that is in no tree, is freed by its owner: NEB_XML_ERR_INVALID_PARAM, and nothing is
   * changed.
   */
  Status remove() noexcept {
    if (node_ == nullptr || has_owner()) return NEB_XML_ERR_INVALID_PARAM;
    NEB_XML_FreeNode(std::exchange(node_, nullptr));
    return NEB_XML_OK;
  }

  /** Sets an attribute, which is added if it is missing. A null pointer is an error. */
  [[nodiscard]] Status set_attribute(std::string_view name, std::string_view value) const noexcept {
    return put_attribute(name, value, nullptr);
  }
  [[nodiscard]] Status set_attribute(std::string_view name, const char *value) const noexcept {
    if (value == nullptr) return NEB_XML_ERR_INVALID_PARAM;
    return set_attribute(name, std::string_view(value));
  }
  template <typename Value, typename = detail::IfTyped<Value>>
  [[nodiscard]] Status set_attribute(std::string_view name, Value value) const noexcept {
    if (const Attribute attribute = find_attribute(name)) return attribute.set(value);
    XmlNode *added = nullptr;
    Status status = put_attribute(name, "", &added);
    if (status) status = Attribute(added).set(value);
    if (!status) Attribute(added).remove();
    return status;
  }

  /** Removes an attribute from the element and frees it. */
  Status remove_attribute(std::string_view name) const noexcept {
    Attribute attribute = find_attribute(name);
    if (node_ != nullptr && !attribute) return NEB_XML_ERR_NOT_FOUND;
    return attribute.remove();
  }

 private:
  friend class Document;

  using Insertion = std::uint32_t (*)(XmlNode *, XmlNode *);

  // Also the first of several top-level elements; the others have none.
  bool has_owner() const noexcept { return !parent() && !previous(); }

  // There, nothing that was taken out can be inserted again.
  bool is_below_several_roots() const noexcept {
    Node root = *this;
    while (root.parent()) root = root.parent();
    return root.previous() || root.next();
  }

  Status move(Node node, Insertion insert) const noexcept {
    const Node parent = node.parent(), next = node.next();
    if (!parent || node.is_below_several_roots()) return NEB_XML_ERR_INVALID_PARAM;
    NEB_XML_RemoveNode(node.get());
    const std::uint32_t code = insert(node_, node.get());
    if (code != NEB_XML_OK) node.put_back(parent, next);
    return code;
  }

  // Cannot fail: what the session had to note for it is still noted.
  std::uint32_t put_back(Node parent, Node next) const noexcept {
    return next ? NEB_XML_AddPrevSiblingNode(next.node_, node_)
                : NEB_XML_AppendChildNode(parent.node_, node_);
  }

  Status take(DetachedNode &node, Insertion insert) const noexcept {
    const Status status = insert(node_, node.node().get());
    if (status) node.release();
    return status;
  }

  Status set_whole_name(std::string_view name) const noexcept {
    const std::size_t colon = name.find(':');
    if (colon == name.npos) return set_name(name);
    if (colon == 0) return NEB_XML_ERR_INVALID_PARAM;
    const Status status = set_prefix(name.substr(0, colon));
    return status ? set_name(name.substr(colon + 1)) : status;
  }

  Status put_attribute(std::string_view name, std::string_view value,
                       XmlNode **attribute) const noexcept {
    return NEB_XML_PutAttr(node_, name.data(), name.size(), value.data(), value.size(), attribute);
  }

  Result<Node> make(std::string_view name, std::uint32_t where) const noexcept {
    XmlNode *element = nullptr;
    const std::uint32_t code = NEB_XML_NewElement(node_, where, name.data(), name.size(), &element);
    if (code != NEB_XML_OK) return detail::error_of(code);
    return Node(element);
  }

  Result<Node> insert_copy(const XmlNode *source, Insertion insert) const noexcept {
    XmlNode *copy = nullptr;
    std::uint32_t code = NEB_XML_ImportNode(node_, source, &copy);
    if (code == NEB_XML_OK) code = insert(node_, copy);
    if (code == NEB_XML_OK) return Node(copy);
    NEB_XML_FreeNode(copy);
    return detail::error_of(code);
  }
};

inline Node DetachedNode::node() const &noexcept { return Node(node_); }

inline Status Attribute::remove() noexcept {
  const char *prefix = nullptr, *name = nullptr;
  NEB_XML_GetNodeValue(node_, nullptr, &prefix, &name, nullptr);
  const Status status = NEB_XML_RemoveAttr(parent().get(), prefix, name);
  if (status) node_ = nullptr;
  return status;
}

/**
 * A node or an attribute as one call reads it: the answers stay as they are when the tree is
 * edited. The ranges read each item by one call as well, before they hand it out: of children() and
 * attributes(), it may be removed. A loop over descendants() must not change the tree.
 *
 *   for (const auto &item : list.info().children()) {
 *     for (const auto &attribute : item.attributes()) print(*attribute.name(), *attribute.value());
 *   }
 */
template <typename View>
class Info {
  using NodeView = typename View::NodeView;
  using AttributeView = typename View::AttributeView;

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
  Text value() const noexcept { return detail::value_of(info_); }

  /** The neighbours; empty where there is none. */
  NodeView parent() const noexcept { return NodeView(info_.parent); }
  View next() const noexcept { return View(info_.nextSibling); }
  NodeView first_child() const noexcept { return NodeView(info_.firstChild); }
  AttributeView first_attribute() const noexcept { return AttributeView(info_.firstAttribute); }

  /** The children; all nodes below; the attributes. */
  auto children() const noexcept { return detail::InfoRange<NodeView, Next>(first_child(), {}); }
  auto descendants() const noexcept {
    const NodeView first = first_child();
    const XmlNode *end = first ? first.parent().after_subtree().get() : nullptr;
    return detail::InfoRange<NodeView, NextBefore>(first, {end});
  }
  auto attributes() const noexcept {
    return detail::InfoRange<AttributeView, Next>(first_attribute(), {});
  }

 private:
  struct Next {
    template <typename Item>
    Item operator()(const Info<Item> &item) const noexcept {
      return item.next();
    }
  };
  struct NextBefore {
    const XmlNode *end = nullptr;  // the first node in document order that is not inside
    NodeView operator()(const Info<NodeView> &info) const noexcept {
      if (info.first_child()) return info.first_child();
      XmlNode *next = info.info_.nextSibling;
      if (next == nullptr) next = NEB_XML_Iterator(info.view().get());
      return NodeView(next == end ? nullptr : next);
    }
  };

  template <typename>
  friend class Info;
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

/** How a document is read. See NEB_XML_READ_OPTIONS. */
struct ReadOptions {
  bool no_doctype = false;     /**< Refuses a document type declaration. */
  std::uint32_t max_depth = 0; /**< The most elements inside each other; 0: no limit. */
  std::size_t max_nodes = 0;   /**< The most elements and attributes; 0: no limit. */
  std::size_t max_bytes = 0;   /**< The most memory while reading; 0: no limit. */
  void *(*allocate)(void *context, std::size_t size) = nullptr; /**< Null: the hooks. */
  void (*release)(void *context, void *memory) = nullptr;       /**< Set with allocate. */
  void *context = nullptr;                                      /**< Passed to both. */
};

namespace detail {

/** The options of the C interface, with a buffer for the message of an error. */
template <std::size_t size>
NEB_XML_READ_OPTIONS in_c_of(const ReadOptions &options, char (&message)[size]) noexcept {
  NEB_XML_READ_OPTIONS in_c = {};
  in_c.size = sizeof in_c;
  in_c.flags = options.no_doctype ? NEB_XML_PARSE_NO_DOCTYPE : 0;
  in_c.maxDepth = options.max_depth;
  in_c.maxNodes = options.max_nodes;
  in_c.maxBytes = options.max_bytes;
  in_c.allocate = options.allocate;
  in_c.release = options.release;
  in_c.context = options.context;
  in_c.message = message;
  in_c.messageSize = size;
  return in_c;
}

}  // namespace detail

/** Why and where a document could not be read. */
struct ParseError : Error {
  std::string message;         /**< A sentence with the names that it is about. */
  bool is_well_formed = false; /**< With NEB_XML_ERR_UNSUPPORTED: all was checked and is XML. */

  const char *what() const noexcept { return message.empty() ? reason : message.c_str(); }
};

/**
 * A document and everything in it; moves, and frees what it owns. A const one is not edited.
 *
 *   auto document = Document::parse_file("device.xml");
 *   if (!document) std::printf("%zu: %s\n", document.error().line, document.error().what());
 *   Status status = document->save("device.xml", 2);
 */
class Document : public detail::Owner {
 public:
  Document() = default;
  /** Takes over a document of the C interface. */
  explicit Document(XmlNode *document) noexcept : Owner(document) {}

  /** Hands the document to the caller, who frees it with NEB_XML_FreeNode. */
  XmlNode *release() noexcept { return release_node(); }

  /** Parses a document strictly. It need not be terminated, but not be empty. See NEB_XML_Read. */
  static Result<Document, ParseError> parse(std::string_view text,
                                            const ReadOptions &options = {}) {
    return made(options, [text](const auto *in_c, XmlNode **node, NEB_XML_PARSE_ERROR *error) {
      return NEB_XML_Read(text.data(), text.size(), in_c, node, error);
    });
  }

  /** Parses a file strictly, read through the file hooks. See NEB_XML_Load. */
  static Result<Document, ParseError> parse_file(const std::string &path,
                                                 const ReadOptions &options = {}) {
    if (detail::holds_nul(path)) return ParseError{detail::error_of(NEB_XML_ERR_INVALID_PARAM), {}};
    return made(options, [&path](const auto *in_c, XmlNode **node, NEB_XML_PARSE_ERROR *error) {
      return NEB_XML_Load(path.c_str(), in_c, node, error);
    });
  }

  /** A new document, with a memory session, whose root element has a name. */
  static Result<Document> create(std::string_view name) noexcept {
    XmlNode *node = nullptr;
    std::uint32_t code =
        NEB_XML_CreateNodeEx(0, NEB_XML_NODE_DOCUMENT, nullptr, nullptr, nullptr, &node);
    Document document(node);
    if (code == NEB_XML_OK) code = document.root().set_whole_name(name).code();
    if (code != NEB_XML_OK) return detail::error_of(code);
    return Result<Document>(std::move(document));
  }

  /** What the functions of its root do. */
  template <typename Sink>
  [[nodiscard]] Status print(Sink &&sink, const PrintOptions &options = {}) const {
    return root().print(std::forward<Sink>(sink), options);
  }
  Result<std::string> to_string(const PrintOptions &options) const {
    return root().to_string(options);
  }
  Result<std::string> to_string(std::uint32_t indent = 0) const { return root().to_string(indent); }
  [[nodiscard]] Status save(const std::string &path, const PrintOptions &options) const noexcept {
    return root().save(path, options);
  }
  [[nodiscard]] Status save(const std::string &path, std::uint32_t indent = 0) const noexcept {
    return root().save(path, indent);
  }

  /** The document node, which is the root element; not of a temporary, which frees it. */
  Node root() &noexcept { return Node(node_); }
  ConstNode root() const &noexcept { return ConstNode(node_); }
  ConstNode root() const && = delete;

  /** A copy with a memory session of its own. */
  Result<Document> clone() const noexcept {
    XmlNode *copy = nullptr;
    const std::uint32_t code = NEB_XML_CloneNode(node_, &copy);
    if (code != NEB_XML_OK) return detail::error_of(code);
    return Document(copy);
  }

 private:
  static constexpr std::size_t longest_message = 512;

  template <typename Call>
  static Result<Document, ParseError> made(const ReadOptions &options, Call call) {
    char message[longest_message] = {};
    const NEB_XML_READ_OPTIONS in_c = detail::in_c_of(options, message);
    XmlNode *node = nullptr;
    NEB_XML_PARSE_ERROR error = {};
    const std::uint32_t code = call(&in_c, &node, &error);
    if (code == NEB_XML_OK) return Document(node);
    return ParseError{{code, error.reason, error.offset, error.line, error.column,
                       static_cast<int>(error.systemError)},
                      message,
                      error.isWellFormed != 0};
  }
};

/**
 * Where many nodes are in the document that they were read from, by one reading. See
 * NEB_XML_LocateNodes.
 *
 * nodes  an array or container of nodes or attributes of one document.
 * Returns a Location for each of them, in their order.
 */
template <typename Nodes>
Result<std::vector<Location>> locate(const Nodes &nodes, std::string_view document) {
  std::vector<const XmlNode *> in_c;
  for (const auto &node : nodes) in_c.push_back(node.get());
  std::vector<Location> locations(in_c.size());
  const std::uint32_t code = NEB_XML_LocateNodes(in_c.data(), in_c.size(), document.data(),
                                                 document.size(), locations.data());
  if (code != NEB_XML_OK) return detail::error_of(code);
  return locations;
}

/**
 * Edits a document and keeps the rest of it byte for byte. See NEB_XML_EditBytes.
 *
 * document  from which the nodes of the edits were read; the tree is not changed.
 * edits     an array or container of Edit.
 * sink      receives the new document, as in Node::print.
 */
template <typename Edits, typename Sink>
[[nodiscard]] Status edit_bytes(std::string_view document, const Edits &edits, Sink &&sink) {
  using Writing = detail::Writing<std::remove_reference_t<Sink>>;
  return Writing(sink).run([&](NEB_XML_SINK take, void *context) {
    return NEB_XML_EditBytes(document.data(), document.size(), std::data(edits), std::size(edits),
                             take, context);
  });
}

/** Replaces a file atomically by bytes, such as those of edit_bytes. See NEB_XML_SaveBytes. */
[[nodiscard]] inline Status save_bytes(const std::string &path, std::string_view bytes) noexcept {
  if (detail::holds_nul(path)) return NEB_XML_ERR_INVALID_PARAM;
  return NEB_XML_SaveBytes(path.c_str(), bytes.data(), bytes.size());
}

namespace detail {

/** Hashes views by their node. */
template <typename View>
struct Hash {
  std::size_t operator()(View view) const noexcept { return std::hash<const void *>()(view.get()); }
};

}  // namespace detail

}  // namespace neb::xml

template <>
struct std::hash<neb::xml::Node> : neb::xml::detail::Hash<neb::xml::Node> {};
template <>
struct std::hash<neb::xml::ConstNode> : neb::xml::detail::Hash<neb::xml::ConstNode> {};
template <>
struct std::hash<neb::xml::Attribute> : neb::xml::detail::Hash<neb::xml::Attribute> {};
template <>
struct std::hash<neb::xml::ConstAttribute> : neb::xml::detail::Hash<neb::xml::ConstAttribute> {};

// The ranges are views of the tree, as a std::string_view is one of a string.
#ifdef __cpp_lib_ranges
template <typename Item, typename Step>
inline constexpr bool std::ranges::enable_view<neb::xml::detail::Range<Item, Step>> = true;
template <typename Item, typename Step>
inline constexpr bool std::ranges::enable_borrowed_range<neb::xml::detail::Range<Item, Step>> =
    true;
template <typename Item>
inline constexpr bool std::ranges::enable_view<neb::xml::detail::Selection<Item>> = true;
template <typename View, typename Step>
inline constexpr bool std::ranges::enable_view<neb::xml::detail::InfoRange<View, Step>> = true;
template <typename View, typename Step>
inline constexpr bool std::ranges::enable_borrowed_range<neb::xml::detail::InfoRange<View, Step>> =
    true;
#endif

// NOLINTEND(readability-identifier-naming)

#endif
#endif
