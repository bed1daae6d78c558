// Parsing with a report of why and where a document is malformed.
//
// An ordinary parse keeps no positions. When it fails, the tokenizer reads the document once more,
// for a builder that only checks.
#include <cstring>

#include "parser/checking_builder.h"
#include "parser/parser.h"
#include "parser/reasons.h"
#include "parser/tokenizer.h"

namespace neb::xml::internal {

namespace {

// For failures that have no position in a document.
uint32_t reportWithoutPosition(uint32_t code, const char *reason, NEB_XML_PARSE_ERROR *error) {
  if (error != nullptr) *error = {code, reason, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, {}};
  return code;
}

const char *reasonOfLoading(uint32_t code) {
  switch (code) {
    case NEB_XML_ERR_FILE_OPEN:
      return reasons::kFileOpen;
    case NEB_XML_ERR_FILE_READ:
      return reasons::kFileRead;
    case NEB_XML_ERR_SYNTAX:
      return reasons::kFileEmpty;
    default:
      return reasons::kNoMemory;
  }
}

uint32_t reportLoading(uint32_t code, const LoadedDocument &loaded, NEB_XML_PARSE_ERROR *error) {
  reportWithoutPosition(code, reasonOfLoading(code), error);
  if (error != nullptr) error->systemError = static_cast<size_t>(loaded.systemError());
  return code;
}

size_t offsetIn(const char *text, const char *position) {
  return position == nullptr ? 0 : static_cast<size_t>(position - text);
}

void setPosition(const char *text, const char *position, NEB_XML_PARSE_ERROR *error) {
  error->offset = offsetIn(text, position);
  error->line = 1;
  const char *line = text;
  const char *end = text + error->offset;
  for (const char *next = text; next < end; ++next) {
    if (*next != '\n') continue;
    ++error->line;
    line = next + 1;
  }
  error->column = static_cast<size_t>(end - line) + 1;
}

void reportFailure(const char *text, const CheckingBuilder::Failure &failure,
                   NEB_XML_PARSE_ERROR *error) {
  reportWithoutPosition(NEB_XML_ERR_SYNTAX, failure.reason, error);
  setPosition(text, failure.at, error);
  if (failure.endTagName.length == 0) return;
  error->endNameOffset = offsetIn(text, failure.endTagName.begin);
  error->endNameLength = failure.endTagName.length;
  error->startNameOffset = offsetIn(text, failure.startTag.name.begin);
  error->startNameLength = failure.startTag.name.length;
  error->startTagOffset = offsetIn(text, failure.startTag.tag);
}

uint32_t findFailure(const char *text, NEB_XML_PARSE_ERROR *error) {
  CheckingBuilder builder;
  Tokenizer<CheckingBuilder> tokenizer(&builder, text);
  const bool isWellFormed = tokenizer.skipProlog() && tokenizer.readAll();
  if (!isWellFormed && builder.failure().reason != reasons::kNoMemory) {
    reportFailure(text, builder.failure(), error);
    return NEB_XML_ERR_SYNTAX;
  }
  // The document is well-formed, or memory has run out again: so memory was the reason.
  return reportWithoutPosition(NEB_XML_ERR_NO_MEMORY, reasons::kNoMemory, error);
}

uint32_t parseAndReport(const char *text, uint32_t flags, XmlNode **outDoc,
                        NEB_XML_PARSE_ERROR *error) {
  XmlNode *document = nullptr;
  const bool withSession = (flags & NEB_XML_PARSE_SESSION) != 0;
  const uint32_t result = parseDocument(text, withSession, &document);
  if (result == NEB_XML_OK) {
    *outDoc = document;
    return result;
  }
  if (result != NEB_XML_ERR_SYNTAX) return reportWithoutPosition(result, reasons::kNoMemory, error);
  // The code does not depend on whether the caller wants the record.
  NEB_XML_PARSE_ERROR unwanted;
  return findFailure(text, error == nullptr ? &unwanted : error);
}

bool areFlagsKnown(uint32_t flags) { return (flags & ~uint32_t{NEB_XML_PARSE_SESSION}) == 0; }

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_ParseBuffer(const char *bytes, size_t length, uint32_t flags, XmlNode **outDoc,
                             NEB_XML_PARSE_ERROR *error) {
  const bool isText = bytes != nullptr && length != 0 && bytes[0] != '\0';
  if (!isText || outDoc == nullptr || !areFlagsKnown(flags)) {
    return reportWithoutPosition(NEB_XML_ERR_INVALID_PARAM, reasons::kArgument, error);
  }
  LoadedDocument copy;
  if (!copy.copy(bytes, length)) {
    return reportWithoutPosition(NEB_XML_ERR_NO_MEMORY, reasons::kNoMemory, error);
  }
  return parseAndReport(copy.text(), flags, outDoc, error);
}

uint32_t NEB_XML_ParseFileInfo(const char *path, uint32_t flags, XmlNode **outDoc,
                               NEB_XML_PARSE_ERROR *error) {
  if (path == nullptr || outDoc == nullptr || !areFlagsKnown(flags)) {
    return reportWithoutPosition(NEB_XML_ERR_INVALID_PARAM, reasons::kArgument, error);
  }
  LoadedDocument loaded;
  const uint32_t result = loaded.load(path);
  if (result != NEB_XML_OK) return reportLoading(result, loaded, error);
  return parseAndReport(loaded.text(), flags, outDoc, error);
}
