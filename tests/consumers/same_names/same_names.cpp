// A program that defines names that the static library uses internally. Neither may use those of
// the other.
#include <neb_xml.h>

#include <cstdio>
#include <cstring>

// Calls of the program's own functions.
static int g_ownCalls = 0;

int g_fnXMLCalloc = 7;

struct XmlMemSession {
  unsigned handle;
};

// The library has its own as an inline function. The linker would use this one without a warning.
struct SessionAllocator {
  char *allocate(size_t size);
};

char *SessionAllocator::allocate(size_t) {
  ++g_ownCalls;
  return nullptr;
}

namespace platform {
int writeWholeFile(const char *, const char *, size_t) { return ++g_ownCalls; }
}  // namespace platform

namespace reasons {
extern const char kNoMemory[];
const char kNoMemory[] = "none of the library's";
}  // namespace reasons

XmlMemSession *findSession(uint32_t handle) {
  static XmlMemSession session;
  ++g_ownCalls;
  session.handle = handle;
  return &session;
}

int allocateInSession(XmlMemSession &, int32_t) { return ++g_ownCalls; }
int noteCrossReference(XmlNode *) { return ++g_ownCalls; }
int unlinkNode(XmlNode *) { return ++g_ownCalls; }

// Parses, edits across sessions, copies and prints.
static bool libraryWorks() {
  XmlNode *document = nullptr;
  XmlNode *added = nullptr;
  XmlNode *copy = nullptr;
  char *text = nullptr;
  const bool isPrinted =
      NEB_XML_ParseEx("<list a='1'><item>one &amp; two</item></list>", &document) == NEB_XML_OK &&
      NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "added", "3", &added) == NEB_XML_OK &&
      NEB_XML_AppendChildNode(document, added) == NEB_XML_OK &&
      NEB_XML_RemoveNode(NEB_XML_GetNodeFirstChild(document)) == NEB_XML_OK &&
      NEB_XML_CloneNode(document, &copy) == NEB_XML_OK &&
      NEB_XML_Transform(copy, &text) == NEB_XML_OK;
  const bool isRight =
      isPrinted && std::strcmp(text, "<list a=\"1\">\n<added>3</added>\n</list>\n") == 0;
  NEB_XML_FreeMem(text);
  NEB_XML_FreeNode(copy);
  NEB_XML_FreeNode(document);
  return isRight && g_ownCalls == 0;
}

int main() {
  constexpr int kOwnFunctions = 6;
  const bool works = libraryWorks();
  SessionAllocator().allocate(1);
  platform::writeWholeFile(nullptr, nullptr, 0);
  allocateInSession(*findSession(9), 1);
  noteCrossReference(nullptr);
  unlinkNode(nullptr);
  const bool isOwn = g_ownCalls == kOwnFunctions && g_fnXMLCalloc == 7;
  if (!works || !isOwn) return 1;
  std::puts("kept apart");
  return 0;
}
