// Building the tree in one forward pass. Depth is followed through the parents of the nodes.
#include <cstring>

#include "platform/bounded_memory.h"
#include "platform/os_adapter.h"
#include "xml_dom_nodes.h"
#include "xml_parser.h"
#include "xml_parser_plain.h"
#include "xml_parser_tokens.h"

namespace {

constexpr char kDeclarationBegin[] = "<?xml ";
constexpr char kDoctypeBegin[] = "<!DOCTYPE";

// The end of a document type declaration, or null when it is not closed. Only angle brackets and
// double quotes have a meaning in it.
const char *findDoctypeEnd(const char *doctype) {
  size_t depth = 1;
  const char *text = doctype + 1;
  while (depth > 0) {
    text = std::strpbrk(text, "<>\"");
    if (text == nullptr) return nullptr;
    if (*text == '"') {
      text = std::strchr(text + 1, '"');
      if (text == nullptr) return nullptr;
    } else {
      depth = *text == '<' ? depth + 1 : depth - 1;
    }
    ++text;
  }
  return text;
}

bool skipDeclaration(XmlParser *parser) {
  parser->cursor = skipWhitespace(parser->cursor);
  if (!begins(parser->cursor, kDeclarationBegin)) return true;
  const char *end = find(parser->cursor, kInstructionEnd);
  if (end == nullptr) return false;
  parser->cursor = skipWhitespace(end + lengthOf(kInstructionEnd));
  return true;
}

bool skipDoctype(XmlParser *parser) {
  if (!begins(parser->cursor, kDoctypeBegin)) return true;
  const char *end = findDoctypeEnd(parser->cursor);
  if (end == nullptr) return false;
  parser->cursor = skipWhitespace(end);
  return true;
}

bool skipProlog(XmlParser *parser) {
  return skipDeclaration(parser) && Parser_skipMisc(parser) && skipDoctype(parser) &&
         Parser_skipMisc(parser) && *parser->cursor != '\0';
}

bool readElementName(XmlParser *parser) {
  if (!readToken(parser)) return false;
  char *name = nullptr;
  const uint32_t result =
      Parser_CopyBufToString(parser->storage, parser->token, parser->tokenLength, &name);
  parser->pending->name = name;
  parser->pending->nameOwned = 1;
  return result == NEB_XML_OK;
}

bool parseStartTag(XmlParser *parser) {
  if (parser->pending == nullptr || !readElementName(parser)) return false;
  Parser_linkPending(parser);
  parser->isCurrentOpen = true;
  return Parser_readTagRest(parser, true) == NEB_XML_OK;
}

// Reads the name of an end tag, which must be the whole name of current, and closes current.
bool readMatchingName(XmlParser *parser) {
  XmlNode *element = parser->current;
  const size_t length = std::strlen(element->name);
  if (length != parser->tokenLength) return false;
  if (platform::KAVO_MemCmp(element->name, parser->token, length) != 0) return false;
  return Parser_splitName(parser, element) == NEB_XML_OK;
}

bool readTagEnd(XmlParser *parser) { return readToken(parser) && isToken(parser, kTagEnd); }

bool storeValue(XmlParser *parser, const char *run, const char *end) {
  char *value = nullptr;
  const uint32_t result =
      Parser_CopyBufToString(parser->storage, run, static_cast<size_t>(end - run), &value);
  parser->current->value = value;
  parser->current->valueOwned = 1;
  return result == NEB_XML_OK;
}

// White space that stands between the last tag and an end tag is the element's value.
bool storeBlankValue(XmlParser *parser, const char *endTag) {
  const char *run = endTag;
  while (run[-1] != '>') --run;
  return storeValue(parser, run, endTag);
}

bool parseEndTag(XmlParser *parser) {
  const char *endTag = parser->token;
  const bool followsBlank = endTag > parser->buffer && endTag[-1] != '>';
  if (!readToken(parser)) return false;
  if (!parser->isCurrentOpen) {
    if (parser->current == nullptr || parser->current->parent == nullptr) return false;
    parser->current = parser->current->parent;
  }
  parser->isCurrentOpen = false;
  if (!readMatchingName(parser)) return false;
  if (followsBlank && parser->state == PARSE_STATE_CONTENT) {
    if (!storeBlankValue(parser, endTag)) return false;
  }
  parser->current->valueOwned = 1;
  // Here comments may follow white space; behind a text they may not.
  parser->cursor = skipWhitespace(parser->cursor);
  return readTagEnd(parser);
}

// The '<' that ends a text run, CDATA sections passed over; null when the text ends first.
const char *findTextEnd(const char *text) {
  for (;;) {
    text = std::strchr(text, '<');
    if (text == nullptr || !begins(text, kCdataBegin)) return text;
    text = find(text, kCdataEnd);
    if (text == nullptr) return nullptr;
    text += lengthOf(kCdataEnd);
  }
}

bool parseText(XmlParser *parser) {
  if (parser->state != PARSE_STATE_CONTENT || !parser->isCurrentOpen) return false;
  if (isToken(parser, kEmptyTagEnd)) return false;
  const char *run = parser->token;
  while (run[-1] == ' ') --run;
  const char *end = findTextEnd(run);
  if (end == nullptr) return false;
  parser->cursor = end;
  if (!storeValue(parser, run, end)) return false;
  if (!readToken(parser) || !isToken(parser, kEndTagBegin)) return false;
  if (!readToken(parser) || !readMatchingName(parser) || !readTagEnd(parser)) return false;
  parser->isCurrentOpen = false;
  parser->state = PARSE_STATE_BETWEEN;
  return true;
}

bool parseToken(XmlParser *parser) {
  if (isToken(parser, kTagEnd)) return false;
  if (isToken(parser, kEndTagBegin)) return parseEndTag(parser);
  if (isToken(parser, "<")) return parseStartTag(parser);
  return parseText(parser);
}

// One tag or text. At the end of the text there may be nothing to parse.
bool parseNext(XmlParser *parser) {
  parser->cursor = skipWhitespace(parser->cursor);
  if (Parser_getNextToken(parser) == TokenRead::none) return *parser->cursor == '\0';
  return parseToken(parser);
}

// False when the text is malformed, memory runs out, or the element started last is not closed.
bool parseElements(XmlParser *parser) {
  MarkupMap map(parser->cursor);
  for (;;) {
    if (Parser_parsePlain(parser, &map) == PlainResult::failed) return false;
    if (!parseNext(parser)) return false;
    if (*parser->cursor == '\0') return !parser->isCurrentOpen;
    if (parser->pending != nullptr) continue;
    parser->pending = makeNode(parser->storage, NEB_XML_NODE_ELEMENT);
    if (parser->pending == nullptr) return false;
  }
}

uint32_t abandon(XmlNode *document, XmlParser *parser) {
  XmlNode *pending = parser->pending;
  parser->pending = nullptr;
  XML_FreeNode(document);
  if (pending != document && parser->sessionId == 0) XML_FreeSingleNode(pending);
  Parser_freeRecord(parser);
  return NEB_XML_ERR_SYNTAX;
}

}  // namespace

uint32_t Parser_splitName(XmlParser *parser, XmlNode *element) {
  char *name = element->name;
  char *colon = std::strchr(name, ':');
  if (colon == nullptr) return NEB_XML_OK;
  if (colon == name || colon[1] == '\0') return NEB_XML_ERR_SYNTAX;
  char *prefix = nullptr;
  const uint32_t result =
      Parser_CopyBufToString(parser->storage, name, static_cast<size_t>(colon - name), &prefix);
  element->prefix = prefix;
  if (result != NEB_XML_OK) return result;
  const size_t moved = std::strlen(colon + 1) + 1;
  platform::memmove_s(name, moved, colon + 1, moved);
  return NEB_XML_OK;
}

void Parser_freeRecord(XmlParser *parser) {
  parser->attributes.clear();
  if (!parser->bufferBorrowed) XML_Free(nullptr, const_cast<char *>(parser->buffer));
  if (parser->pending != nullptr && parser->sessionId == 0) XML_FreeSingleNode(parser->pending);
  XML_Free(nullptr, parser);
}

uint32_t Parser_parseDocument(XmlNode **outDoc, XmlParser *parser) {
  XmlNode *document = XML_NewNode(parser->sessionId, NEB_XML_NODE_DOCUMENT);
  if (document == nullptr) {
    const uint32_t session = parser->sessionId;
    Parser_freeRecord(parser);
    XML_MemSessionEnd(session);
    return NEB_XML_ERR_NO_MEMORY;
  }
  parser->pending = document;
  if (!skipProlog(parser) || !parseElements(parser)) return abandon(document, parser);
  *outDoc = document;
  Parser_freeRecord(parser);
  return NEB_XML_OK;
}
