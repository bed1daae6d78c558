#include <expat.h>

#include "other_parsers/outline.h"

namespace other_parsers {

namespace {

Outline &outlineIn(void *context) { return *static_cast<Outline *>(context); }

void XMLCALL start(void *context, const char *name, const char **attributes) {
  outlineIn(context).start(name);
  for (; *attributes != nullptr; attributes += 2) {
    outlineIn(context).attribute(attributes[0], attributes[1]);
  }
}

void XMLCALL end(void *context, const char *) { outlineIn(context).end(); }

void XMLCALL text(void *context, const char *bytes, int length) {
  outlineIn(context).text({bytes, static_cast<size_t>(length)});
}

bool readByExpat(const std::string &document, Outline *outline) {
  const XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetUserData(parser, outline);
  XML_SetElementHandler(parser, start, end);
  XML_SetCharacterDataHandler(parser, text);
  const int length = static_cast<int>(document.size());
  const bool isRead = XML_Parse(parser, document.data(), length, XML_TRUE) == XML_STATUS_OK;
  XML_ParserFree(parser);
  return isRead;
}

}  // namespace

const OtherParser kExpat = {"Expat", readByExpat, false};

}  // namespace other_parsers
