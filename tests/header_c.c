/* The header as strict C, against the shared library. */
#include "neb_xml.h"
/* Again: the second time must add nothing. */
#include "neb_xml.h"

int main(void) {
  XmlMemBuf buffer;
  void *piece;
  int failed;

  XML_MembufInit(&buffer);
  failed = XML_MemBufAppendStr(&buffer, "text") != NEB_XML_OK || buffer.length != 4;
  XML_MembufDestroy(&buffer);
  /* The two data symbols and a function with variable arguments link like the rest. */
  piece = g_fnXMLMalloc(16);
  failed += piece == NULL;
  g_fnXMLFree(piece);
  XML_Dom_LogPrint("%d", failed);
  return failed;
}
