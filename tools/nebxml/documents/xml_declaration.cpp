#include "documents/xml_declaration.h"

#include "documents/byte_order.h"
#include "documents/parsing.h"
#include "system/converter.h"

namespace nebxml {
namespace {

constexpr std::string_view kDeclarationBegin = "<?xml";
constexpr std::string_view kDeclarationEnd = "?>";
constexpr std::string_view kEncoding = "encoding";
constexpr std::string_view kQuotes = "\"'";
constexpr const char *kRootElement = "<a/>";

// A document that has only this declaration before its root: without the name of the encoding, then
// with it, since the library stops at a name that it does not support.
bool isWellFormed(const std::string &declaration, const DeclaredEncoding &found) {
  std::string usual = declaration;
  usual.replace(found.nameBegin, found.name.size(), kUtf8);
  return parseStrictly(usual + kRootElement).result == NEB_XML_OK &&
         parseStrictly(declaration + kRootElement).result != NEB_XML_ERR_SYNTAX;
}

}  // namespace

std::optional<DeclaredEncoding> findDeclaredEncoding(std::string_view text) {
  const size_t start = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const size_t end = text.find(kDeclarationEnd);
  if (!text.substr(start).starts_with(kDeclarationBegin) || end == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string declaration(text.substr(0, end + kDeclarationEnd.size()));
  const size_t begin = declaration.find(kEncoding);
  const size_t open = declaration.find_first_of(kQuotes, begin);
  if (begin == std::string::npos || open == std::string::npos) return std::nullopt;
  const size_t close = declaration.find(declaration[open], open + 1);
  if (close == std::string::npos) return std::nullopt;
  DeclaredEncoding found{declaration.substr(open + 1, close - open - 1), begin, open + 1, close + 1,
                         false};
  found.isWellFormed = isWellFormed(declaration, found);
  return found;
}

}  // namespace nebxml
