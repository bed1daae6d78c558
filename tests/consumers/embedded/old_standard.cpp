// A program in C++11 uses the C header: the standard of the library does not become its own.
#include <cstdio>

#include "neb_xml.h"

static_assert(__cplusplus == 201103L, "another standard has reached this program");

int main() {
  XmlNode *document = nullptr;
  char *text = nullptr;
  if (NEB_XML_Parse("<old/>", &document) != NEB_XML_OK) return 1;
  if (NEB_XML_Transform(document, &text) != NEB_XML_OK) return 1;
  std::fputs(text, stdout);
  NEB_XML_FreeMem(text);
  NEB_XML_FreeNode(document);
  return 0;
}
