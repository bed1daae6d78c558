// The record of one parse, and the steps that share it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ownership/storage.h"
#include "parser/attribute_set.h"
#include "parser/problem.h"
#include "parser/reasons.h"
#include "record/node.h"

namespace neb::xml::internal {

enum ParseState : uint32_t {
  PARSE_STATE_BETWEEN = 0,  // before the root, after an empty-element tag, after a text
  PARSE_STATE_CONTENT = 1,  // after the ">" of a start tag; the only state in which text may begin
};

struct XmlParser {
  uint32_t sessionId;
  const char *buffer;  // NUL-terminated
  const char *cursor;
  const char *token;  // points into the buffer
  size_t tokenLength;
  bool bufferBorrowed;
  XmlNode *current;    // the element started last, or the one closed last
  XmlNode *pending;    // the node that the next start tag fills; not yet linked
  bool isCurrentOpen;  // the end tag of current has not come yet
  ParseState state;
  XmlNode *lastAttribute;  // of current, while its tag is read
  AttributeSet attributes;
  Storage storage;
  ParseProblem *problem;  // for what is wrong with the text; null when nobody asks
};

inline bool Parser_fail(const XmlParser *parser, const char *reason, const char *place) {
  if (parser->problem != nullptr) parser->problem->note(reason, place);
  return false;
}

inline uint32_t Parser_syntaxError(const XmlParser *parser, const char *reason, const char *place) {
  Parser_fail(parser, reason, place);
  return NEB_XML_ERR_SYNTAX;
}

inline uint32_t Parser_memoryError(const XmlParser *parser) {
  Parser_fail(parser, reasons::kNoMemory, parser->cursor);
  return NEB_XML_ERR_NO_MEMORY;
}

// Both are for finding what is wrong, and do nothing when nobody asks.
inline void Parser_noteOpenTag(const XmlParser *parser, const OpenTag &tag) {
  if (parser->problem != nullptr) parser->problem->open(tag);
}
inline void Parser_noteClosedTag(const XmlParser *parser) {
  if (parser->problem != nullptr) parser->problem->close();
}

// Loads a whole file through the hooks; *text is the caller's, and untouched on failure.
uint32_t Parser_loadFile(const char *path, char **text);

// Parses a borrowed text. The problem, which may be null, is told what is wrong.
uint32_t Parser_parseText(const char *text, bool withSession, ParseProblem *problem,
                          XmlNode **outDoc);

// Builds the document and consumes the record.
uint32_t Parser_parseDocument(XmlNode **outDoc, XmlParser *parser);

// Releases a record, with its text if that is its own and its pending node unless a session's.
void Parser_freeRecord(XmlParser *parser);

// Where the innermost open start tag begins; null when nobody asks.
inline const char *Parser_openTag(const XmlParser *parser) {
  return parser->problem == nullptr ? nullptr : parser->problem->innermost().tag;
}

// Makes the pending node current, as the first child or the next sibling of the one before.
inline void Parser_linkPending(XmlParser *parser) {
  XmlNode *node = parser->pending;
  XmlNode *current = parser->current;
  parser->pending = nullptr;
  parser->current = node;
  if (current == nullptr) return;
  if (parser->isCurrentOpen) {
    node->parent = current;
    current->firstChild = node;
    current->lastChild = node;
    return;
  }
  node->parent = current->parent;
  node->prev = current;
  current->next = node;
  if (current->parent != nullptr) current->parent->lastChild = node;
}

// Before the first attribute of current is read.
inline void Parser_beginAttributes(XmlParser *parser) {
  parser->lastAttribute = nullptr;
  parser->attributes.clear();
}

// Attaches an attribute to current behind the others.
inline void Parser_linkAttribute(XmlParser *parser, XmlNode *attribute) {
  attribute->parent = parser->current;
  if (parser->lastAttribute == nullptr) {
    parser->current->firstAttr = attribute;
  } else {
    parser->lastAttribute->next = attribute;
  }
  parser->lastAttribute = attribute;
}

// Reads the rest of the start tag of current, up to its ">" or "/>", from behind the element's
// name or from behind the value of an attribute.
uint32_t Parser_readTagRest(XmlParser *parser, bool isBehindName);

// Attaches an attribute to current unless it repeats one.
uint32_t Parser_appendAttribute(XmlParser *parser, XmlNode *attribute);

// Splits the qualified name of an element that is being closed at its first ':'.
uint32_t Parser_splitName(XmlParser *parser, XmlNode *element);

// Decodes a run with references or CDATA sections into a string with room for the run as it stands;
// what is left of the room becomes zero. Where sixteen bytes behind both may be read and written
// it is faster. False for a malformed run.
bool Parser_decode(const char *run, size_t length, char *string, bool hasBytesBehind);

// A new string of a run of the text, with references decoded and CDATA sections unwrapped. An
// empty run gives null. The text goes on behind the run to its terminator.
uint32_t Parser_CopyBufToString(const XmlParser *parser, const char *run, size_t length,
                                char **string);

}  // namespace neb::xml::internal
