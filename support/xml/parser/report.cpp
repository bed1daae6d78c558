// Parsing with a report of why and where a document is malformed.
//
// An ordinary parse keeps no positions. When it fails, the tokenizer of its language reads the
// document once more, for a builder that only checks.
#include "parser/report.h"

#include <cstring>

#include "characters/utf8.h"
#include "parser/checking_builder.h"
#include "parser/encoding.h"
#include "parser/language.h"
#include "parser/message.h"
#include "parser/reasons.h"

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

bool exceedsMemory(const ReadRequest &request) {
  const MemoryLimit *limit = request.allocator.limit;
  return limit != nullptr && limit->wasExceeded();
}

// In strict reading. Without a document type declaration no entity can have been declared.
uint32_t codeOf(const char *reason, const ReadRequest &request, bool hasDoctype) {
  if (reason == nullptr) return NEB_XML_OK;
  if (reason == reasons::kNoMemory) {
    return exceedsMemory(request) ? NEB_XML_ERR_LIMIT : NEB_XML_ERR_NO_MEMORY;
  }
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

uint32_t findFailure(LenientLanguage /*language*/, const Reported &document, const char *text,
                     const char * /*end*/) {
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

// A character that makes the document malformed, whatever its markup; no reason if none does.
Failure findWrongCharacter(const char *text, const char *end, const Failure &failure,
                           bool declaresAscii) {
  if (const char *forbidden = findForbiddenBefore(text, end, failure)) {
    return {reasonOfForbidden(forbidden, end), forbidden, {}, {}, {}};
  }
  if (failure.reason != nullptr || !declaresAscii) return {};
  const char *other = findOtherThanAscii(text, end);
  return other == end ? Failure{} : Failure{reasons::kNotAscii, other, {}, {}, {}};
}

// Behind what a tree cannot hold, checking has gone on: what is malformed there counts more. What
// only ends the checking, such as a limit, counts less.
uint32_t reportChecked(const Reported &document, const CheckingBuilder &checked, bool hasDoctype) {
  const Failure &failure = checked.failure();
  const bool isWhole = failure.reason == nullptr;
  const uint32_t code = codeOf(failure.reason, document.request, hasDoctype);
  const bool isFinal = code == NEB_XML_ERR_SYNTAX || code == NEB_XML_ERR_NO_MEMORY;
  if (checked.unsupported().reason != nullptr && !isFinal) {
    reportFailure(document, NEB_XML_ERR_UNSUPPORTED, checked.unsupported());
    document.error->isWellFormed = isWhole ? 1 : 0;
    return NEB_XML_ERR_UNSUPPORTED;
  }
  if (isWhole || failure.reason == reasons::kNoMemory) return reportMemory(document);
  return reportFailure(document, code, failure);
}

uint32_t findFailure(StrictLanguage /*language*/, const Reported &document, const char *text,
                     const char *end) {
  CheckingBuilder builder(document.request.allocator, document.request.limits);
  StrictTokenizer<CheckingBuilder> tokenizer(&builder, text);
  if (document.request.refusesDoctype) tokenizer.refuseDoctype();
  if (tokenizer.skipProlog()) tokenizer.readAll();
  const Failure character =
      findWrongCharacter(text, end, builder.failure(), tokenizer.declaresAscii());
  if (character.reason != nullptr) return reportFailure(document, NEB_XML_ERR_SYNTAX, character);
  return reportChecked(document, builder, tokenizer.hasDoctype());
}

}  // namespace

uint32_t reportWithoutPosition(uint32_t code, const char *reason, const ReadRequest &request,
                               NEB_XML_PARSE_ERROR *error) {
  if (error != nullptr) {
    *error = {};
    error->code = code;
    error->reason = reason;
  }
  const Failure failure = {reason, nullptr, {}, {}, {}};
  writeMessage(failure, request.message, request.messageSize);
  return code;
}

uint32_t reportMemory(const ReadRequest &request, NEB_XML_PARSE_ERROR *error) {
  if (exceedsMemory(request)) {
    return reportWithoutPosition(NEB_XML_ERR_LIMIT, reasons::kTooManyBytes, request, error);
  }
  return reportWithoutPosition(NEB_XML_ERR_NO_MEMORY, reasons::kNoMemory, request, error);
}

template <typename Language>
uint32_t parseAndReport(const char *bytes, size_t length, const ReadRequest &request,
                        XmlNode **outDoc, NEB_XML_PARSE_ERROR *error) {
  // The code does not depend on whether the caller wants the record.
  NEB_XML_PARSE_ERROR unwanted;
  const Reported document = {bytes, request, error == nullptr ? &unwanted : error};
  const EncodingMark mark = findEncodingMark(bytes, length);
  if (mark.reason != nullptr) {
    const uint32_t code = Language::kIsStrict ? NEB_XML_ERR_UNSUPPORTED : NEB_XML_ERR_SYNTAX;
    return reportFailure(document, code, {mark.reason, bytes, {}, {}, {}});
  }
  const char *text = bytes + mark.length;
  const char *end = bytes + length;
  XmlNode *parsed = nullptr;
  // Lenient documents end at a NUL.
  const size_t parsedLength = Language::kIsStrict ? length - mark.length : std::strlen(text);
  const uint32_t result = parseDocument<Language>({text, parsedLength}, request, &parsed);
  if (result == NEB_XML_OK) {
    *outDoc = parsed;
    return result;
  }
  if (result == NEB_XML_ERR_NO_MEMORY || exceedsMemory(request)) {
    return reportMemory(request, error);
  }
  return findFailure(Language(), document, text, end);
}

template uint32_t parseAndReport<LenientLanguage>(const char *, size_t, const ReadRequest &,
                                                  XmlNode **, NEB_XML_PARSE_ERROR *);
template uint32_t parseAndReport<StrictLanguage>(const char *, size_t, const ReadRequest &,
                                                 XmlNode **, NEB_XML_PARSE_ERROR *);

}  // namespace neb::xml::internal
