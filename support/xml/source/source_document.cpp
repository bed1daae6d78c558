#include "source/source_document.h"

#include <algorithm>

#include "characters/utf8.h"
#include "kernels/chosen.h"
#include "parser/encoding.h"
#include "source/matching_builder.h"

namespace neb::xml::internal {

uint32_t SourceDocument::match(const XmlNode *root, Targets *targets) {
  if (!copy_.copy(bytes_, length_)) return NEB_XML_ERR_NO_MEMORY;
  // Nothing behind a NUL would be read; it is not allowed either.
  if (!areAllowed(begin(), end())) return NEB_XML_ERR_SYNTAX;
  const uint32_t result = read(root, targets);
  if (result != NEB_XML_OK) return result;
  const bool areFound = std::all_of(targets->begin(), targets->end(),
                                    [](const Target &target) { return target.at.end != nullptr; });
  return areFound ? NEB_XML_OK : NEB_XML_ERR_NOT_FOUND;
}

uint32_t SourceDocument::read(const XmlNode *root, Targets *targets) {
  const EncodingMark mark = findEncodingMark(begin(), length_);
  if (mark.reason != nullptr) return NEB_XML_ERR_SYNTAX;
  MatchingBuilder builder(root, targets);
  MatchingBuilder::Tokenizer tokenizer(&builder, begin() + mark.length);
  builder.setTokenizer(&tokenizer);
  if (!tokenizer.skipProlog() || !tokenizer.readAll()) return builder.result();
  isAscii_ = tokenizer.declaresAscii();
  const char *text = begin() + mark.length;
  return isAscii_ && findOtherThanAscii(text, end()) != end() ? NEB_XML_ERR_SYNTAX : NEB_XML_OK;
}

}  // namespace neb::xml::internal
