/* The header in strict C99, against the shared library. */
#include "neb_xml.h"
/* Again: the second time must add nothing. */
#include "neb_xml.h"

#include <string.h>

static int EditAndPrint(XmlNode *doc) {
  const uint16_t port = 8080;
  const char *expected = "<server>\n<port>8080</port>\n</server>\n";
  XmlNode *node = NULL;
  char *text = NULL;
  int same;

  if (NEB_XML_GetNodeByUrl(doc, "server.port", &node) != NEB_XML_OK ||
      NEB_XML_SetNodeValueEx(node, NEB_XML_VALUE_UINT16, &port) != NEB_XML_OK ||
      NEB_XML_Transform(doc, &text) != NEB_XML_OK) {
    return 1;
  }
  same = strcmp(text, expected) == 0;
  NEB_XML_FreeMem(text);
  return same ? 0 : 1;
}

int main(void) {
  XmlNode *doc = NULL;
  XmlMemBuf buffer;
  void *piece;
  int failed;

  if (NEB_XML_ParseEx("<server><port>80</port></server>", &doc) != NEB_XML_OK) {
    return 1;
  }
  failed = EditAndPrint(doc);
  NEB_XML_FreeNode(doc);

  XML_MembufInit(&buffer);
  failed += XML_MemBufAppendStr(&buffer, "text") != NEB_XML_OK || buffer.length != 4;
  XML_MembufDestroy(&buffer);

  /* The two data symbols and a function with variable arguments link like the rest. */
  piece = g_fnXMLMalloc(16);
  failed += piece == NULL;
  g_fnXMLFree(piece);
  XML_Dom_LogPrint("%d", failed);
  return failed;
}
