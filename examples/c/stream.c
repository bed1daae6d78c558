/* Writes a feed that is too long for memory: the frame once, the records one by one. */
#include <stdio.h>
#include <stdlib.h>

#include "neb_xml.h"

enum { kRecords = 3 };

static const char kFrame[] = "<feed><source>sensor 7</source><records/></feed>";

typedef uint32_t Printing(const XmlNode *, char **);

static int put(const XmlNode *node, Printing *print) {
  char *text;

  if (print(node, &text) != NEB_XML_OK) return 0;
  if (text != NULL) fputs(text, stdout); /* a half may be empty */
  NEB_XML_FreeMem(text);
  return 1;
}

/* Each record is freed once it is written, so memory does not grow with the feed. */
static int putRecord(const XmlNode *pattern, uint32_t number) {
  const int32_t celsius = 20 + (int32_t)(number % 3);
  XmlNode *record;
  int isDone;

  if (NEB_XML_CloneNode(pattern, &record) != NEB_XML_OK) return 0;
  isDone =
      NEB_XML_SetAttrValueEx(record, NULL, "number", NEB_XML_VALUE_UINT32, &number) == NEB_XML_OK &&
      NEB_XML_SetNodeValueEx(record, NEB_XML_VALUE_INT32, &celsius) == NEB_XML_OK &&
      put(record, NEB_XML_Transform);
  NEB_XML_FreeNode(record);
  return isDone;
}

int main(void) {
  XmlNode *frame = NULL;
  XmlNode *pattern = NULL;
  int isDone = NEB_XML_ParseEx(kFrame, &frame) == NEB_XML_OK &&
               NEB_XML_ParseEx("<record number=''/>", &pattern) == NEB_XML_OK &&
               put(frame, NEB_XML_TransformHead);

  for (uint32_t number = 1; isDone && number <= kRecords; ++number) {
    isDone = putRecord(pattern, number);
  }
  isDone = isDone && put(frame, NEB_XML_TransformTail) && fflush(stdout) == 0;
  NEB_XML_FreeNode(pattern);
  NEB_XML_FreeNode(frame);
  return isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}
