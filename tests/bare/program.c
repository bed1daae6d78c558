/* Parses, edits and prints documents in a fixed arena, without a heap, and compares every result
   byte for byte. Prints the deepest stack of each step: program [FILE to write] */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "device.h"
#include "neb_xml.h"

enum {
  kArenaSize = 96 * 1024,
  kAlignment = 16,
  kCapacity = 2048,
  kLevels = 300,
  kMostStack = 8192
};

static _Alignas(kAlignment) unsigned char arena[kArenaSize];
static size_t used;
static unsigned held; /* allocations that have not been freed */

static void *allocate(size_t size) {
  const size_t padded = size + (kAlignment - size % kAlignment) % kAlignment;
  void *memory = arena + used;

  if (padded < size || padded > kArenaSize - used) return NULL;
  used += padded;
  ++held;
  return memory;
}

static void *allocateZeroed(size_t count, size_t size) {
  void *memory = size != 0 && count > kArenaSize / size ? NULL : allocate(count * size);

  return memory == NULL ? NULL : memset(memory, 0, count * size);
}

static void release(void *memory) {
  if (memory != NULL) --held;
}

/* What a sink has received. */
struct Output {
  char bytes[kCapacity];
  size_t length;
};

static struct Output output;

static uint32_t receive(void *context, const char *bytes, size_t length) {
  struct Output *to = context;

  if (length > kCapacity - to->length) return NEB_XML_ERR_NO_MEMORY;
  memcpy(to->bytes + to->length, bytes, length);
  to->length += length;
  return NEB_XML_OK;
}

static int isOutput(const char *expected) {
  return output.length == strlen(expected) && memcmp(output.bytes, expected, output.length) == 0;
}

static int isPrinted(const XmlNode *node, const char *expected) {
  char *text;
  int isSame;

  if (NEB_XML_Transform(node, &text) != NEB_XML_OK) return 0;
  isSame = strcmp(text, expected) == 0;
  NEB_XML_FreeMem(text);
  return isSame;
}

static const char kDocument[] =
    "<?xml version=\"1.0\"?>\n"
    "<!-- kept in flash -->\n"
    "<mixer model='A&amp;B' gain=\"-12\">\n"
    "  <level unit=\"dB\">0</level>\n"
    "  <name>caf\xC3\xA9 &lt;1&gt;</name>\n"
    "  <mute/>\n"
    "</mixer>\n";

static const char kTree[] =
    "<mixer model=\"A&amp;B\" gain=\"-12\">\n"
    "<level unit=\"dB\">-7</level>\n"
    "<name>caf\xC3\xA9 &lt;1&gt;</name>\n"
    "<mute/>\n"
    "</mixer>\n";

static int parseLeniently(uint32_t (*parse)(const char *, XmlNode **)) {
  const int8_t level = -7;
  XmlNode *document, *node;
  int isRight;

  if (parse(kDocument, &document) != NEB_XML_OK) return 0;
  isRight = NEB_XML_GetNodeByUrl(document, "mixer.level", &node) == NEB_XML_OK &&
            NEB_XML_SetNodeValueEx(node, NEB_XML_VALUE_INT8, &level) == NEB_XML_OK &&
            isPrinted(document, kTree);
  NEB_XML_FreeNode(document);
  return isRight;
}

static int parseOnHeap(void) { return parseLeniently(NEB_XML_Parse); }
static int parseInSession(void) { return parseLeniently(NEB_XML_ParseEx); }

static uint32_t readDocument(XmlNode **document) {
  return NEB_XML_Read(kDocument, sizeof kDocument - 1, NULL, document, NULL);
}

static int readAndEdit(void) {
  const NEB_XML_PRINT_OPTIONS options = {sizeof options, NEB_XML_PRINT_DECLARATION, 2};
  const double gain = -0.1;
  XmlNode *document, *node, *added;
  int isRight;

  if (readDocument(&document) != NEB_XML_OK) return 0;
  isRight = NEB_XML_WriteValue(NEB_XML_FindAttr(document, "gain", 4), NEB_XML_VALUE_DOUBLE,
                               &gain) == NEB_XML_OK &&
            NEB_XML_GetNodeByUrl(document, "mixer.mute", &node) == NEB_XML_OK &&
            NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, "x", "solo", "<\t>", &added) == NEB_XML_OK &&
            NEB_XML_AppendChildNode(node, added) == NEB_XML_OK &&
            NEB_XML_AddAttr(added, NULL, "on", "\"yes\"") == NEB_XML_OK &&
            NEB_XML_GetNodeByUrl(document, "mixer.name", &node) == NEB_XML_OK;
  if (isRight) NEB_XML_FreeNode(node);
  isRight = isRight && NEB_XML_Print(document, &options, receive, &output) == NEB_XML_OK &&
            isOutput(
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                "<mixer model=\"A&amp;B\" gain=\"-0.1\">\n"
                "  <level unit=\"dB\">0</level>\n"
                "  <mute>\n"
                "    <x:solo on=\"&quot;yes&quot;\">&lt;\t&gt;</x:solo>\n"
                "  </mute>\n"
                "</mixer>\n");
  NEB_XML_FreeNode(document);
  return isRight;
}

static int selectAndClone(void) {
  NEB_XML_CURSOR cursor = {0};
  XmlNode *document, *copy = NULL;
  double gain = 0;
  int isRight;

  if (readDocument(&document) != NEB_XML_OK) return 0;
  isRight = NEB_XML_Select(document, "mixer.@gain", &cursor) == NEB_XML_OK &&
            NEB_XML_ReadValue(cursor.node, NEB_XML_VALUE_DOUBLE, &gain) == NEB_XML_OK &&
            gain == -12 && NEB_XML_CloneNode(document, &copy) == NEB_XML_OK;
  memset(&cursor, 0, sizeof cursor);
  isRight = isRight && NEB_XML_Select(copy, "mixer.**.[@unit=dB]", &cursor) != NEB_XML_OK &&
            NEB_XML_Select(copy, "mixer.**.*[@unit=dB]", &cursor) == NEB_XML_OK &&
            isPrinted(cursor.node, "<level unit=\"dB\">0</level>\n");
  NEB_XML_FreeNode(copy);
  NEB_XML_FreeNode(document);
  return isRight;
}

static int editBytes(void) {
  NEB_XML_EDIT edits[2] = {{0}, {0}};
  XmlNode *document, *level;
  int isRight;

  if (readDocument(&document) != NEB_XML_OK) return 0;
  isRight = NEB_XML_GetNodeByUrl(document, "mixer.level", &level) == NEB_XML_OK;
  edits[0].kind = NEB_XML_EDIT_SET_VALUE;
  edits[0].node = level;
  edits[0].value = "6";
  edits[1].kind = NEB_XML_EDIT_SET_ATTR;
  edits[1].node = document;
  edits[1].name = "model";
  edits[1].value = "'";
  isRight = isRight &&
            NEB_XML_EditBytes(kDocument, sizeof kDocument - 1, edits, 2, receive, &output) ==
                NEB_XML_OK &&
            isOutput(
                "<?xml version=\"1.0\"?>\n"
                "<!-- kept in flash -->\n"
                "<mixer model='&apos;' gain=\"-12\">\n"
                "  <level unit=\"dB\">6</level>\n"
                "  <name>caf\xC3\xA9 &lt;1&gt;</name>\n"
                "  <mute/>\n"
                "</mixer>\n");
  NEB_XML_FreeNode(document);
  return isRight;
}

static int reportErrors(void) {
  static const char kMalformed[] = "<a>\n <b c='1' c='2'/></a>";
  NEB_XML_PARSE_ERROR error;
  XmlNode *document;

  return NEB_XML_Read(kMalformed, sizeof kMalformed - 1, NULL, &document, &error) ==
             NEB_XML_ERR_SYNTAX &&
         error.line == 2 && error.column == 11 &&
         NEB_XML_ParseBuffer("<a><b></a>", 10, 0, &document, &error) == NEB_XML_ERR_SYNTAX &&
         error.offset == 6;
}

/* The depth of a document does not grow the stack. An empty sibling on each level makes the search
   climb. */
static int goDeep(void) {
  static char text[kLevels * sizeof "<a></a><b/>"];
  NEB_XML_CURSOR cursor = {0};
  int matches = 0;
  char *end = text;
  XmlNode *document, *copy;
  int isRight;

  for (int i = 0; i < kLevels; ++i) end += sprintf(end, "<a>");
  for (int i = 1; i < kLevels; ++i) end += sprintf(end, "</a><b/>");
  end += sprintf(end, "</a>");
  if (NEB_XML_Read(text, (size_t)(end - text), NULL, &document, NULL) != NEB_XML_OK) return 0;
  isRight = NEB_XML_CloneNode(document, &copy) == NEB_XML_OK;
  NEB_XML_FreeNode(document);
  if (!isRight) return 0;
  while (NEB_XML_Select(copy, "**.a.a.a[1].a", &cursor) == NEB_XML_OK) ++matches;
  NEB_XML_FreeNode(copy);
  return matches == kLevels - 3;
}

static const char *filePath;

static int isFile(const char *expected) {
  static char bytes[kCapacity];
  FILE *file = fopen(filePath, "rb");
  size_t length;

  if (file == NULL) return 0;
  length = fread(bytes, 1, sizeof bytes, file);
  fclose(file);
  return length == strlen(expected) && memcmp(bytes, expected, length) == 0;
}

/* A file that is saved again, and one that cannot be. */
static int saveFiles(void) {
  XmlNode *document, *loaded, *unnamed;
  int isRight;

  if (readDocument(&document) != NEB_XML_OK) return 0;
  isRight = NEB_XML_SaveBytes(filePath, "old", 3) == NEB_XML_OK && isFile("old") &&
            NEB_XML_Load(filePath, NULL, &loaded, NULL) == NEB_XML_ERR_SYNTAX &&
            NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, NULL, "1", NULL, &unnamed) == NEB_XML_OK &&
            NEB_XML_Save(unnamed, filePath, NULL) == NEB_XML_ERR_UNWRITABLE && isFile("old") &&
            NEB_XML_Save(document, filePath, NULL) == NEB_XML_OK &&
            NEB_XML_Load(filePath, NULL, &loaded, NULL) == NEB_XML_OK;
  if (isRight) {
    isRight = NEB_XML_TransformFile(loaded, filePath) == NEB_XML_OK;
    NEB_XML_FreeNode(loaded);
    NEB_XML_FreeNode(unnamed);
  }
  isRight = isRight && NEB_XML_ParseFileEx(filePath, &loaded) == NEB_XML_OK;
  if (isRight) NEB_XML_FreeNode(loaded);
  NEB_XML_FreeNode(document);
  return isRight &&
         NEB_XML_Load("missing/file.xml", NULL, &loaded, NULL) == NEB_XML_ERR_FILE_OPEN &&
         NEB_XML_SaveBytes("missing/file.xml", "<a/>", 4) == NEB_XML_ERR_FILE_OPEN;
}

static const struct {
  const char *name;
  int (*run)(void);
} kSteps[] = {
    {"parse, on the heap", parseOnHeap},
    {"parse, in a session", parseInSession},
    {"read, edit, print", readAndEdit},
    {"select, clone", selectAndClone},
    {"edit bytes", editBytes},
    {"report errors", reportErrors},
    {"go deep", goDeep},
    {"save and load files", saveFiles},
};

/* True if all results are right, everything is freed and the stack stays small. */
static int runStep(size_t i) {
  size_t stack;
  int isRight;

  used = 0;
  output.length = 0;
  paintStack();
  isRight = kSteps[i].run();
  stack = deepestStack();
  printf("%-20s %s, stack %u, allocations left %u\n", kSteps[i].name, isRight ? "right" : "WRONG",
         (unsigned)stack, held);
  return isRight && held == 0 && stack <= kMostStack;
}

int main(int argc, char **argv) {
  int areRight = 1;

  filePath = argc > 1 ? argv[1] : "bare.xml";
  if (NEB_XML_RegMemFunc(allocate, allocateZeroed, release) != NEB_XML_OK) return EXIT_FAILURE;
  for (size_t i = 0; i < sizeof kSteps / sizeof kSteps[0]; ++i) areRight &= runStep(i);
  return areRight ? EXIT_SUCCESS : EXIT_FAILURE;
}
