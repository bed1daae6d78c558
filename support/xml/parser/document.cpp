// Building the tree in one forward pass. Depth is followed through the parents of the nodes.
#include <cstring>

#include "parser/parser.h"
#include "parser/plain.h"
#include "parser/tokens.h"
#include "platform/bounded_memory.h"
#include "platform/os_adapter.h"
#include "tree/nodes.h"

namespace neb::xml::internal {

namespace {

constexpr char kDeclarationBegin[] = "<?xml ";
constexpr char kDoctypeBegin[] = "<!DOCTYPE";

// The end of a document type declaration. Only angle brackets and double quotes have a meaning in
// it. When it is not closed, null, and *unclosed is the quote or the declaration that is not.
const char *findDoctypeEnd(const char *doctype, const char **unclosed) {
  *unclosed = doctype;
  size_t depth = 1;
  const char *text = doctype + 1;
  while (depth > 0) {
    text = std::strpbrk(text, "<>\"");
    if (text == nullptr) return nullptr;
    if (*text == '"') {
      const char *quote = text;
      text = std::strchr(quote + 1, '"');
      if (text == nullptr) {
        *unclosed = quote;
        return nullptr;
      }
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
  if (end == nullptr) return Parser_fail(parser, reasons::kDeclarationOpen, parser->cursor);
  parser->cursor = skipWhitespace(end + lengthOf(kInstructionEnd));
  return true;
}

bool skipDoctype(XmlParser *parser) {
  if (!begins(parser->cursor, kDoctypeBegin)) return true;
  const char *unclosed = nullptr;
  const char *end = findDoctypeEnd(parser->cursor, &unclosed);
  if (end == nullptr) {
    const bool isQuote = *unclosed == '"';
    return Parser_fail(parser, isQuote ? reasons::kDoctypeQuoteOpen : reasons::kDoctypeOpen,
                       unclosed);
  }
  parser->cursor = skipWhitespace(end);
  return true;
}

bool skipProlog(XmlParser *parser) {
  const bool isSkipped = skipDeclaration(parser) && Parser_skipMisc(parser) &&
                         skipDoctype(parser) && Parser_skipMisc(parser);
  if (!isSkipped) return false;
  return *parser->cursor != '\0' || Parser_fail(parser, reasons::kNoElement, parser->cursor);
}

bool copyElementName(XmlParser *parser) {
  char *name = nullptr;
  const uint32_t result = Parser_CopyBufToString(parser, parser->token, parser->tokenLength, &name);
  parser->pending->name = name;
  parser->pending->nameOwned = 1;
  return result == NEB_XML_OK;
}

bool parseStartTag(XmlParser *parser) {
  if (parser->pending == nullptr) return false;
  const char *tag = parser->token;
  if (!readToken(parser)) return Parser_fail(parser, reasons::kElementName, tag);
  if (!copyElementName(parser)) return false;
  Parser_noteOpenTag(parser, {tag, parser->token, parser->tokenLength});
  Parser_linkPending(parser);
  parser->isCurrentOpen = true;
  return Parser_readTagRest(parser, true) == NEB_XML_OK;
}

bool isNameToken(const XmlParser *parser, const char *name) {
  const size_t length = std::strlen(name);
  return length == parser->tokenLength && platform::KAVO_MemCmp(name, parser->token, length) == 0;
}

// The name of an end tag must be the whole name of current, which is closed by it.
bool closeByName(XmlParser *parser, const char *endTag) {
  if (!isNameToken(parser, parser->current->name)) {
    if (parser->problem == nullptr) return false;
    parser->problem->noteMismatch(reasons::kEndTagOther, endTag, parser->token,
                                  parser->tokenLength);
    return false;
  }
  const bool isSplit = Parser_splitName(parser, parser->current) == NEB_XML_OK;
  Parser_noteClosedTag(parser);
  return isSplit;
}

bool readTagEnd(XmlParser *parser, const char *endTag) {
  const bool isClosed = readToken(parser) && isToken(parser, kTagEnd);
  return isClosed || Parser_fail(parser, reasons::kEndTagOpen, endTag);
}

bool storeValue(XmlParser *parser, const char *run, const char *end) {
  char *value = nullptr;
  const uint32_t result =
      Parser_CopyBufToString(parser, run, static_cast<size_t>(end - run), &value);
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
  if (!readToken(parser)) return Parser_fail(parser, reasons::kEndTagName, endTag);
  if (!parser->isCurrentOpen) {
    if (parser->current == nullptr || parser->current->parent == nullptr) {
      return Parser_fail(parser, reasons::kEndTagAlone, endTag);
    }
    parser->current = parser->current->parent;
  }
  parser->isCurrentOpen = false;
  if (!closeByName(parser, endTag)) return false;
  if (followsBlank && parser->state == PARSE_STATE_CONTENT) {
    if (!storeBlankValue(parser, endTag)) return false;
  }
  parser->current->valueOwned = 1;
  // Here comments may follow white space; behind a text they may not.
  parser->cursor = skipWhitespace(parser->cursor);
  return readTagEnd(parser, endTag);
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

bool mayHoldText(const XmlParser *parser) {
  return parser->state == PARSE_STATE_CONTENT && parser->isCurrentOpen;
}

bool refuseText(const XmlParser *parser) {
  const bool isInElement = parser->current != nullptr && parser->current->parent != nullptr;
  const char *reason = isInElement ? reasons::kTextAfterChild : reasons::kTextOutside;
  return Parser_fail(parser, reason, parser->token);
}

bool parseText(XmlParser *parser) {
  const char *text = parser->token;
  if (isToken(parser, kEmptyTagEnd)) return Parser_fail(parser, reasons::kTagEndAlone, text);
  if (!mayHoldText(parser)) return refuseText(parser);
  const char *run = text;
  while (run[-1] == ' ') --run;
  const char *end = findTextEnd(run);
  if (end == nullptr) return Parser_fail(parser, reasons::kTextOpen, text);
  parser->cursor = end;
  if (!storeValue(parser, run, end)) return false;
  if (!readToken(parser) || !isToken(parser, kEndTagBegin)) {
    return Parser_fail(parser, reasons::kTextMarkup, end);
  }
  const char *endTag = parser->token;
  if (!readToken(parser)) return Parser_fail(parser, reasons::kEndTagName, endTag);
  if (!closeByName(parser, endTag) || !readTagEnd(parser, endTag)) return false;
  parser->isCurrentOpen = false;
  parser->state = PARSE_STATE_BETWEEN;
  return true;
}

bool parseToken(XmlParser *parser) {
  if (isToken(parser, kTagEnd)) return Parser_fail(parser, reasons::kTagEndAlone, parser->token);
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

// The general steps alone tell what is wrong, so they are all that serves one who asks.
bool parsePlain(XmlParser *parser, MarkupMap *map) {
  return parser->problem != nullptr || Parser_parsePlain(parser, map) != PlainResult::failed;
}

// False when the text is malformed, memory runs out, or the element started last is not closed.
bool parseElements(XmlParser *parser, MarkupMap *map) {
  for (;;) {
    if (!parsePlain(parser, map) || !parseNext(parser)) return false;
    if (*parser->cursor == '\0') {
      return !parser->isCurrentOpen ||
             Parser_fail(parser, reasons::kElementOpen, Parser_openTag(parser));
    }
    if (parser->pending != nullptr) continue;
    parser->pending = makeNode(parser->storage, NEB_XML_NODE_ELEMENT);
    if (parser->pending == nullptr) return Parser_fail(parser, reasons::kNoMemory, parser->cursor);
  }
}

// Where a text ends, parsing takes more care than elsewhere. A small text would be all end, so it is
// parsed from a copy that has zeros behind it.
constexpr size_t kCopiedText = 4096;

bool parseElementsOfCopy(XmlParser *parser, size_t size) {
  char copy[kCopiedText + MarkupMap::kReach];
  const char *original = parser->buffer;
  const auto parsed = static_cast<size_t>(parser->cursor - original);
  std::memcpy(copy, original, size);
  std::memset(copy + size, 0, MarkupMap::kReach);
  parser->buffer = copy;
  parser->cursor = copy + parsed;
  MarkupMap map(parser->cursor, size - parsed, MarkupMap::kReach);
  const bool isParsed = parseElements(parser, &map);
  parser->cursor = original + (parser->cursor - copy);
  parser->buffer = original;
  return isParsed;
}

// Then no record is due behind the last tag, and the loop for short markup would carve one.
bool endsInEmptyElement(const char *text, size_t length) {
  constexpr size_t kEndSize = lengthOf(kEmptyTagEnd);
  return length >= kEndSize && begins(text + length - kEndSize, kEmptyTagEnd);
}

bool parseElementsOfText(XmlParser *parser) {
  const size_t left = std::strlen(parser->cursor);
  const size_t size = static_cast<size_t>(parser->cursor - parser->buffer) + left;
  const bool isCopied = size < kCopiedText && parser->sessionId != 0 &&
                        parser->problem == nullptr && !endsInEmptyElement(parser->cursor, left);
  if (isCopied) return parseElementsOfCopy(parser, size);
  MarkupMap map(parser->cursor, left, 0);
  return parseElements(parser, &map);
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
  if (colon == name || colon[1] == '\0') {
    return Parser_syntaxError(parser, reasons::kElementNameColon, Parser_openTag(parser));
  }
  // The prefix is decoded once more, from the name as it is stored: a place in it is none in the
  // text.
  ParseProblem *problem = parser->problem;
  parser->problem = nullptr;
  char *prefix = nullptr;
  const uint32_t result =
      Parser_CopyBufToString(parser, name, static_cast<size_t>(colon - name), &prefix);
  parser->problem = problem;
  element->prefix = prefix;
  if (result == NEB_XML_ERR_NO_MEMORY) return Parser_memoryError(parser);
  if (result != NEB_XML_OK) {
    return Parser_syntaxError(parser, reasons::kElementPrefix, Parser_openTag(parser));
  }
  const size_t moved = std::strlen(colon + 1) + 1;
  platform::memmove_s(name, moved, colon + 1, moved);
  element->nameLength = notedNameLength(moved - 1);
  element->marks &= static_cast<uint8_t>(~kNameIsWhole);
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
  if (!skipProlog(parser) || !parseElementsOfText(parser)) return abandon(document, parser);
  *outDoc = document;
  Parser_freeRecord(parser);
  return NEB_XML_OK;
}

}  // namespace neb::xml::internal
