// Reading the attributes of a start tag.
#include <cstring>

#include "xml_dom_nodes.h"
#include "xml_parser.h"
#include "xml_parser_tokens.h"

namespace {

uint32_t copyString(const XmlParser *parser, const char *run, size_t length, char **string) {
  return Parser_CopyBufToString(parser->storage, run, length, string);
}

uint32_t readName(XmlParser *parser, XmlNode *attribute) {
  const char *name = parser->token;
  size_t length = parser->tokenLength;
  const auto *colon = static_cast<const char *>(std::memchr(name, ':', length));
  if (colon != nullptr) {
    const auto prefixLength = static_cast<size_t>(colon - name);
    if (prefixLength == 0 || prefixLength == length - 1) return NEB_XML_ERR_SYNTAX;
    char *prefix = nullptr;
    const uint32_t result = copyString(parser, name, prefixLength, &prefix);
    attribute->prefix = prefix;
    if (result != NEB_XML_OK) return result;
    name = colon + 1;
    length -= prefixLength + 1;
  }
  char *copy = nullptr;
  const uint32_t result = copyString(parser, name, length, &copy);
  attribute->name = copy;
  if (result == NEB_XML_OK) attribute->nameOwned = 1;
  return result;
}

uint32_t readValue(XmlParser *parser, XmlNode *attribute) {
  if (!readToken(parser) || !isToken(parser, "=")) return NEB_XML_ERR_SYNTAX;
  if (!readToken(parser)) return NEB_XML_ERR_SYNTAX;
  if (!isToken(parser, "\"") && !isToken(parser, "'")) return NEB_XML_ERR_SYNTAX;
  const char *value = parser->cursor;
  const char *close = std::strchr(value, *parser->token);
  if (close == nullptr) return NEB_XML_ERR_SYNTAX;
  char *copy = nullptr;
  const uint32_t result = copyString(parser, value, static_cast<size_t>(close - value), &copy);
  if (result != NEB_XML_OK) return result;
  attribute->value = copy;
  attribute->valueOwned = 1;
  parser->cursor = close + 1;
  return NEB_XML_OK;
}

// Reads one attribute, whose name is the token, up to its closing quote.
uint32_t Parser_processAttribute(XmlParser *parser) {
  if (!isWhitespace(parser->token[-1])) return NEB_XML_ERR_SYNTAX;
  XmlNode *attribute = makeNode(parser->storage, NEB_XML_NODE_ATTRIBUTE);
  if (attribute == nullptr) return NEB_XML_ERR_NO_MEMORY;
  uint32_t result = readName(parser, attribute);
  if (result == NEB_XML_OK) result = readValue(parser, attribute);
  if (result == NEB_XML_OK) result = Parser_appendAttribute(parser, attribute);
  if (result != NEB_XML_OK) XML_FreeSingleAttrNode(attribute);
  return result;
}

// Some tokens cannot be a name where white space is all that parts them from a value.
bool mayFollowValue(const XmlParser *parser) {
  return parser->tokenLength != 1 || std::strchr("\"'=<", *parser->token) == nullptr;
}

uint32_t readTagRest(XmlParser *parser, bool isBehindName) {
  for (;;) {
    if (!readToken(parser)) return NEB_XML_ERR_SYNTAX;
    if (isToken(parser, kTagEnd)) {
      parser->state = PARSE_STATE_CONTENT;
      return NEB_XML_OK;
    }
    if (isToken(parser, kEmptyTagEnd)) {
      parser->state = PARSE_STATE_BETWEEN;
      parser->isCurrentOpen = false;
      return Parser_splitName(parser, parser->current);
    }
    if (!isBehindName && !mayFollowValue(parser)) return NEB_XML_ERR_SYNTAX;
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
