// A program that defines names that the static library uses internally. Neither may use those of
// the other.
#include <neb_xml.h>

#include <cstdio>
#include <cstring>

// Each function here counts its calls, so that a call by the library is noticed.
static int g_ownCalls = 0;

int g_fnXMLCalloc = 7;

struct XmlMemSession {
  unsigned handle;
};

struct Storage {
  explicit Storage(uint32_t handle);
  static int of(const XmlNode *node);
  void *allocate(size_t size) const;
};

Storage::Storage(uint32_t) { ++g_ownCalls; }
int Storage::of(const XmlNode *) { return ++g_ownCalls; }
void *Storage::allocate(size_t) const { return &++g_ownCalls; }

struct StructuralIndex {
  static bool reset();
};

bool StructuralIndex::reset() { return ++g_ownCalls != 0; }

// The library has it as an inline function. The linker would use this one without a warning.
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
int indexSizeAfter(uint32_t) { return ++g_ownCalls; }
int makeNode(const Storage &, uint32_t) { return ++g_ownCalls; }
int openSession() { return ++g_ownCalls; }
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
  return isRight;
}

static int callOwn() {
  const Storage storage(1);
  SessionAllocator allocator;
  Storage::of(nullptr);
  storage.allocate(1);
  StructuralIndex::reset();
  allocator.allocate(1);
  platform::writeWholeFile(nullptr, nullptr, 0);
  allocateInSession(*findSession(1), 1);
  indexSizeAfter(1);
  makeNode(storage, 1);
  openSession();
  noteCrossReference(nullptr);
  unlinkNode(nullptr);
  return 13;
}

int main() {
  const bool works = libraryWorks();
  if (!works) std::puts("the library does not work");
  if (g_ownCalls != 0) std::puts("the library called the program's functions");
  if (!works || g_ownCalls != 0) return 1;
  const int called = callOwn();
  const bool isOwn = g_ownCalls == called && findSession(9)->handle == 9 && g_fnXMLCalloc == 7 &&
                     std::strcmp(reasons::kNoMemory, "none of the library's") == 0;
  std::puts(isOwn ? "kept apart" : "the program called the library's functions");
  return isOwn ? 0 : 1;
}
