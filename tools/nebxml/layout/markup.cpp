#include "layout/markup.h"

#include <algorithm>
#include <iterator>

namespace nebxml {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::string_view kNameEnd = " \t\r\n=";
constexpr std::string_view kQuotes = "\"'";
constexpr std::string_view kEmptyTagEnd = "/>";
constexpr std::string_view kTagEnd = ">";

struct Form {
  MarkupKind kind;
  std::string_view begin;
  std::string_view end;  // empty: tags, and what nests
};

constexpr Form kForms[] = {
    {MarkupKind::endTag, "</", ""},
    {MarkupKind::comment, "<!--", "-->"},
    {MarkupKind::section, "<![CDATA[", "]]>"},
    {MarkupKind::doctype, "<!DOCTYPE", ""},
    {MarkupKind::declaration, "<?xml ", "?>"},
    {MarkupKind::declaration, "<?xml\t", "?>"},
    {MarkupKind::declaration, "<?xml\r", "?>"},
    {MarkupKind::declaration, "<?xml\n", "?>"},
    {MarkupKind::instruction, "<?", "?>"},
    {MarkupKind::startTag, "<", ""},
};

constexpr Form kText = {MarkupKind::text, "", ""};

const Form &formOf(std::string_view rest) {
  if (!rest.starts_with('<')) return kText;
  return *std::find_if(std::begin(kForms), std::end(kForms),
                       [rest](const Form &form) { return rest.starts_with(form.begin); });
}

// Behind a literal, or the end of the document.
size_t behind(std::string_view literal, std::string_view rest, size_t from) {
  const size_t at = rest.find(literal, from);
  return at == std::string_view::npos ? rest.size() : at + literal.size();
}

// Behind the quoted literal, comment or processing instruction that begins here; at if none does.
size_t behindVerbatim(std::string_view rest, size_t at) {
  if (kQuotes.find(rest[at]) != std::string_view::npos) {
    return behind(rest.substr(at, 1), rest, at + 1);
  }
  const Form &form = formOf(rest.substr(at));
  return form.end.empty() ? at : behind(form.end, rest, at + form.begin.size());
}

size_t findBracketOrQuote(std::string_view rest, size_t from) {
  const auto isFound = [](char byte) {
    return byte == '>' || byte == '"' || byte == '\'' || byte == '<';
  };
  const auto *found = std::find_if(rest.begin() + from, rest.end(), isFound);
  return static_cast<size_t>(found - rest.begin());
}

// Of a tag or a document type declaration. Only in the latter do angle brackets nest.
size_t lengthToBracket(std::string_view rest) {
  size_t depth = 1;
  size_t at = 1;
  while (depth > 0) {
    at = findBracketOrQuote(rest, at);
    if (at == rest.size()) break;
    const size_t end = behindVerbatim(rest, at);
    if (end == at) depth = rest[at] == '<' ? depth + 1 : depth - 1;
    at = std::max(end, at + 1);
  }
  return at;
}

size_t lengthOf(const Form &form, std::string_view rest) {
  if (form.kind == MarkupKind::text) return std::min(rest.find('<'), rest.size());
  return form.end.empty() ? lengthToBracket(rest) : behindVerbatim(rest, 0);
}

std::string_view take(std::string_view &rest, size_t length) {
  const std::string_view taken = rest.substr(0, length);
  rest.remove_prefix(taken.size());
  return taken;
}

}  // namespace

MarkupKind markupKindOf(std::string_view rest) { return formOf(rest).kind; }

std::optional<Markup> MarkupReader::next() {
  if (rest_.empty()) return std::nullopt;
  const Form &form = formOf(rest_);
  const std::string_view bytes = take(rest_, lengthOf(form, rest_));
  const bool isEmptyTag = form.kind == MarkupKind::startTag && bytes.ends_with(kEmptyTagEnd);
  return Markup{isEmptyTag ? MarkupKind::emptyTag : form.kind, bytes};
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
  return MarkupAttribute{name, take(rest_, behindVerbatim(rest_, 0))};
}

}  // namespace nebxml
