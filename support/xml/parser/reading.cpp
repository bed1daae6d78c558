// The entry points that report why and where a document is malformed.
#include <cstring>

#include "parser/encoding.h"
#include "parser/language.h"
#include "parser/options.h"
#include "parser/reasons.h"
#include "parser/report.h"

namespace neb::xml::internal {

namespace {

constexpr uint32_t kStrictOnly = NEB_XML_PARSE_NO_DOCTYPE;
constexpr uint32_t kParseFlags = NEB_XML_PARSE_SESSION | NEB_XML_PARSE_STRICT | kStrictOnly;

bool isStrict(uint32_t flags) { return (flags & NEB_XML_PARSE_STRICT) != 0; }

bool areFlagsKnown(uint32_t flags) {
  return (flags & ~kParseFlags) == 0 && (isStrict(flags) || (flags & kStrictOnly) == 0);
}

ParseAndReport languageOf(uint32_t flags) {
  return isStrict(flags) ? parseAndReport<StrictLanguage> : parseAndReport<LenientLanguage>;
}

ReadRequest requestOf(uint32_t flags) {
  ReadRequest request;
  request.withSession = (flags & NEB_XML_PARSE_SESSION) != 0;
  request.refusesDoctype = (flags & NEB_XML_PARSE_NO_DOCTYPE) != 0;
  return request;
}

const char *reasonOfLoading(uint32_t code) {
  switch (code) {
    case NEB_XML_ERR_FILE_OPEN:
      return reasons::kFileOpen;
    case NEB_XML_ERR_FILE_READ:
      return reasons::kFileRead;
    default:
      return reasons::kFileEmpty;
  }
}

uint32_t refuseArgument(const ReadRequest &request, NEB_XML_PARSE_ERROR *error) {
  return reportWithoutPosition(NEB_XML_ERR_INVALID_PARAM, reasons::kArgument, request, error);
}

uint32_t readBuffer(const char *bytes, size_t length, ParseAndReport parse,
                    const ReadRequest &request, XmlNode **outDoc, NEB_XML_PARSE_ERROR *error) {
  LoadedDocument copy(request.allocator);
  if (!copy.copy(bytes, length)) return reportMemory(request, error);
  return parse(copy.text(), length, request, outDoc, error);
}

// A described load, or one that reads whatever can be opened.
using Load = uint32_t (LoadedDocument::*)(const char *path);

uint32_t readFile(const char *path, Load load, ParseAndReport parse, const ReadRequest &request,
                  XmlNode **outDoc, NEB_XML_PARSE_ERROR *error) {
  LoadedDocument loaded(request.allocator);
  const uint32_t result = (loaded.*load)(path);
  if (result == NEB_XML_OK) return parse(loaded.text(), loaded.length(), request, outDoc, error);
  if (result == NEB_XML_ERR_NO_MEMORY) return reportMemory(request, error);
  reportWithoutPosition(result, reasonOfLoading(result), request, error);
  if (error != nullptr) error->systemError = static_cast<size_t>(loaded.systemError());
  return result;
}

// Lenient documents end at a NUL. One in UTF-16 may begin with it, and is refused as what it is.
bool isEmpty(const char *bytes, size_t length) {
  return bytes[0] == '\0' && findEncodingMark(bytes, length).reason == nullptr;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_ParseBuffer(const char *bytes, size_t length, uint32_t flags, XmlNode **outDoc,
                             NEB_XML_PARSE_ERROR *error) {
  const ReadRequest request = requestOf(flags);
  const bool isMissing = bytes == nullptr || length == 0 || outDoc == nullptr;
  if (isMissing || !areFlagsKnown(flags)) return refuseArgument(request, error);
  if (!isStrict(flags) && isEmpty(bytes, length)) return refuseArgument(request, error);
  return readBuffer(bytes, length, languageOf(flags), request, outDoc, error);
}

uint32_t NEB_XML_ParseFileInfo(const char *path, uint32_t flags, XmlNode **outDoc,
                               NEB_XML_PARSE_ERROR *error) {
  const ReadRequest request = requestOf(flags);
  if (path == nullptr || outDoc == nullptr || !areFlagsKnown(flags)) {
    return refuseArgument(request, error);
  }
  return readFile(path, &LoadedDocument::load, languageOf(flags), request, outDoc, error);
}

uint32_t NEB_XML_Read(const char *bytes, size_t length, const NEB_XML_READ_OPTIONS *options,
                      XmlNode **outDoc, NEB_XML_PARSE_ERROR *error) {
  ReadRequest request;
  MemoryLimit limit(SIZE_MAX);
  const bool areKnown = readOptions(options, &request, &limit);
  if (bytes == nullptr || length == 0 || outDoc == nullptr || !areKnown) {
    return refuseArgument(request, error);
  }
  return readBuffer(bytes, length, parseAndReport<StrictLanguage>, request, outDoc, error);
}

uint32_t NEB_XML_Load(const char *path, const NEB_XML_READ_OPTIONS *options, XmlNode **outDoc,
                      NEB_XML_PARSE_ERROR *error) {
  ReadRequest request;
  MemoryLimit limit(SIZE_MAX);
  const bool areKnown = readOptions(options, &request, &limit);
  if (path == nullptr || outDoc == nullptr || !areKnown) return refuseArgument(request, error);
  return readFile(path, &LoadedDocument::loadToEnd, parseAndReport<StrictLanguage>, request, outDoc,
                  error);
}
