// Depth, width and length without limits: on a small stack, in steps that stay few. A cost that
// grew with the square of these sizes would run for hours here.
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "support/guarded_hooks.h"
#include "support/tables.h"
#include "support/trees.h"

namespace {

using tables::repeated;
constexpr size_t kDepth = 1'000'000;
constexpr size_t kWidth = 100'000;
constexpr size_t kSmallStack = 256 * 1024;

void onSmallStack(std::function<void()> work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kSmallStack), 0);
  pthread_t thread;
  const auto run = [](void *argument) -> void * {
    (*static_cast<std::function<void()> *>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

size_t nodesFrom(const XmlNode *node) {
  size_t count = 0;
  for (; node != nullptr; node = NEB_XML_Iterator(node)) ++count;
  return count;
}

// The tree without what printing leaves out: after an empty last child the white space before an
// element's end tag becomes its value, but a value beside children is never printed.
std::string describedAsPrinted(XmlNode *document) {
  for (XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
    const char *value = nullptr;
    NEB_XML_GetNodeValue(node, nullptr, nullptr, nullptr, &value);
    if (value == nullptr || NEB_XML_GetNodeFirstChild(node) == nullptr) continue;
    EXPECT_EQ(NEB_XML_SetNode(node, nullptr, nullptr, ""), kOk);
  }
  return trees::described(document);
}

// Through parse, copy, print, parse again, and release; gives what was printed.
std::string roundTrip(const std::string &text, bool withSession) {
  XmlNode *document = trees::parsed(text, withSession);
  XmlNode *copy = nullptr;
  EXPECT_EQ(NEB_XML_CloneNode(document, &copy), kOk);
  const std::string printed = trees::printed(document);
  EXPECT_TRUE(printed == trees::printed(copy));
  XmlNode *again = trees::parsed(printed, withSession);
  EXPECT_TRUE(describedAsPrinted(again) == describedAsPrinted(document));
  EXPECT_TRUE(printed == trees::printed(again));
  for (XmlNode *tree : {again, copy, document}) XML_FreeNode(tree);
  return printed;
}

TEST(Scale, ManyLevelsAndSiblingsOnASmallStack) {
  const struct {
    std::string text;
    size_t nodes;
    const char *path;
  } cases[] = {{repeated("<a>", kDepth) + repeated("</a>", kDepth), kDepth, "a.a"},
               {"<r>" + repeated("<a x='1'/>", kWidth) + "</r>", kWidth + 1, "r.a.100000"},
               {repeated("<a/>", kWidth), kWidth, "a"}};
  for (const auto &row : cases) {
    for (const bool withSession : {false, true}) {
      onSmallStack([&] {
        const trees::Held document{trees::parsed(row.text, withSession)};
        EXPECT_EQ(nodesFrom(document), row.nodes);
        XmlNode *found = nullptr;
        EXPECT_EQ(NEB_XML_GetNodeByUrl(document, row.path, &found), kOk);
        if (NEB_XML_GetNodeNextSibling(document) == nullptr) roundTrip(row.text, withSession);
      });
    }
  }
}

// Each search could look at the same nodes again and again.
TEST(Scale, SearchesOnASmallStack) {
  const std::string depth = repeated("<a>", kDepth) + repeated("</a>", kDepth);
  const std::string pairs = repeated("<p><c>v</c>", kDepth / 2) + repeated("</p>", kDepth / 2);
  const std::string families = "<r>" + repeated("<a><b>v</b></a>", kDepth / 2) + "</r>";
  const std::string chain = repeated("<x>", 50) + repeated("</x>", 50);
  const std::string chains = "<r>" + repeated(chain, kDepth / 50) + "</r>";
  const struct {
    const std::string &text;
    const char *pattern;
    size_t found;
  } cases[] = {{depth, "**.a.**.a.**.b", 0},
               {depth, "**.a.a.*[1].a[2]", 0},
               {depth, "**.a[a].a[1].a", kDepth - 2},
               {pairs, "**.p[c=v].p[c=w].c", 0},
               {pairs, "**.*[2].*[2].c[1]", kDepth / 2 - 2},
               {families, "r.a[3].**", 2},
               {families, "r[c].a", 0},
               {families, "**.r[c].a.b", 0},
               {families, "**.r[a].a.b", kDepth / 2},
               {families, "**.*[500000].b", 1},
               {chains, "**.r[c].x.x", 0},
               {chains, "**.x[9].x[1].*", 1}};
  for (const auto &row : cases) {
    SCOPED_TRACE(row.pattern);
    onSmallStack([&] {
      const trees::Held document{trees::parsed(row.text)};
      NEB_XML_CURSOR cursor = {};
      size_t found = 0;
      while (NEB_XML_Select(document, row.pattern, &cursor) == kOk) ++found;
      EXPECT_EQ(found, row.found);
    });
  }
}

TEST(Scale, RealFiles) {
  for (const std::string &path : trees::realFiles()) {
    SCOPED_TRACE(path);
    const std::string text = trees::readFile(path);
    EXPECT_TRUE(roundTrip(text, false) == roundTrip(text, true)) << "storage matters";
  }
}

// Names that share a long beginning, and names that a fixed hash could be made to mix up.
TEST(Scale, ManyAttributesOnOneElement) {
  for (const std::string &shared : {std::string("a"), "p:" + std::string(300, 'a')}) {
    std::string text = "<r";
    for (size_t i = 0; i < kWidth; ++i) text += " " + shared + std::to_string(i) + "='v'";
    onSmallStack([&] { roundTrip(text + "/>", true); });
    XmlNode *document = nullptr;
    for (const size_t repeatedOne : {size_t{0}, kWidth / 2, kWidth - 1}) {
      const std::string again = " " + shared + std::to_string(repeatedOne) + "='v'/>";
      EXPECT_EQ(NEB_XML_ParseEx((text + again).c_str(), &document), kSyntax);
    }
  }
}

TEST(Scale, LongValues) {
  const std::string zeros = "&#" + std::string(kDepth, '0') + "65";
  // The last one: the memory that is asked for follows what is printed, not the rest of the value.
  for (const std::string &value : {std::string(kDepth, '&'), repeated("&#0", kDepth / 4), zeros,
                                   std::string(16, '&') + std::string(size_t{65} << 20, 'x')}) {
    const trees::Held node{trees::parsed("<a/>", false)};
    ASSERT_EQ(NEB_XML_SetNode(node, nullptr, nullptr, value.c_str()), kOk);
    const auto before = static_cast<ptrdiff_t>(guarded::mallocSizes().size());
    const std::string printed = trees::printed(node);
    const std::vector<size_t> sizes = guarded::mallocSizes();
    EXPECT_LT(std::accumulate(sizes.begin() + before, sizes.end(), size_t{0}), 4 * printed.size());
    const trees::Held again{trees::parsed(printed, false)};
    EXPECT_TRUE(trees::described(again) == trees::described(node));
  }
  const trees::Held document{
      trees::parsed("<a>" + repeated("<![CDATA[x]]>", kWidth) + zeros + ";</a>")};
  EXPECT_TRUE(trees::described(document) == "12:a='" + std::string(kWidth, 'x') + "A'");
}

// What is never closed is looked through once, however often it begins.
TEST(Scale, MarkupThatIsNeverClosed) {
  const std::string starts[] = {"<!-- ", "<!--->", "<![CDATA[", "<?", "<!DOCTYPE a [<", "&#", "\""};
  for (const std::string &start : starts) {
    for (const std::string &before : {std::string(), std::string("<a>"), std::string("<a x='")}) {
      XmlNode *document = nullptr;
      const std::string text = before + repeated(start, kWidth);
      EXPECT_EQ(NEB_XML_ParseEx(text.c_str(), &document), kSyntax);
    }
  }
}

// Every block keeps a gap that is a little too small for the next sizes.
TEST(Scale, HolesInEveryBlock) {
  const uint32_t session = XML_MemSessionBegin(8192);
  for (int i = 0; i < 100'000; ++i) {
    ASSERT_NE(XML_MemSpecialMalloc(session, i % 2 == 0 ? 4100 : 4093), nullptr);
  }
  EXPECT_EQ(XML_MemSessionEnd(session), 1U);
}

}  // namespace
