// Importing across documents, indented output and safe saving.
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

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
  NEB_XML_SetNode(inner, nullptr, nullptr, " x");
  EXPECT_EQ(indented(document, 0), "error") << "a value beside children";
  NEB_XML_SetNode(inner, nullptr, nullptr, "");
  XmlNode *other = XML_NewNode(0, 5);
  XML_SetNode(other, other, nullptr, "other", nullptr);
  EXPECT_EQ(indented(other, 0), "error") << "a node of another type";
  EXPECT_EQ(NEB_XML_AppendChildNode(document, other), kOk);
  EXPECT_EQ(indented(document, 0), "error");
  NEB_XML_FreeNode(document);
}

// What a lenient parse gives is printed so that it reads back, or is refused.
TEST(Indented, PrintsExactlyOrRefuses) {
  const std::string error = "error";
  std::vector<std::pair<std::string, std::string>> cases = {
      {"<a x='&amp;lt;\t\n\r'>&amp;lt;\t\n\r</a>",
       "<a x=\"&amp;lt;&#9;&#10;&#13;\">&amp;lt;\t\n&#13;</a>"},
      {"<a x='&lt;&gt;&quot;&apos;\x7F\xFF'>&amp;#65; &gt;</a>",
       "<a x=\"&lt;&gt;&quot;&apos;\x7F\xFF\">&amp;#65; &gt;</a>"},
      {"<a x=' \n x'>&#32;\n x</a>", "<a x=\" &#10; x\">&#32;\n x</a>"},
      {"<a x='  '>&#32; </a>", "<a x=\"  \">&#32; </a>"},
      {"<a>  x\n </a>", "<a>  x\n </a>"},
      {"<a> &#13; x</a>", "<a> &#13; x</a>"},
      {"<a><b>&#9;</b></a>", "<a>\n<b>&#9;</b>\n</a>"},
      {"<a><b>&#10; </b></a>", "<a>\n<b>&#10; </b>\n</a>"},
      {"<a x=''><b><![CDATA[]]></b></a>", "<a x=\"\">\n<b/>\n</a>"},
      {"<a><b></b>\n</a>", "<a>\n<b/>\n</a>"},  // a value of a, beside its child
      {"<_><AZaz09.-_/><a:b:c/><a:1/></_>", "<_>\n<AZaz09.-_/>\n<a:b:c/>\n<a:1/>\n</_>"},
      {"<\xC3\xA9 exactly-seventeen='' a&#58;b=''/>",
       "<\xC3\xA9 exactly-seventeen=\"\" a:b=\"\"/>"},
      // Reading takes "-->" for markup.
      {"<a-- ><p:-- >t</p:-- ><b-- c--=''/></a-- >",
       "<a-- >\n<p:-- >t</p:-- >\n<b-- c--=\"\"/>\n</a-- >"},
      {"<a x='' x&#58;x='' x:y=''/>", "<a x=\"\" x:x=\"\" x:y=\"\"/>"},
      {"<a p:x:y='' p&#58;x&#58;y=''/>", error},
      {"<a p:x&#58;y='' p&#58;x:y=''/>", error}};
  std::string names =
      "1 -a .a 1:a <![CDATA[]]> a&#32;b a&#10;b a&lt; a] a&amp; a&#47; a@ a[ a` a{ a; ";
  for (std::istringstream each(names + "a\x7F a\x01 a!b more-than-sixteen!"); each >> names;) {
    cases.insert(cases.end(), {{"<a " + names + "=''/>", error}, {"<" + names + " />", error}});
  }
  cases.insert(cases.end(), {{"<a &#58;b=''/>", error}, {"<a b&#58;=''/>", error}});
  for (char control = 1; control < ' '; ++control) {
    if (std::strchr("\t\n\r", control) != nullptr) continue;
    for (const std::string &value : {control + std::string("a"), std::string(20, 'b') + control}) {
      cases.insert(cases.end(),
                   {{"<a x='" + value + "'/>", error}, {"<a>" + value + "</a>", error}});
    }
  }
  for (const auto &[input, expected] : cases) {
    for (const bool withSession : {false, true}) {
      XmlNode *document = trees::parsed(input, withSession);
      const std::string whole = indented(document, 0);
      EXPECT_EQ(whole, expected == error ? error : expected + "\n") << input;
      XmlNode *again = trees::parsed(expected == error ? input : indented(document, 16));
      EXPECT_EQ(indented(again, 0), whole);
      NEB_XML_FreeNode(again);
      NEB_XML_FreeNode(document);
    }
  }
}

// The last of many is the first's twin when its prefix is that of the first, printed with a name.
TEST(Indented, RefusesAttributesOfOneNameAndShortMemory) {
  for (const size_t count : {2U, 24U, 25U, 26U, 70U, 1000U}) {
    for (const bool isTwin : {false, true}) {
      std::string text = "<a p&#58;x&#58;y=''";
      for (size_t i = 2; i < count; ++i) text += " name" + std::to_string(i) + "=''";
      XmlNode *document = trees::parsed(text + (isTwin ? " p:x&#58;y=''/>" : " p:x&#58;z=''/>"));
      const size_t before = guarded::outstanding();
      uint32_t result = NEB_XML_ERR_NO_MEMORY;
      for (size_t n = 1; result == NEB_XML_ERR_NO_MEMORY; ++n) {
        const guarded::FailingAllocation failing(n);
        char *printed = nullptr;
        result = NEB_XML_TransformIndented(document, 0, &printed);
        NEB_XML_FreeMem(printed);
        EXPECT_EQ(guarded::outstanding(), before);
        EXPECT_EQ(result == NEB_XML_ERR_NO_MEMORY, failing.happened());
      }
      EXPECT_EQ(result, isTwin ? kInvalid : kOk);
      NEB_XML_FreeNode(document);
    }
  }
}

TEST(Indented, StopsGrowingAt128Columns) {
  std::string text = "<b/>";
  for (size_t depth = 0; depth < 5000; ++depth) text = "<a>" + text + "</a>";
  XmlNode *document = trees::parsed(text);
  const std::string printed = indented(document, 16);
  const std::string widest = std::string(128, ' ') + "<a>\n";
  EXPECT_NE(printed.find("\n" + std::string(112, ' ') + "<a>\n" + widest + widest), printed.npos);
  EXPECT_LT(printed.size(), 10000 * (widest.size() + 1));
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
