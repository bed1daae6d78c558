#include "layout/markup.h"

#include <algorithm>
#include <utility>

namespace nebxml {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::string_view kNameEnd = " \t\r\n=";
constexpr std::string_view kQuotes = "\"'";
constexpr std::string_view kDeclarationBegin = "<?xml";
constexpr std::string_view kEmptyTagEnd = "/>";
constexpr std::string_view kTagEnd = ">";

constexpr std::pair<std::string_view, MarkupKind> kBegins[] = {
    {"</", MarkupKind::endTag},         {"<!--", MarkupKind::comment},
    {"<?", MarkupKind::instruction},    {"<![CDATA[", MarkupKind::section},
    {"<!DOCTYPE", MarkupKind::doctype}, {"<", MarkupKind::startTag},
};

bool isAny(std::string_view bytes, char byte) { return bytes.find(byte) != std::string_view::npos; }

bool beginsDeclaration(std::string_view rest) {
  return rest.starts_with(kDeclarationBegin) && rest.size() > kDeclarationBegin.size() &&
         isAny(kWhiteSpace, rest[kDeclarationBegin.size()]);
}

// Behind a literal, or the end of the document.
size_t behind(std::string_view literal, std::string_view rest, size_t from) {
  const size_t at = rest.find(literal, from);
  return at == std::string_view::npos ? rest.size() : at + literal.size();
}

size_t behindQuoted(std::string_view rest, size_t quote) {
  return behind(rest.substr(quote, 1), rest, quote + 1);
}

// Of markup that ends at a literal. Other markup: 0.
size_t lengthToLiteral(MarkupKind kind, std::string_view rest) {
  switch (kind) {
    case MarkupKind::comment:
      return behind("-->", rest, std::string_view("<!--").size());
    case MarkupKind::section:
      return behind("]]>", rest, std::string_view("<![CDATA[").size());
    case MarkupKind::declaration:
    case MarkupKind::instruction:
      return behind("?>", rest, std::string_view("<?").size());
    default:
      return 0;
  }
}

bool isBracketOrQuote(char byte) {
  return byte == '>' || byte == '"' || byte == '\'' || byte == '<';
}

// Of a tag or a document type declaration. Angle brackets nest in the latter, but not in its
// literals, comments and processing instructions. In a tag, they stand in values only.
size_t lengthToBracket(std::string_view rest) {
  size_t depth = 1;
  size_t at = 1;
  while (depth > 0) {
    const auto *found = std::find_if(rest.begin() + at, rest.end(), isBracketOrQuote);
    if (found == rest.end()) return rest.size();
    at = static_cast<size_t>(found - rest.begin());
    if (*found == '>') {
      --depth;
      ++at;
    } else if (*found != '<') {
      at = behindQuoted(rest, at);
    } else if (const size_t length =
                   lengthToLiteral(markupKindOf(rest.substr(at)), rest.substr(at))) {
      at += length;
    } else {
      ++depth;
      ++at;
    }
  }
  return at;
}

size_t lengthOf(MarkupKind kind, std::string_view rest) {
  if (kind == MarkupKind::text) return std::min(rest.find('<'), rest.size());
  const size_t length = lengthToLiteral(kind, rest);
  return length != 0 ? length : lengthToBracket(rest);
}

std::string_view take(std::string_view &rest, size_t length) {
  const std::string_view taken = rest.substr(0, length);
  rest.remove_prefix(taken.size());
  return taken;
}

}  // namespace

MarkupKind markupKindOf(std::string_view rest) {
  if (beginsDeclaration(rest)) return MarkupKind::declaration;
  for (const auto &[begin, kind] : kBegins) {
    if (rest.starts_with(begin)) return kind;
  }
  return MarkupKind::text;
}

std::optional<Markup> MarkupReader::next() {
  if (rest_.empty()) return std::nullopt;
  const MarkupKind kind = markupKindOf(rest_);
  const std::string_view bytes = take(rest_, lengthOf(kind, rest_));
  const bool isEmptyTag = kind == MarkupKind::startTag && bytes.ends_with(kEmptyTagEnd);
  return Markup{isEmptyTag ? MarkupKind::emptyTag : kind, bytes};
}

TagReader::TagReader(const Markup &tag) : rest_(tag.bytes) {
  const bool isEmptyTag = tag.kind == MarkupKind::emptyTag;
  rest_.remove_suffix(isEmptyTag ? kEmptyTagEnd.size() : kTagEnd.size());
  name_ = take(rest_, rest_.find_first_of(kWhiteSpace));
}

std::optional<MarkupAttribute> TagReader::next() {
  take(rest_, rest_.find_first_not_of(kWhiteSpace));
  const std::string_view name = take(rest_, rest_.find_first_of(kNameEnd));
  take(rest_, rest_.find_first_of(kQuotes));
  if (rest_.empty()) return std::nullopt;
  return MarkupAttribute{name, take(rest_, behindQuoted(rest_, 0))};
}

}  // namespace nebxml
