// Reading the attributes of a start tag.
#include <cstring>

#include "parser/parser.h"
#include "parser/tokens.h"
#include "tree/nodes.h"

namespace neb::xml::internal {

namespace {

uint32_t readName(XmlParser *parser, XmlNode *attribute) {
  const char *name = parser->token;
  size_t length = parser->tokenLength;
  const auto *colon = static_cast<const char *>(std::memchr(name, ':', length));
  if (colon != nullptr) {
    const auto prefixLength = static_cast<size_t>(colon - name);
    if (prefixLength == 0 || prefixLength == length - 1) {
      return Parser_syntaxError(parser, reasons::kAttributeNameColon, name);
    }
    char *prefix = nullptr;
    const uint32_t result = Parser_CopyBufToString(parser, name, prefixLength, &prefix);
    attribute->prefix = prefix;
    if (result != NEB_XML_OK) return result;
    name = colon + 1;
    length -= prefixLength + 1;
  }
  char *copy = nullptr;
  const uint32_t result = Parser_CopyBufToString(parser, name, length, &copy);
  attribute->name = copy;
  if (result == NEB_XML_OK) attribute->nameOwned = 1;
  return result;
}

uint32_t readValue(XmlParser *parser, XmlNode *attribute) {
  const char *name = parser->token;
  if (!readToken(parser) || !isToken(parser, "=")) {
    return Parser_syntaxError(parser, reasons::kAttributeEquals, name);
  }
  if (!readToken(parser) || (!isToken(parser, "\"") && !isToken(parser, "'"))) {
    return Parser_syntaxError(parser, reasons::kAttributeQuote, name);
  }
  const char *value = parser->cursor;
  const char *close = std::strchr(value, *parser->token);
  if (close == nullptr) return Parser_syntaxError(parser, reasons::kAttributeOpen, parser->token);
  char *copy = nullptr;
  const uint32_t result =
      Parser_CopyBufToString(parser, value, static_cast<size_t>(close - value), &copy);
  if (result != NEB_XML_OK) return result;
  attribute->value = copy;
  attribute->valueOwned = 1;
  parser->cursor = close + 1;
  return NEB_XML_OK;
}

// Reads one attribute, whose name is the token, up to its closing quote.
uint32_t Parser_processAttribute(XmlParser *parser) {
  const char *name = parser->token;
  if (!isWhitespace(name[-1])) return Parser_syntaxError(parser, reasons::kAttributeSpace, name);
  XmlNode *attribute = makeNode(parser->storage, NEB_XML_NODE_ATTRIBUTE);
  if (attribute == nullptr) return Parser_memoryError(parser);
  uint32_t result = readName(parser, attribute);
  if (result == NEB_XML_OK) result = readValue(parser, attribute);
  if (result == NEB_XML_OK) result = Parser_appendAttribute(parser, attribute);
  if (result == NEB_XML_ERR_ALREADY_EXISTS) Parser_fail(parser, reasons::kAttributeTwice, name);
  if (result == NEB_XML_ERR_NO_MEMORY) Parser_memoryError(parser);
  if (result != NEB_XML_OK) XML_FreeSingleAttrNode(attribute);
  return result;
}

// Some tokens cannot be a name where white space is all that parts them from a value.
bool mayFollowValue(const XmlParser *parser) {
  return parser->tokenLength != 1 || std::strchr("\"'=<", *parser->token) == nullptr;
}

uint32_t closeEmptyElement(XmlParser *parser) {
  parser->state = PARSE_STATE_BETWEEN;
  parser->isCurrentOpen = false;
  const uint32_t result = Parser_splitName(parser, parser->current);
  Parser_noteClosedTag(parser);
  return result;
}

uint32_t readTagRest(XmlParser *parser, bool isBehindName) {
  for (;;) {
    if (!readToken(parser)) {
      return Parser_syntaxError(parser, reasons::kStartTagOpen, Parser_openTag(parser));
    }
    if (isToken(parser, kTagEnd)) {
      parser->state = PARSE_STATE_CONTENT;
      return NEB_XML_OK;
    }
    if (isToken(parser, kEmptyTagEnd)) return closeEmptyElement(parser);
    if (!isBehindName && !mayFollowValue(parser)) {
      return Parser_syntaxError(parser, reasons::kAttributeName, parser->token);
    }
    isBehindName = false;
    const uint32_t result = Parser_processAttribute(parser);
    if (result != NEB_XML_OK) return result;
  }
}

}  // namespace

uint32_t Parser_appendAttribute(XmlParser *parser, XmlNode *attribute) {
  const uint32_t result = parser->attributes.add(parser->current->firstAttr, attribute);
  if (result == NEB_XML_OK) Parser_linkAttribute(parser, attribute);
  return result;
}

uint32_t Parser_readTagRest(XmlParser *parser, bool isBehindName) {
  if (isBehindName) Parser_beginAttributes(parser);
  return readTagRest(parser, isBehindName);
}

}  // namespace neb::xml::internal
