#include <neb_xml.h>
#include <stdio.h>

int main(void) {
  const uint16_t number = 8080;
  XmlNode *document, *port;
  char *text;

  if (NEB_XML_ParseEx("<server><port>80</port></server>", &document) != NEB_XML_OK) return 1;
  if (NEB_XML_GetNodeByUrl(document, "server.port", &port) != NEB_XML_OK) return 2;
  if (NEB_XML_SetNodeValueEx(port, NEB_XML_VALUE_UINT16, &number) != NEB_XML_OK) return 3;
  if (NEB_XML_Transform(document, &text) != NEB_XML_OK) return 4;
  fputs(text, stdout);
  NEB_XML_FreeMem(text);
  NEB_XML_FreeNode(document);
  return 0;
}
