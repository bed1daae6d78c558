// No string, variable or piece is read or written beyond its end.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/guarded_hooks.h"
#include "support/page_edge.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

// While it lives, each allocation ends at such a page, except for alignment. What is allocated
// meanwhile must be freed meanwhile.
class PageHooks {
 public:
  PageHooks() {
    outstanding_ = 0;
    NEB_XML_RegMemFunc(
        allocate, [](size_t count, size_t size) { return allocate(count * size); }, release);
  }
  ~PageHooks() {
    guarded::registerHooks();
    EXPECT_EQ(outstanding_, kOk);
  }
  PageHooks(const PageHooks &) = delete;
  PageHooks &operator=(const PageHooks &) = delete;

 private:
  static void *allocate(size_t size) {
    ++outstanding_;
    // Only what is large may have fields that are aligned, and a size that does not align them.
    constexpr size_t kLarge = 512, kAlignment = alignof(void *);
    const size_t rest = size < kLarge ? 0 : (kAlignment - size % kAlignment) % kAlignment;
    auto *edge = new guarded::PageEdge(size + rest + sizeof(guarded::PageEdge *));
    char *piece = edge->before(std::string(size + rest, '\0'));
    std::memcpy(piece - sizeof edge, &edge, sizeof edge);
    return piece;
  }
  static void release(void *piece) {
    --outstanding_;
    guarded::PageEdge *edge = nullptr;
    std::memcpy(&edge, static_cast<char *>(piece) - sizeof edge, sizeof edge);
    delete edge;
  }
  static inline size_t outstanding_;
};

constexpr size_t kLongest = 1 << 19;

// Strings, variables and results at the end of memory, for every call that takes some, while what
// the library allocates ends so too.
void expectStringsKept(const std::string &text, bool withSession) {
  static const guarded::PageEdge edges[3] = {kLongest, kLongest, kLongest};
  const char *prefix = edges[0].text(text);
  const char *name = edges[1].text(text);
  const std::string content = text + (text.size() % 2 == 0 ? "" : "<");
  const char *value = edges[2].text(content);
  XmlNode *document = nullptr;
  XmlNode *element = nullptr;
  constexpr uint32_t kElement = NEB_XML_NODE_ELEMENT, kByte = NEB_XML_VALUE_UINT8;
  const uint32_t made =
      withSession ? NEB_XML_CreateNodeEx(0, NEB_XML_NODE_DOCUMENT, prefix, name, value, &document)
                  : NEB_XML_CreateNode(NEB_XML_NODE_DOCUMENT, prefix, name, value, &document);
  ASSERT_EQ(made, kOk);
  EXPECT_EQ(NEB_XML_CreateNodeEx(document->sessionId, kElement, prefix, name, value, &element),
            kOk);
  EXPECT_EQ(NEB_XML_AppendChildNode(document, element), kOk);
  EXPECT_EQ(NEB_XML_SetNode(element, prefix, name, value), kOk);
  EXPECT_EQ(NEB_XML_AddAttr(element, nullptr, "a", value), kOk);
  const bool hasName = !text.empty();
  EXPECT_EQ(NEB_XML_AddAttr(element, prefix, name, value) == 0, hasName);
  EXPECT_EQ(NEB_XML_SetAttr(element, prefix, name, value) == 0, hasName);
  const char *found = "";
  EXPECT_EQ(NEB_XML_GetAttr(element, prefix, name, &found) == 0, hasName);
  EXPECT_EQ(found, hasName ? content : "");
  char *copy = XML_Strdup(element, name);
  EXPECT_EQ(copy == nullptr ? "" : std::string(copy), text);
  XML_Free(element, copy);

  XmlNode *trees[3] = {document};
  ASSERT_TRUE(NEB_XML_CloneNode(document, &trees[1]) == 0);
  ASSERT_TRUE(NEB_XML_ImportNode(document, trees[1], &trees[2]) == 0);
  EXPECT_EQ(trees::described(trees[1]), trees::described(document));
  const std::string whole = text + ":" + text;
  const std::string escaped = tables::replaced(content, "<", "&lt;");
  for (XmlNode *tree : trees) {
    const std::string printed = "<" + whole + ">\n<" + whole + " a=\"" + escaped + "\" " + whole +
                                "=\"" + escaped + "\">" + escaped + "</" + whole + ">\n</" + whole +
                                ">\n";
    if (!hasName) continue;
    EXPECT_EQ(trees::printed(tree), printed);
    for (const bool isSession : {false, true}) {
      const trees::Held again{trees::parsed(printed, isSession)};
      EXPECT_EQ(trees::printed(again), printed);
    }
    XmlNode *node = nullptr;
    const std::string path = whole + "." + whole + ".1";
    const bool isPath = NEB_XML_GetNodeByUrl(tree, edges[2].text(path), &node) == 0;
    EXPECT_EQ(isPath, path.size() <= 511);
    EXPECT_EQ(node, isPath ? +tree->firstChild : nullptr);
    node = tree->firstChild;
    EXPECT_EQ(NEB_XML_SetAttrValueEx(node, prefix, name, kByte, edges[2].before("\x07")), kOk);
    char *number = edges[2].before(".");
    EXPECT_EQ(NEB_XML_GetAttrValueEx(node, prefix, name, kByte, number), kOk);
    EXPECT_EQ(*number, 7);
    const std::string digits = std::string(text.size(), '0') + "9";
    EXPECT_EQ(NEB_XML_SetNode(node, nullptr, nullptr, edges[2].text(digits)), kOk);
    EXPECT_EQ(NEB_XML_GetNodeValueEx(node, NEB_XML_VALUE_INT16, edges[2].before("ab")), kOk);
    EXPECT_EQ(NEB_XML_RemoveAttr(node, prefix, name), kOk);
  }
  for (XmlNode *tree : {trees[2], trees[1], document}) NEB_XML_FreeNode(tree);

  XmlMemBuf buffer;
  XML_MembufInit(&buffer);
  const char *bytes = edges[2].before(text);
  const auto size = static_cast<uint32_t>(text.size());
  EXPECT_EQ(XML_MemBufAssign(&buffer, bytes, size), kOk);
  EXPECT_EQ(XML_MemBufInsert(&buffer, bytes, size, buffer.length / 2), kOk);
  EXPECT_EQ(XML_MemBufAppendStr(&buffer, name), kOk);
  EXPECT_EQ(hasName ? buffer.data : "", text + text + text);
  XML_MembufDestroy(&buffer);
  const std::string path = "/dev/null/" + text;
  EXPECT_EQ(NEB_XML_ParseFile(edges[2].text(path), &document), kFileOpen);
}

TEST(Bounds, OfStringsOfEveryLengthAreKept) {
  const PageHooks hooks;
  for (size_t length = 0; length <= 130; ++length) {
    for (const bool withSession : {false, true}) {
      expectStringsKept(std::string(length, 'n'), withSession);
    }
  }
  for (const size_t length : {255U, 256U, 1023U, 1024U, 4095U, 8192U, 65535U, 65536U, 65540U}) {
    expectStringsKept(std::string(length, 'n'), true);
  }
}

}  // namespace
