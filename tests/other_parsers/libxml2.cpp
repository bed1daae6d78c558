#include <libxml/parserInternals.h>

#include "other_parsers/outline.h"

namespace other_parsers {

namespace {

Outline &outlineIn(void *context) { return *static_cast<Outline *>(context); }
const char *chars(const xmlChar *string) { return reinterpret_cast<const char *>(string); }

void start(void *context, const xmlChar *name, const xmlChar **attributes) {
  outlineIn(context).start(chars(name));
  for (; attributes != nullptr && *attributes != nullptr; attributes += 2) {
    outlineIn(context).attribute(chars(attributes[0]), chars(attributes[1]));
  }
}

void end(void *context, const xmlChar *) { outlineIn(context).end(); }

void text(void *context, const xmlChar *bytes, int length) {
  outlineIn(context).text({chars(bytes), static_cast<size_t>(length)});
}

// The interface without namespaces: prefixes need not be declared. It leaves "&#38;" in attributes
// unless entities are replaced.
bool readByLibxml2(const std::string &document, Outline *outline) {
  const int length = static_cast<int>(document.size());
  xmlParserCtxtPtr context = xmlCreateMemoryParserCtxt(document.data(), length);
  if (context == nullptr) return false;
  *context->sax = {};
  context->sax->initialized = 1;
  context->sax->startElement = start;
  context->sax->endElement = end;
  context->sax->characters = text;
  context->sax->ignorableWhitespace = text;
  context->userData = outline;
  xmlCtxtUseOptions(context, XML_PARSE_HUGE | XML_PARSE_NOENT);
  xmlParseDocument(context);
  const bool isRead = context->wellFormed != 0;
  xmlFreeParserCtxt(context);
  return isRead;
}

}  // namespace

const OtherParser kLibxml2 = {"libxml2", readByLibxml2, true};

}  // namespace other_parsers
