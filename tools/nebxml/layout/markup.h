// Splits a document into its markup and the text between.
#pragma once

#include <optional>
#include <string_view>

namespace nebxml {

enum class MarkupKind {
  text,
  declaration,  // the XML declaration
  doctype,      // with its internal subset
  comment,
  instruction,
  section,  // a CDATA section
  startTag,
  emptyTag,
  endTag
};

inline bool isTag(MarkupKind kind) { return kind >= MarkupKind::startTag; }

// Each byte of a document belongs to one of these.
struct Markup {
  MarkupKind kind;
  std::string_view bytes;
};

// What begins here. An empty-element tag is seen only at its end: it is taken for a start tag.
MarkupKind markupKindOf(std::string_view rest);

// Reads a well-formed document, from behind its byte order mark. It reads any other bytes to their
// end too, but what it makes of them has no meaning.
class MarkupReader {
 public:
  explicit MarkupReader(std::string_view document) : rest_(document) {}

  // Nothing at the end of the document.
  std::optional<Markup> next();

  // What has not been read.
  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

struct MarkupAttribute {
  std::string_view name;
  std::string_view quotedValue;
};

// Reads a tag: its name, and then its attributes.
class TagReader {
 public:
  explicit TagReader(const Markup &tag);

  // With the "<" or "</" before it.
  std::string_view name() const { return name_; }

  // Nothing behind the last attribute.
  std::optional<MarkupAttribute> next();

 private:
  std::string_view name_;
  std::string_view rest_;
};

}  // namespace nebxml
