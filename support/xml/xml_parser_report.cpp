// Parsing for those who want to know where a text is wrong.
//
// An ordinary parse does not keep places. When it fails the text is parsed once more by the
// general steps alone, which then tell what they find.
#include <cstring>

#include "platform/bounded_memory.h"
#include "xml_parser.h"

namespace {

constexpr size_t kTerminator = 1;

// For failures that have no place in a text.
uint32_t reportPlain(uint32_t code, const char *reason, NEB_XML_PARSE_ERROR *error) {
  if (error != nullptr) *error = {code, reason, 0, 0, 0, 0, 0, 0, 0, 0, {}};
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

size_t offsetIn(const char *text, const char *place) {
  return place == nullptr ? 0 : static_cast<size_t>(place - text);
}

void setPlace(const char *text, const char *place, NEB_XML_PARSE_ERROR *error) {
  error->offset = offsetIn(text, place);
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

void reportProblem(const char *text, const ParseProblem &problem, NEB_XML_PARSE_ERROR *error) {
  reportPlain(NEB_XML_ERR_SYNTAX, problem.reason(), error);
  setPlace(text, problem.place(), error);
  if (problem.endTag().nameLength == 0) return;
  error->endNameOffset = offsetIn(text, problem.endTag().name);
  error->endNameLength = problem.endTag().nameLength;
  error->startNameOffset = offsetIn(text, problem.startTag().name);
  error->startNameLength = problem.startTag().nameLength;
  error->startTagOffset = offsetIn(text, problem.startTag().tag);
}

uint32_t findProblem(const char *text, NEB_XML_PARSE_ERROR *error) {
  ParseProblem problem;
  XmlNode *document = nullptr;
  const uint32_t result = Parser_parseText(text, true, &problem, &document);
  // Without memory to note the open tags there is no place either.
  const bool isMalformed = problem.reason() != nullptr && problem.place() != nullptr &&
                           problem.reason() != reasons::kNoMemory;
  if (result == NEB_XML_ERR_SYNTAX && isMalformed) {
    reportProblem(text, problem, error);
    return NEB_XML_ERR_SYNTAX;
  }
  // What failed before has passed now, or met it too: memory was short.
  NEB_XML_FreeNode(document);
  return reportPlain(NEB_XML_ERR_NO_MEMORY, reasons::kNoMemory, error);
}

uint32_t parseAndReport(const char *text, uint32_t flags, XmlNode **outDoc,
                        NEB_XML_PARSE_ERROR *error) {
  XmlNode *document = nullptr;
  const bool withSession = (flags & NEB_XML_PARSE_SESSION) != 0;
  const uint32_t result = Parser_parseText(text, withSession, nullptr, &document);
  if (result == NEB_XML_OK) {
    *outDoc = document;
    return result;
  }
  if (result != NEB_XML_ERR_SYNTAX) return reportPlain(result, reasons::kNoMemory, error);
  // The code does not depend on whether the caller wants the record.
  NEB_XML_PARSE_ERROR unwanted;
  return findProblem(text, error == nullptr ? &unwanted : error);
}

bool areFlagsKnown(uint32_t flags) { return (flags & ~uint32_t{NEB_XML_PARSE_SESSION}) == 0; }

}  // namespace

uint32_t NEB_XML_ParseBuffer(const char *bytes, size_t length, uint32_t flags, XmlNode **outDoc,
                             NEB_XML_PARSE_ERROR *error) {
  const bool isText = bytes != nullptr && length != 0 && bytes[0] != '\0';
  if (!isText || outDoc == nullptr || !areFlagsKnown(flags)) {
    return reportPlain(NEB_XML_ERR_INVALID_PARAM, reasons::kArgument, error);
  }
  const size_t size = strnlen(bytes, length);
  auto *text = static_cast<char *>(XML_Malloc(nullptr, size + kTerminator));
  if (text == nullptr) return reportPlain(NEB_XML_ERR_NO_MEMORY, reasons::kNoMemory, error);
  platform::memcpy_s(text, size, bytes, size);
  text[size] = '\0';
  const uint32_t result = parseAndReport(text, flags, outDoc, error);
  XML_Free(nullptr, text);
  return result;
}

uint32_t NEB_XML_ParseFileInfo(const char *path, uint32_t flags, XmlNode **outDoc,
                               NEB_XML_PARSE_ERROR *error) {
  if (path == nullptr || outDoc == nullptr || !areFlagsKnown(flags)) {
    return reportPlain(NEB_XML_ERR_INVALID_PARAM, reasons::kArgument, error);
  }
  char *text = nullptr;
  uint32_t result = Parser_loadFile(path, &text);
  if (result != NEB_XML_OK) return reportPlain(result, reasonOfLoading(result), error);
  result = parseAndReport(text, flags, outDoc, error);
  XML_Free(nullptr, text);
  return result;
}
