// The parse entry points, and loading a file.
#include "parser/parser.h"

#include <cstring>

#include "platform/bounded_memory.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kTerminator = 1;
constexpr int kSeekFromStart = 0;
constexpr int kSeekFromEnd = 2;

XmlParser *newRecord() {
  auto *parser = static_cast<XmlParser *>(XML_Malloc(nullptr, sizeof(XmlParser)));
  if (parser == nullptr) return nullptr;
  platform::memset_s(static_cast<void *>(parser), sizeof *parser, 0, sizeof *parser);
  return parser;
}

void setText(XmlParser *parser, const char *text, bool isBorrowed) {
  parser->buffer = text;
  parser->cursor = text;
  parser->bufferBorrowed = isBorrowed;
}

bool openSession(XmlParser *parser) {
  parser->sessionId = XML_MemSessionBegin(kDocumentSessionSize);
  parser->storage = Storage(parser->sessionId);
  return parser->sessionId != 0;
}

// Lengths are counted in 32 bits, terminator included. Files whose size cannot be told give -1.
bool isLoadableSize(long size) {
  return size >= 0 && static_cast<unsigned long>(size) < UINT32_MAX;
}

uint32_t readStream(FILE *stream, char **text) {
  XML_Fseek(stream, 0, kSeekFromEnd);
  const long told = XML_Ftell(stream);
  if (!isLoadableSize(told)) return NEB_XML_ERR_FILE_READ;
  if (told == 0) return NEB_XML_ERR_SYNTAX;
  const auto size = static_cast<size_t>(told);
  auto *buffer = static_cast<char *>(XML_Malloc(nullptr, size + kTerminator));
  if (buffer == nullptr) return NEB_XML_ERR_NO_MEMORY;
  if (XML_Fseek(stream, 0, kSeekFromStart) != 0 || XML_Fread(buffer, 1, size, stream) != size) {
    XML_Free(nullptr, buffer);
    return NEB_XML_ERR_FILE_READ;
  }
  buffer[size] = '\0';
  *text = buffer;
  return NEB_XML_OK;
}

uint32_t Parser_readFileOrBuffer(XmlParser *parser, const char *path) {
  char *text = nullptr;
  const uint32_t result = Parser_loadFile(path, &text);
  setText(parser, text, false);
  return result;
}

uint32_t parseText(const char *text, bool withSession, XmlNode **outDoc) {
  if (isMissing(text) || outDoc == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  *outDoc = nullptr;
  return Parser_parseText(text, withSession, nullptr, outDoc);
}

uint32_t parseFile(const char *path, bool withSession, XmlNode **outDoc) {
  XmlParser *parser = newRecord();
  if (parser == nullptr) return NEB_XML_ERR_NO_MEMORY;
  uint32_t result = Parser_readFileOrBuffer(parser, path);
  if (result == NEB_XML_OK && withSession && !openSession(parser)) result = NEB_XML_ERR_NO_MEMORY;
  if (result != NEB_XML_OK) {
    Parser_freeRecord(parser);
    return result;
  }
  return Parser_parseDocument(outDoc, parser);
}

}  // namespace

uint32_t Parser_loadFile(const char *path, char **text) {
  FILE *stream = XML_Fopen(path, "rb");
  if (stream == nullptr) return NEB_XML_ERR_FILE_OPEN;
  const uint32_t result = readStream(stream, text);
  XML_Fclose(stream);
  return result;
}

uint32_t Parser_parseText(const char *text, bool withSession, ParseProblem *problem,
                          XmlNode **outDoc) {
  XmlParser *parser = newRecord();
  if (parser == nullptr) return NEB_XML_ERR_NO_MEMORY;
  setText(parser, text, true);
  parser->problem = problem;
  if (withSession && !openSession(parser)) {
    Parser_freeRecord(parser);
    return NEB_XML_ERR_NO_MEMORY;
  }
  return Parser_parseDocument(outDoc, parser);
}

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_Parse(const char *text, XmlNode **outDoc) {
  return parseText(text, false, outDoc);
}

uint32_t NEB_XML_ParseEx(const char *text, XmlNode **outDoc) {
  return parseText(text, true, outDoc);
}

uint32_t NEB_XML_ParseFile(const char *path, XmlNode **outDoc) {
  if (path == nullptr || outDoc == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return parseFile(path, false, outDoc);
}

uint32_t NEB_XML_ParseFileEx(const char *path, XmlNode **outDoc) {
  if (path == nullptr || outDoc == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  *outDoc = nullptr;
  return parseFile(path, true, outDoc);
}
