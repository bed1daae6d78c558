// Parsing with a report of why and where a document is malformed.
//
// An ordinary parse keeps no positions. When it fails, the tokenizer of its language reads the
// document once more, for a builder that only checks.
#include "parser/report.h"

#include <cstring>

#include "characters/utf8.h"
#include "parser/checking_builder.h"
#include "parser/encoding.h"
#include "parser/message.h"
#include "parser/reasons.h"
#include "parser/strict_tokenizer.h"
#include "parser/tokenizer.h"

namespace neb::xml::internal {

namespace {

using Failure = CheckingBuilder::Failure;

// What XML may allow, but a tree of elements and texts cannot hold.
constexpr const char *kUnsupported[] = {
    reasons::kUtf16,
    reasons::kUtf32,
    reasons::kEncoding,
    reasons::kMixedChild,
    reasons::kMixedText,
    reasons::kDoctypeRefused,
    reasons::kAttributeNameColon,
    reasons::kElementNameColon,
    reasons::kTextTooLong,
};
constexpr const char *kLimits[] = {reasons::kTooDeep, reasons::kTooManyNodes,
                                   reasons::kTooManyBytes};

template <size_t size>
bool isOneOf(const char *const (&reasons)[size], const char *reason) {
  for (const char *candidate : reasons) {
    if (candidate == reason) return true;
  }
  return false;
}

// In strict reading. Without a document type declaration no entity can have been declared.
uint32_t codeOf(const char *reason, bool hasDoctype) {
  if (isOneOf(kLimits, reason)) return NEB_XML_ERR_LIMIT;
  const bool isDeclared = reason == reasons::kEntity && hasDoctype;
  return isDeclared || isOneOf(kUnsupported, reason) ? NEB_XML_ERR_UNSUPPORTED : NEB_XML_ERR_SYNTAX;
}

// A document of which a position is reported.
struct Reported {
  const char *bytes;  // from the byte order mark on
  const ReadRequest &request;
  NEB_XML_PARSE_ERROR *error;

  size_t offsetOf(const char *position) const {
    return position == nullptr ? 0 : static_cast<size_t>(position - bytes);
  }
};

void setPosition(const Reported &document, const char *position) {
  NEB_XML_PARSE_ERROR &error = *document.error;
  error.offset = document.offsetOf(position);
  error.line = 1;
  const char *line = document.bytes;
  const char *end = document.bytes + error.offset;
  for (const char *next = line; next < end; ++next) {
    if (*next != '\n') continue;
    ++error.line;
    line = next + 1;
  }
  error.column = static_cast<size_t>(end - line) + 1;
}

uint32_t reportFailure(const Reported &document, uint32_t code, const Failure &failure) {
  NEB_XML_PARSE_ERROR &error = *document.error;
  reportWithoutPosition(code, failure.reason, document.request, &error);
  writeMessage(failure, document.request.message, document.request.messageSize);
  setPosition(document, failure.at);
  if (failure.about.length != 0) {
    error.nameOffset = document.offsetOf(failure.about.begin);
    error.nameLength = failure.about.length;
  }
  if (failure.startTag.tag != nullptr) {
    error.startNameOffset = document.offsetOf(failure.startTag.name.begin);
    error.startNameLength = failure.startTag.name.length;
    error.startTagOffset = document.offsetOf(failure.startTag.tag);
  }
  if (failure.endTagName.length != 0) {
    error.endNameOffset = document.offsetOf(failure.endTagName.begin);
    error.endNameLength = failure.endTagName.length;
  }
  return code;
}

// The document is well-formed, or memory has run out again: so memory was the reason.
uint32_t reportMemory(const Reported &document) {
  return reportMemory(document.request, document.error);
}

uint32_t findFailure(const Reported &document, const char *text) {
  CheckingBuilder builder(document.request.allocator);
  Tokenizer<CheckingBuilder> tokenizer(&builder, text);
  const bool isWellFormed = tokenizer.skipProlog() && tokenizer.readAll();
  if (isWellFormed || builder.failure().reason == reasons::kNoMemory) {
    return reportMemory(document);
  }
  return reportFailure(document, NEB_XML_ERR_SYNTAX, builder.failure());
}

const char *reasonOfForbidden(const char *at, const char *end) {
  const bool isNoncharacter =
      end - at >= 3 && at[0] == '\xEF' && at[1] == '\xBF' && static_cast<uint8_t>(at[2]) >= 0xBE;
  return isAscii(*at) || isNoncharacter ? reasons::kCharacter : reasons::kUtf8;
}

// The first byte that is not allowed, if it counts more than another failure. The tokenizer takes a
// NUL for the end, so what it says of a document that holds one may be wrong.
const char *findForbiddenBefore(const char *text, const char *end, const Failure &failure) {
  const char *forbidden = findForbidden(text, end);
  if (forbidden == end) return nullptr;
  const bool isCut = std::memchr(text, '\0', static_cast<size_t>(end - text)) != nullptr;
  const bool isFirst = failure.reason == nullptr || isCut || forbidden <= failure.at;
  return isFirst ? forbidden : nullptr;
}

uint32_t findStrictFailure(const Reported &document, const char *text, const char *end) {
  CheckingBuilder builder(document.request.allocator, document.request.limits);
  StrictTokenizer<CheckingBuilder> tokenizer(&builder, text);
  if (document.request.refusesDoctype) tokenizer.refuseDoctype();
  const bool isWellFormed = tokenizer.skipProlog() && tokenizer.readAll();
  const Failure &failure = builder.failure();
  if (const char *forbidden = findForbiddenBefore(text, end, failure)) {
    return reportFailure(document, NEB_XML_ERR_SYNTAX,
                         {reasonOfForbidden(forbidden, end), forbidden, {}, {}, {}});
  }
  if (isWellFormed && tokenizer.declaresAscii()) {
    const char *other = findOtherThanAscii(text, end);
    if (other != end) {
      return reportFailure(document, NEB_XML_ERR_SYNTAX, {reasons::kNotAscii, other, {}, {}, {}});
    }
  }
  if (isWellFormed || failure.reason == reasons::kNoMemory) return reportMemory(document);
  return reportFailure(document, codeOf(failure.reason, tokenizer.hasDoctype()), failure);
}

}  // namespace

uint32_t reportWithoutPosition(uint32_t code, const char *reason, const ReadRequest &request,
                               NEB_XML_PARSE_ERROR *error) {
  if (error != nullptr) {
    *error = {code, reason, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, {}};
  }
  const Failure failure = {reason, nullptr, {}, {}, {}};
  writeMessage(failure, request.message, request.messageSize);
  return code;
}

uint32_t reportMemory(const ReadRequest &request, NEB_XML_PARSE_ERROR *error) {
  const MemoryLimit *limit = request.allocator.limit;
  if (limit != nullptr && limit->wasExceeded()) {
    return reportWithoutPosition(NEB_XML_ERR_LIMIT, reasons::kTooManyBytes, request, error);
  }
  return reportWithoutPosition(NEB_XML_ERR_NO_MEMORY, reasons::kNoMemory, request, error);
}

uint32_t parseAndReport(const char *bytes, size_t length, const ReadRequest &request,
                        XmlNode **outDoc, NEB_XML_PARSE_ERROR *error) {
  // The code does not depend on whether the caller wants the record.
  NEB_XML_PARSE_ERROR unwanted;
  const Reported document = {bytes, request, error == nullptr ? &unwanted : error};
  const EncodingMark mark = findEncodingMark(bytes, length);
  if (mark.reason != nullptr) {
    const uint32_t code = request.isStrict ? NEB_XML_ERR_UNSUPPORTED : NEB_XML_ERR_SYNTAX;
    return reportFailure(document, code, {mark.reason, bytes, {}, {}, {}});
  }
  const char *text = bytes + mark.length;
  const char *end = bytes + length;
  XmlNode *parsed = nullptr;
  // Lenient documents end at a NUL.
  const size_t parsedLength = request.isStrict ? length - mark.length : std::strlen(text);
  const uint32_t result = parseDocument({text, parsedLength}, request, &parsed);
  if (result == NEB_XML_OK) {
    *outDoc = parsed;
    return result;
  }
  const MemoryLimit *limit = request.allocator.limit;
  const bool isLimited = limit != nullptr && limit->wasExceeded();
  if (result == NEB_XML_ERR_NO_MEMORY || isLimited) return reportMemory(request, error);
  return request.isStrict ? findStrictFailure(document, text, end) : findFailure(document, text);
}

}  // namespace neb::xml::internal
