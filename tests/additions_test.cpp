// Importing across documents, indented output and safe saving.
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/guarded_hooks.h"
#include "support/trees.h"

namespace {

namespace fs = std::filesystem;
constexpr uint32_t kOk = NEB_XML_OK;
constexpr uint32_t kInvalid = NEB_XML_ERR_INVALID_PARAM;

std::string indented(const XmlNode *node, uint32_t width) {
  char *text = nullptr;
  if (NEB_XML_TransformIndented(node, width, &text) != NEB_XML_OK) return "error";
  std::string copy = text;
  NEB_XML_FreeMem(text);
  return copy;
}

TEST(Import, WorksBetweenAnyTwoStorages) {
  const char *kSource = "<s:r a='1' s:b='&amp;'><x>t</x><y><z/></y></s:r>";
  for (const bool sourceSession : {false, true}) {
    for (const bool targetSession : {false, true}) {
      XmlNode *source = trees::parsed(kSource, sourceSession);
      XmlNode *target = trees::parsed("<t><u/></t>", targetSession);
      const std::string before = trees::described(source);
      XmlNode *copy = nullptr;
      ASSERT_EQ(NEB_XML_ImportNode(NEB_XML_GetNodeFirstChild(target), source, &copy), kOk);
      EXPECT_EQ(trees::described(copy), "0" + before.substr(2)) << "a document becomes an element";
      EXPECT_EQ(trees::described(source), before);
      EXPECT_EQ(NEB_XML_AppendChildNode(target, copy), kOk);
      NEB_XML_FreeNode(source);
      EXPECT_EQ(trees::described(target), "12:t=-(0:u=-,0" + before.substr(2) + ")");
      NEB_XML_FreeNode(target);
    }
  }
}

TEST(Import, IsTheWayForANodeThatInsertionRefuses) {
  XmlNode *from = trees::parsed("<a><b>text</b></a>");
  XmlNode *to = trees::parsed("<c/>");
  XmlNode *node = NEB_XML_GetNodeFirstChild(from);
  NEB_XML_RemoveNode(node);
  EXPECT_EQ(NEB_XML_AppendChildNode(to, node), kInvalid);
  XmlNode *copy = nullptr;
  ASSERT_EQ(NEB_XML_ImportNode(to, node, &copy), kOk);
  EXPECT_EQ(NEB_XML_AppendChildNode(to, copy), kOk);
  NEB_XML_FreeNode(from);
  EXPECT_EQ(trees::printed(to), "<c>\n<b>text</b>\n</c>\n");
  NEB_XML_FreeNode(to);
}

TEST(Import, RefusesAndGivesEverythingBack) {
  XmlNode *chain = trees::parsed("<a/><b/>");
  XmlNode *source = trees::parsed("<s x='1'><t u='2'>v</t></s>", false);
  XmlNode *target = trees::parsed("<t/>", false);
  XmlNode *attribute = XML_NewNode(0, NEB_XML_NODE_ATTRIBUTE);
  XmlNode *copy = source;
  for (auto [to, from, out] :
       {std::tuple(static_cast<XmlNode *>(nullptr), source, &copy),
        std::tuple(target, static_cast<XmlNode *>(nullptr), &copy),
        std::tuple(target, source, static_cast<XmlNode **>(nullptr)),
        std::tuple(attribute, source, &copy), std::tuple(target, attribute, &copy),
        std::tuple(chain, source, &copy)}) {
    EXPECT_EQ(NEB_XML_ImportNode(to, from, out), kInvalid);
  }
  const size_t before = guarded::outstanding();
  bool hasFailed = true;
  for (size_t n = 1; hasFailed; ++n) {
    const guarded::FailingAllocation failing(n);
    const uint32_t result = NEB_XML_ImportNode(target, source, &copy);
    hasFailed = failing.happened();
    EXPECT_EQ(result, hasFailed ? uint32_t{NEB_XML_ERR_NO_MEMORY} : kOk);
    if (!hasFailed) NEB_XML_FreeNode(copy);
    ASSERT_EQ(guarded::outstanding(), before);
  }
  for (XmlNode *node : {attribute, target, source, chain}) NEB_XML_FreeNode(node);
}

TEST(Indented, PutsSpacesBeforeLinesAndNowhereElse) {
  XmlNode *document = trees::parsed("<r a='1'><b><c>x  y</c><d/></b><e>t\tt</e></r>");
  EXPECT_EQ(indented(document, 0), trees::printed(document));
  EXPECT_EQ(indented(document, 2),
            "<r a=\"1\">\n  <b>\n    <c>x  y</c>\n    <d/>\n  </b>\n  <e>t\tt</e>\n</r>\n");
  XmlNode *inner = NEB_XML_GetNodeFirstChild(document);
  EXPECT_EQ(indented(inner, 1), "<b>\n <c>x  y</c>\n <d/>\n</b>\n");
  EXPECT_EQ(indented(document, 16).find("<b>"), indented(document, 0).find("<b>") + 16);
  char *text = nullptr;
  EXPECT_EQ(NEB_XML_TransformIndented(document, 17, &text), kInvalid);
  EXPECT_EQ(NEB_XML_TransformIndented(nullptr, 2, &text), kInvalid);
  NEB_XML_FreeNode(document);
}

// Prints in every width, and demands that reading gives the same tree.
void expectExact(const XmlNode *document) {
  for (const uint32_t width : {0U, 1U, 16U}) {
    const std::string text = indented(document, width);
    XmlNode *again = trees::parsed(text);
    EXPECT_EQ(trees::described(again), trees::described(document)) << text;
    NEB_XML_FreeNode(again);
  }
}

void expectRefused(const XmlNode *document, const std::string &what) {
  char *text = nullptr;
  EXPECT_EQ(NEB_XML_TransformIndented(document, 0, &text), kInvalid) << what;
  EXPECT_EQ(text, nullptr);
}

// A document, an element in it, and an attribute of that.
struct Nodes {
  explicit Nodes(bool withSession)
      : document(trees::parsed("<r><e a='v'>v</e></r>", withSession)),
        element(NEB_XML_GetNodeFirstChild(document)) {
    const char *ignored = nullptr;
    NEB_XML_GetFirstAttrEx(element, &ignored, &ignored, &ignored, &attribute);
  }
  ~Nodes() { NEB_XML_FreeNode(document); }
  XmlNode *document, *element, *attribute = nullptr;
};

TEST(Indented, WritesValuesThatReadBack) {
  const char *const cases[][3] = {
      {"&lt;&#65; &", "&amp;lt;&amp;#65; &amp;", "&amp;lt;&amp;#65; &amp;"},
      {"<>\"'", "&lt;&gt;&quot;&apos;", "&lt;&gt;&quot;&apos;"},
      {"x\t\n\r\r\n", "x\t\n&#13;&#13;\n", "x&#9;&#10;&#13;&#13;&#10;"},
      {"  spaces before, and behind ", "  spaces before, and behind ",
       "  spaces before, and behind "},
      {" \n x", "&#32;\n x", " &#10; x"},
      {" \r x", " &#13; x", " &#13; x"},
      {"\t", "&#9;", "&#9;"},
      {"\n ", "&#10; ", "&#10; "},
      {"  ", "&#32; ", "  "},
      {"\x7F\xC3\xA9\xFF", "\x7F\xC3\xA9\xFF", "\x7F\xC3\xA9\xFF"},
  };
  for (const bool withSession : {false, true}) {
    const Nodes nodes(withSession);
    std::string all(5000, 'x');
    for (const auto &[value, inElement, inAttribute] : cases) {
      for (XmlNode *node : {nodes.element, nodes.attribute}) {
        ASSERT_EQ(NEB_XML_SetNode(node, nullptr, nullptr, value), kOk);
      }
      EXPECT_EQ(indented(nodes.element, 2),
                std::string("<e a=\"") + inAttribute + "\">" + inElement + "</e>\n");
      expectExact(nodes.document);
      all += value;
      NEB_XML_SetNode(nodes.element, nullptr, nullptr, all.c_str());
      expectExact(nodes.document);
    }
  }
}

TEST(Indented, RefusesWhatNoTextCanHold) {
  for (const bool withSession : {false, true}) {
    for (const char *before : {"", "ab", "sixteen letters and more"}) {
      for (char control = 1; control < ' '; ++control) {
        if (std::strchr("\t\n\r", control) != nullptr) continue;
        for (const bool isInAttribute : {false, true}) {
          const Nodes nodes(withSession);
          NEB_XML_SetNode(isInAttribute ? nodes.attribute : nodes.element, nullptr, nullptr,
                          (std::string(before) + control + "c").c_str());
          expectRefused(nodes.document, before + std::to_string(control));
        }
      }
    }
  }
  const Nodes nodes(true);
  EXPECT_EQ(NEB_XML_SetNode(nodes.document, nullptr, nullptr, " \t\r\n"), kOk);
  EXPECT_EQ(indented(nodes.document, 0), "<r>\n<e a=\"v\">v</e>\n</r>\n") << "layout";
  NEB_XML_SetNode(nodes.document, nullptr, nullptr, " \n\v");
  expectRefused(nodes.document, "a value beside children");
  NEB_XML_SetNode(nodes.document, nullptr, nullptr, "");
  XmlNode *other = XML_NewNode(0, 5);
  XML_SetNode(other, other, nullptr, "other", nullptr);
  expectRefused(other, "a node of another type");
  ASSERT_EQ(NEB_XML_AppendChildNode(nodes.document, other), kOk);
  expectRefused(nodes.document, "a node of another type below");
}

TEST(Indented, TakesOrRefusesWholeNames) {
  const struct {
    bool isName;
    const char *prefix, *name;
  } cases[] = {
      {true, "", "_"},        {true, "", "AZaz09.-_"},
      {true, "", "a:b"},      {true, "a", "b:c"},
      {true, "a:b", "c"},     {true, "a", "1"},
      {true, "", "\xC3\xA9"}, {true, "", "a--"},
      {true, "p", "--"},      {true, "", "exactly-17-letter"},
      {false, "", "1"},       {false, "", "-a"},
      {false, "", ".a"},      {false, "", ":a"},
      {false, "", "a:"},      {false, "a", "b:"},
      {false, ":", "a"},      {false, "1", "a"},
      {false, "", "a b"},     {false, "", "a\nb"},
      {false, "", "a<"},      {false, "", "a>"},
      {false, "", "a&b;"},    {false, "", "a/"},
      {false, "", "a="},      {false, "", "a'"},
      {false, "", "a\""},     {false, "", "a]"},
      {false, "", "!--a"},    {false, "", "?a"},
      {false, "", "a\x01"},   {false, "", "a@"},
      {false, "", "a["},      {false, "", "a`"},
      {false, "", "a{"},      {false, "", "a\x7F"},
      {false, "a,", "b"},     {false, "", "longer than 16+"},
  };
  for (const auto &[isName, prefix, name] : cases) {
    const std::string whole = *prefix == '\0' ? name : std::string(prefix) + ":" + name;
    const Nodes nodes(true);
    for (XmlNode *node : {nodes.document, nodes.element, nodes.attribute}) {
      NEB_XML_SetNode(node, prefix, name, nullptr);
      if (!isName) {
        expectRefused(nodes.document, whole);
        NEB_XML_SetNode(node, "", "good", nullptr);
        continue;
      }
      const std::string text = indented(nodes.document, 1);
      EXPECT_NE(text.find(whole), text.npos) << text;
      XmlNode *again = trees::parsed(text);
      EXPECT_EQ(indented(again, 1), text);
      NEB_XML_FreeNode(again);
    }
  }
}

TEST(Indented, RefusesAttributesOfOneName) {
  for (const size_t count : {2U, 24U, 25U, 26U, 70U, 1000U}) {
    const Nodes nodes(false);
    for (size_t i = 1; i < count; ++i) {
      const std::string name = "name" + std::to_string(i);
      ASSERT_EQ(NEB_XML_AddAttr(nodes.element, i % 3 == 0 ? "p" : nullptr, name.c_str(), ""), kOk);
    }
    XmlNode *last = nodes.attribute;
    while (NEB_XML_GetNodeNextSibling(last) != nullptr) last = NEB_XML_GetNodeNextSibling(last);
    NEB_XML_SetNode(nodes.attribute, "", "p:x:y", nullptr);
    for (const auto &[prefix, name] : {std::pair("", "p:x:y"), {"p", "x:y"}, {"p:x", "y"}}) {
      NEB_XML_SetNode(last, prefix, name, nullptr);
      expectRefused(nodes.document, name);
    }
    NEB_XML_SetNode(last, "p:x", "z", nullptr);
    const size_t before = guarded::outstanding();
    std::string text = "error";
    for (size_t n = 1; text == "error"; ++n) {
      const guarded::FailingAllocation failing(n);
      char *printed = nullptr;
      const uint32_t result = NEB_XML_TransformIndented(nodes.document, 0, &printed);
      EXPECT_EQ(result, failing.happened() ? uint32_t{NEB_XML_ERR_NO_MEMORY} : kOk);
      if (result == kOk) text = printed;
      NEB_XML_FreeMem(printed);
      ASSERT_EQ(guarded::outstanding(), before);
    }
    EXPECT_NE(text.find(" p:x:z=\""), text.npos);
  }
}

TEST(Indented, StopsGrowingAt128Columns) {
  constexpr size_t kDepth = 5000;
  std::string text;
  for (size_t i = 0; i < kDepth; ++i) text += "<a>";
  text += "<b/>";
  for (size_t i = 0; i < kDepth; ++i) text += "</a>";
  XmlNode *document = trees::parsed(text);
  const std::string printed = indented(document, 16);
  EXPECT_NE(printed.find("\n" + std::string(112, ' ') + "<a>\n" + std::string(128, ' ') + "<a>\n" +
                         std::string(128, ' ') + "<a>\n"),
            printed.npos);
  EXPECT_LT(printed.size(), 2 * kDepth * (128 + 5));
  expectExact(document);
  NEB_XML_FreeNode(document);
}

class Save : public testing::Test {
 protected:
  Save() {
    const auto *test = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = fs::path(testing::TempDir()) / (std::string("neb_xml_") + test->name());
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    document_ = trees::parsed("<new>text</new>");
  }
  ~Save() override {
    NEB_XML_FreeNode(document_);
    fs::remove_all(folder_);
  }

  std::string path(const char *name) const { return folder_ / name; }
  uint32_t save(const std::string &path) const {
    return NEB_XML_SaveFile(document_, path.c_str(), 2);
  }
  size_t filesInFolder() const {
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder_), {}));
  }

  fs::path folder_;
  XmlNode *document_ = nullptr;
};

TEST_F(Save, ReplacesFilesKeepsPermissionsAndFollowsLinks) {
  const std::string file = path("file.xml");
  EXPECT_EQ(save(file), kOk);
  EXPECT_EQ(trees::readFile(file), "<new>text</new>\n");
  fs::permissions(file, fs::perms(0640));
  fs::create_symlink("file.xml", path("link.xml"));
  NEB_XML_SetNode(document_, nullptr, nullptr, "changed");
  EXPECT_EQ(save(path("link.xml")), kOk);
  EXPECT_TRUE(fs::is_symlink(path("link.xml")));
  EXPECT_EQ(trees::readFile(file), "<new>changed</new>\n");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
  EXPECT_EQ(filesInFolder(), 2U);
  const std::string longest = path(std::string(255, 'n').c_str());
  EXPECT_TRUE(save(longest) == kOk && save(longest) == kOk) << "a name as long as names can be";
}

TEST_F(Save, LeavesTheOldFileAndNothingElseAfterAFailure) {
  const std::string file = path("file.xml");
  ASSERT_EQ(save(file), kOk);
  const std::string old = trees::readFile(file);
  fs::create_directory(path("folder"));
  fs::create_symlink("nowhere", path("dangling"));
  constexpr uint32_t kOpen = NEB_XML_ERR_FILE_OPEN;
  EXPECT_EQ(save(path("missing/file.xml")), kOpen);
  EXPECT_EQ(save(path("folder")), kOpen);
  EXPECT_EQ(save(path("dangling")), kOpen);
  EXPECT_EQ(save("/dev/null"), kOpen);
  EXPECT_EQ(save(path(std::string(1100, 'x').c_str())), kOpen);
  EXPECT_EQ(save(""), kOpen);
  // A link into a folder whose path leaves room for a name, but not for a temporary one.
  fs::path deep = folder_;
  while (deep.native().size() < 3800) deep /= std::string(200, 'd');
  deep /= std::string(4085 - deep.native().size(), 'd');
  fs::create_directories(deep);
  std::ofstream(deep / "f") << old;
  fs::create_symlink(deep, path("deep"));
  EXPECT_EQ(save(path("deep/f")), kOpen);
  EXPECT_EQ(trees::readFile(deep / "f"), old);
  EXPECT_EQ(NEB_XML_SaveFile(document_, nullptr, 0), kInvalid);
  EXPECT_EQ(NEB_XML_SaveFile(document_, file.c_str(), 17), kInvalid);
  {
    const guarded::FailingAllocation failing(1);
    EXPECT_EQ(save(file), uint32_t{NEB_XML_ERR_NO_MEMORY});
  }
  XmlNode *nothing = XML_NewNode(0, 5);
  XML_SetNode(nothing, nothing, nullptr, "prints-nothing", nullptr);
  EXPECT_EQ(NEB_XML_SaveFile(nothing, file.c_str(), 0), kInvalid);
  NEB_XML_FreeNode(nothing);
  NEB_XML_SetNode(document_, nullptr, "", nullptr);
  EXPECT_EQ(save(file), kInvalid) << "a node without a name";
  EXPECT_EQ(trees::readFile(file), old);
  EXPECT_EQ(filesInFolder(), 5U);
}

// Names that are taken are left alone; when none is free, so is the file.
TEST_F(Save, TakesATemporaryNameThatIsFree) {
  const auto taken = [&](unsigned number) {
    return path(
        (".neb-xml-" + std::to_string(getpid()) + "-" + std::to_string(number) + ".tmp").c_str());
  };
  for (const unsigned count : {2U, 1000U}) {
    for (unsigned number = 0; number < count; ++number) std::ofstream(taken(number)) << "taken";
    const bool isOneFree = count < 1000;
    EXPECT_EQ(save(path("file.xml")), isOneFree ? kOk : uint32_t{NEB_XML_ERR_FILE_OPEN});
    EXPECT_EQ(filesInFolder(), count + 1);
    EXPECT_EQ(trees::readFile(taken(0)), "taken");
  }
}

TEST_F(Save, WorksInTheCurrentFolder) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  EXPECT_TRUE(save("file.xml") == kOk && save("file.xml") == kOk);
  fs::current_path(before);
  EXPECT_EQ(trees::readFile(path("file.xml")), "<new>text</new>\n");
  EXPECT_EQ(filesInFolder(), 1U);
}

// Whoever may not give a file to its old owner does not give others what the owner's group had.
TEST_F(Save, GivesNoRightsAwayWithTheOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser has files of two owners";
  constexpr uid_t kNobody = 65534;
  fs::permissions(folder_, fs::perms(0777));
  const struct {
    gid_t group;
    unsigned permissions, expected;
  } cases[] = {{0, 04674, 0674}, {kNobody, 02674, 0644}, {kNobody, 0660, 0600}};
  for (const auto &[group, permissions, expected] : cases) {
    const std::string file = path("file.xml");
    fs::remove(file);
    ASSERT_EQ(save(file), kOk);
    fs::permissions(file, fs::perms(permissions));
    gid_t groups[64];
    const int count = getgroups(64, groups);
    ASSERT_TRUE(count >= 0 && setgroups(0, nullptr) == 0);
    ASSERT_TRUE(setegid(group) == 0 && seteuid(kNobody) == 0);
    const uint32_t result = save(file);
    ASSERT_TRUE(seteuid(0) == 0 && setegid(0) == 0);
    ASSERT_EQ(setgroups(static_cast<size_t>(count), groups), 0);
    EXPECT_EQ(result, kOk);
    struct stat status = {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, expected);
    EXPECT_TRUE(status.st_uid == kNobody && status.st_gid == group);
  }
}

}  // namespace
