// Parses into an arena with the tokenizer alone, without the scanner.
#pragma once

#include "xml/parser/builder.h"
#include "xml/parser/tokenizer.h"

inline uint32_t tokenized(const char *text, XmlNode **document) {
  using namespace neb::xml::internal;
  if (isMissing(text)) return NEB_XML_ERR_INVALID_PARAM;
  *document = nullptr;
  const uint32_t session = XML_MemSessionBegin(kDocumentSessionSize);
  TreeBuilder<ArenaAllocation> builder(Storage(session),
                                       XML_NewNode(session, NEB_XML_NODE_DOCUMENT));
  Tokenizer<TreeBuilder<ArenaAllocation>> tokenizer(&builder, text);
  if (tokenizer.skipProlog() && tokenizer.readAll()) {
    *document = builder.release();
    return NEB_XML_OK;
  }
  XML_MemSessionEnd(session);
  return NEB_XML_ERR_SYNTAX;
}
