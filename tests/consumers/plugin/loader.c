/* Loads the library by name at run time, uses and unloads it, twice. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <neb_xml.h>
#include <stdio.h>

/* The standard has no cast from an object's address to a function's. */
static int Find(void *library, const char *name, void *function) {
  *(void **)function = dlvsym(library, name, "NEB_XML_2");
  return *(void **)function != NULL;
}

static int PrintOnce(void *library) {
  uint32_t (*parse)(const char *, XmlNode **);
  uint32_t (*transform)(const XmlNode *, char **);
  void (*freeMem)(void *);
  void (*freeNode)(XmlNode *);
  XmlNode *document;
  char *text;

  if (!Find(library, "NEB_XML_ParseEx", &parse) ||
      !Find(library, "NEB_XML_Transform", &transform) ||
      !Find(library, "NEB_XML_FreeMem", &freeMem) ||
      !Find(library, "NEB_XML_FreeNode", &freeNode) ||
      parse("<plugin/>", &document) != NEB_XML_OK || transform(document, &text) != NEB_XML_OK) {
    return 0;
  }
  fputs(text, stdout);
  freeMem(text);
  freeNode(document);
  return 1;
}

int main(int count, char **arguments) {
  int round;
  for (round = 0; round < 2; ++round) {
    void *library = count == 2 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    const int works = library != NULL && PrintOnce(library) && dlclose(library) == 0;
    if (!works || dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD) != NULL) {
      fprintf(stderr, "%s\n", works ? "not unloaded" : dlerror());
      return 1;
    }
  }
  return 0;
}
