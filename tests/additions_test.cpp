// Importing across documents, indented output and safe saving.
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

// Also for a node that insertion would refuse.
TEST(Import, WorksBetweenAnyTwoStorages) {
  for (const uint32_t kind : {0U, 1U, 2U, 3U}) {
    XmlNode *source = trees::parsed("<s:r a='1' s:b='&amp;'><x>t</x><y><z/></y></s:r>", kind % 2);
    XmlNode *target = trees::parsed("<t><u/></t>", kind / 2);
    XmlNode *child = NEB_XML_GetNodeLastChild(source);
    NEB_XML_RemoveNode(child);
    const bool isTaken = kind % 2 == 0;  // what the hooks gave may stand anywhere
    EXPECT_EQ(NEB_XML_AppendChildNode(target, child), isTaken ? kOk : kInvalid);
    const std::string before = trees::described(source);
    XmlNode *copy = nullptr;
    ASSERT_EQ(NEB_XML_ImportNode(NEB_XML_GetNodeFirstChild(target), source, &copy), kOk);
    EXPECT_EQ(trees::described(copy), "0" + before.substr(2)) << "a document becomes an element";
    EXPECT_EQ(trees::described(source), before);
    EXPECT_EQ(NEB_XML_AppendChildNode(target, copy), kOk);
    NEB_XML_FreeNode(source);
    const std::string inserted = isTaken ? "0:y=-(0:z=-),0" : "0";
    EXPECT_EQ(trees::described(target), "12:t=-(0:u=-," + inserted + before.substr(2) + ")");
    NEB_XML_FreeNode(target);
  }
}

TEST(Import, RefusesWhatItCannotCopy) {
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

// White space behind an element that holds only white space would be read as a value.
TEST(Indented, ParsesToTheTreeOfThePlainText) {
  for (const char *text :
       {"<r><a><b> </b></a></r>", "<r><a><b><![CDATA[]]></b></a><c/></r>",
        "<r><a><b>&#32;</b></a><c>\r\n</c></r>", "<r><a>\n\n</a><b/><c><d>t</d></c></r>",
        "<r><a><b>\r</b></a></r>", "<r><a><b>\t</b></a></r>", "<r><a><b>\v</b></a></r>"}) {
    XmlNode *document = trees::parsed(text);
    XmlNode *plain = trees::parsed(trees::printed(document));
    for (const uint32_t width : {1U, 2U, 16U}) {
      XmlNode *again = trees::parsed(indented(document, width));
      EXPECT_EQ(trees::described(again), trees::described(plain)) << text;
      NEB_XML_FreeNode(again);
    }
    NEB_XML_FreeNode(plain);
    NEB_XML_FreeNode(document);
  }
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
  EXPECT_EQ(NEB_XML_SaveFile(nothing, file.c_str(), 0), uint32_t{NEB_XML_ERR_FILE_WRITE});
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
