/* Parses, edits and prints within one static arena, without the heap. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "neb_xml.h"

enum { kArenaSize = 32 * 1024, kAlignment = 16 };

static _Alignas(kAlignment) unsigned char arena[kArenaSize];
static size_t used;

static void *allocate(size_t size) {
  const size_t room = kArenaSize - used;
  const size_t padding = (kAlignment - size % kAlignment) % kAlignment;
  void *memory = arena + used;

  if (size > room || padding > room - size) return NULL;
  used += size + padding;
  return memory;
}

static void *allocateZeroed(size_t count, size_t size) {
  void *memory = size != 0 && count > kArenaSize / size ? NULL : allocate(count * size);

  return memory == NULL ? NULL : memset(memory, 0, count * size);
}

/* Does nothing: the arena is freed as a whole. */
static void ignore(void *memory) { (void)memory; }

static int answer(const char *message) {
  const int8_t decibel = -12;
  XmlNode *document;
  XmlNode *level;
  char *text;
  int isDone = 0;

  if (NEB_XML_ParseEx(message, &document) != NEB_XML_OK) return 0;
  if (NEB_XML_GetNodeByUrl(document, "mixer.level", &level) == NEB_XML_OK &&
      NEB_XML_SetNodeValueEx(level, NEB_XML_VALUE_INT8, &decibel) == NEB_XML_OK &&
      NEB_XML_Transform(document, &text) == NEB_XML_OK) {
    isDone = fputs(text, stdout) >= 0;
  }
  NEB_XML_FreeNode(document);
  used = 0; /* frees the whole arena */
  return isDone;
}

int main(void) {
  static char line[BUFSIZ]; /* otherwise, standard output allocates its buffer from the heap */

  setvbuf(stdout, line, _IOLBF, sizeof line);
  if (NEB_XML_RegMemFunc(allocate, allocateZeroed, ignore) != NEB_XML_OK) return EXIT_FAILURE;
  return answer("<mixer><level>0</level></mixer>") && answer("<mixer><level>6</level></mixer>")
             ? EXIT_SUCCESS
             : EXIT_FAILURE;
}
