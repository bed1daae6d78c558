// Saving: the old file or the new one stands whole at any moment, and nobody gains rights by it.
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "support/failing_files/failing_files.h"
#include "support/guarded_hooks.h"
#include "support/trees.h"

namespace {

namespace fs = std::filesystem;
using failing_files::Following;

constexpr uint32_t kOk = NEB_XML_OK;
constexpr uint32_t kInvalid = NEB_XML_ERR_INVALID_PARAM;
constexpr uint32_t kOpen = NEB_XML_ERR_FILE_OPEN;
constexpr uint32_t kWrite = NEB_XML_ERR_FILE_WRITE;
constexpr uid_t kNobody = 65534;
constexpr char kTemporaryBegin[] = ".neb-xml-";
const std::string kOld = "an older and much longer text";
const std::string kAccess = "system.posix_acl_access";
const std::string kDefault = "system.posix_acl_default";

// Rights of each kind of an access control list, one octal digit each; user and group are 1000.
std::string listOf(int owner, int user, int owningGroup, int group, int mask, int other) {
  constexpr char kTags[] = {0x01, 0x02, 0x04, 0x08, 0x10, 0x20};
  std::string bytes("\2\0\0\0", 4);
  for (size_t i = 0; const int rights : {owner, user, owningGroup, group, mask, other}) {
    const char tag = kTags[i++];
    const std::string id =
        tag == 0x02 || tag == 0x08 ? std::string("\xE8\3\0\0", 4) : std::string(4, '\xFF');
    bytes += {tag, 0, static_cast<char>(rights), 0};
    bytes += id;
  }
  return bytes;
}

bool setAttribute(const fs::path &path, const std::string &name, const std::string &value) {
  return setxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0) == 0;
}

std::map<std::string, std::string> attributesOf(const fs::path &path) {
  char names[65536];
  char value[65536];
  const char *const end = names + listxattr(path.c_str(), names, sizeof names);
  std::map<std::string, std::string> attributes;
  for (const char *name = names; name < end; name += std::strlen(name) + 1) {
    const ssize_t size = getxattr(path.c_str(), name, value, sizeof value);
    attributes[name] = std::string(value, static_cast<size_t>(size));
  }
  return attributes;
}

struct Rights {
  mode_t mode;
  uid_t owner;
  gid_t group;
  std::map<std::string, std::string> attributes;
  bool operator==(const Rights &) const = default;
};

Rights rightsOf(const fs::path &path) {
  struct stat status = {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return {status.st_mode, status.st_uid, status.st_gid, attributesOf(path)};
}

size_t openDescriptors() {
  return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

class Save : public testing::Test {
 protected:
  // Attributes are tried where any folder at hand holds them.
  Save() {
    for (const std::string &place : {testing::TempDir(), std::string("/dev/shm/"),
                                     fs::current_path().string() + "/", testing::TempDir()}) {
      fs::remove_all(folder_);
      std::string name = place + "neb-xml-save-XXXXXX";
      if (mkdtemp(name.data()) == nullptr) continue;
      folder_ = name;
      holdsLists_ = setAttribute(folder_, kDefault, listOf(7, 7, 7, 7, 7, 7)) &&
                    setAttribute(folder_, "user.tried", "");
      if (holdsLists_) break;
    }
    document_ = trees::parsed("<new>text</new>");
  }
  ~Save() override {
    NEB_XML_FreeNode(document_);
    fs::remove_all(folder_);
  }

  std::string path(const std::string &name) const { return folder_ / name; }
  uint32_t save(const std::string &path) const {
    return NEB_XML_SaveFile(document_, path.c_str(), 2);
  }
  size_t filesInFolder() const {
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder_), {}));
  }
  std::string temporaryFile() const {
    for (const auto &file : fs::directory_iterator(folder_)) {
      if (file.path().filename().string().starts_with(kTemporaryBegin)) return file.path();
    }
    return "";
  }
  // An old file of those rights.
  std::string oldFile(mode_t mode, const std::map<std::string, std::string> &attributes = {}) {
    const std::string file = path("file.xml");
    fs::remove(file);
    std::ofstream(file) << kOld;
    removexattr(file.c_str(), kAccess.c_str());
    for (const auto &[name, value] : attributes) EXPECT_TRUE(setAttribute(file, name, value));
    EXPECT_EQ(chmod(file.c_str(), mode), 0);
    return file;
  }

  fs::path folder_;
  bool holdsLists_ = false;
  XmlNode *document_ = nullptr;
  const std::string text_ = "<new>text</new>\n";
};

TEST_F(Save, ReplacesFilesKeepsPermissionsAndFollowsLinks) {
  const std::string file = path("file.xml");
  EXPECT_EQ(save(file), kOk);
  EXPECT_EQ(trees::readFile(file), text_);
  fs::permissions(file, fs::perms(0640));
  fs::create_symlink("file.xml", path("link.xml"));
  NEB_XML_SetNode(document_, nullptr, nullptr, "changed");
  EXPECT_EQ(save(path("link.xml")), kOk);
  EXPECT_TRUE(fs::is_symlink(path("link.xml")));
  EXPECT_EQ(trees::readFile(file), "<new>changed</new>\n");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
  EXPECT_EQ(filesInFolder(), 2U);
  const std::string longest = path(std::string(255, 'n'));
  EXPECT_TRUE(save(longest) == kOk && save(longest) == kOk) << "a name as long as names can be";
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  EXPECT_TRUE(save("here.xml") == kOk && save("here.xml") == kOk);
  fs::current_path(before);
  EXPECT_EQ(trees::readFile(path("here.xml")), "<new>changed</new>\n");
  EXPECT_EQ(filesInFolder(), 4U);
}

TEST_F(Save, LeavesTheOldFileAndNothingElseAfterAFailure) {
  const std::string file = oldFile(0644);
  const std::string old = trees::readFile(file);
  fs::create_directory(path("folder"));
  fs::create_symlink("nowhere", path("dangling"));
  fs::create_symlink("loop", path("loop"));
  for (const std::string &wrong :
       {path("missing/file.xml"), path("folder"), path("dangling"), path("loop"), path("file.xml/"),
        path("new/"), std::string("/dev/null"), path(std::string(1100, 'x')),
        path(std::string(256, 'x')), std::string()}) {
    EXPECT_EQ(save(wrong), kOpen) << wrong;
  }
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
  XmlNode *nothing = XML_NewNode(0, 5);
  XML_SetNode(nothing, nothing, nullptr, "prints-nothing", nullptr);
  EXPECT_EQ(NEB_XML_SaveFile(nothing, file.c_str(), 0), kWrite);
  NEB_XML_FreeNode(nothing);
  NEB_XML_SetNode(document_, nullptr, "", nullptr);
  EXPECT_EQ(save(file), kInvalid) << "a node without a name";
  EXPECT_EQ(trees::readFile(file), old);
  EXPECT_EQ(filesInFolder(), 6U);
}

// Nobody can take the names beforehand, neither by guessing nor by what killed processes left.
TEST_F(Save, TakesATemporaryNameThatIsFree) {
  const std::string file = path("file.xml");
  std::set<std::string> names;
  for (size_t round = 1; round <= 20; ++round) {
    const Following following(
        {.observe = [&](const std::string &) { names.insert(temporaryFile()); }});
    ASSERT_EQ(save(file), kOk);
    ASSERT_EQ(names.size(), round + 1) << "and the empty one, without a temporary file";
  }
  for (const size_t taken : {1U, 1000U}) {
    const Following following({1, EEXIST, taken, "open"});
    EXPECT_EQ(save(file), taken == 1 ? kOk : kOpen);
  }
  EXPECT_EQ(filesInFolder(), 1U);
}

// The new file is private until it has all that the old one had.
TEST_F(Save, KeepsAccessListsAndAttributes) {
  if (!holdsLists_) GTEST_SKIP() << "no folder at hand holds access lists and attributes";
  const std::string kCapability("\0\0\0\2\x20\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20);
  const struct {
    mode_t mode;
    std::map<std::string, std::string> attributes;
  } cases[] = {
      {0600, {}},
      {0640, {}},
      {0664, {{"user.empty", ""}, {"user.long", std::string(3000, 'v')}}},
      {0660, {{kAccess, listOf(6, 6, 0, 4, 6, 0)}}},
      {0604, {{kAccess, listOf(6, 7, 7, 7, 0, 4)}, {"user.name", std::string("a\0b", 3)}}}};
  for (const auto &[mode, attributes] : cases) {
    const std::string file = oldFile(mode, attributes);
    const Rights before = rightsOf(file);
    setAttribute(file, "security.capability", kCapability);  // where the process may
    size_t failures = 0;
    for (uint32_t result = ~kOk; result != kOk; ++failures) {
      const guarded::FailingAllocation failing(failures + 1);
      const Following following({.observe = [&](const std::string &call) {
        const std::string temporary = temporaryFile();
        if (temporary.empty()) return;
        const Rights now = rightsOf(temporary);
        EXPECT_TRUE((now.mode & 077) == 0 || now == before) << call << std::oct << now.mode;
      }});
      result = save(file);
      ASSERT_EQ(result, failing.happened() ? uint32_t{NEB_XML_ERR_NO_MEMORY} : kOk);
      EXPECT_EQ(filesInFolder(), 1U);
    }
    EXPECT_TRUE(rightsOf(file) == before) << std::oct << mode;
  }
}

// Whoever may not give a file to its old owner does not give others what the owner's group had.
TEST_F(Save, GivesNoRightsAwayWithTheOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser has files of two owners";
  fs::permissions(folder_, fs::perms(0777));
  const auto none = std::string();
  const struct {
    gid_t group;
    mode_t mode, expected;
    std::string list, expectedList;
    uint32_t result = kOk;
  } cases[] = {
      {0, 04674, 0674, none, none},
      {kNobody, 02674, 0644, none, none},
      {kNobody, 0660, 0600, none, none},
      {kNobody, 0604, 0600, none, none},  // the old group had less than all others
      {0, 0664, 0664, listOf(6, 7, 0, 4, 6, 4), listOf(6, 7, 0, 4, 6, 4)},
      {kNobody, 0664, 0660, listOf(6, 7, 0, 4, 6, 4), listOf(6, 7, 0, 4, 6, 0)},
      {kNobody, 0676, 0674, listOf(6, 7, 6, 4, 7, 6), listOf(6, 7, 4, 4, 7, 4)},
      {0, 0666, 0666, "unknown", none, kWrite},
  };
  for (const auto &[group, mode, expected, list, expectedList, result] : cases) {
    const bool isUnknown = list == "unknown";
    if (!holdsLists_ && !list.empty()) continue;
    using Attributes = std::map<std::string, std::string>;
    const std::string file =
        oldFile(mode, isUnknown      ? Attributes{{"trusted.x", list}, {"security.x", list}}
                      : list.empty() ? Attributes{}
                                     : Attributes{{kAccess, list}});
    const Rights before = rightsOf(file);
    gid_t groups[64];
    const int count = getgroups(64, groups);
    ASSERT_TRUE(count >= 0 && setgroups(0, nullptr) == 0);
    ASSERT_TRUE(setegid(group) == 0 && seteuid(kNobody) == 0);
    EXPECT_EQ(save(file), result);
    ASSERT_TRUE(seteuid(0) == 0 && setegid(0) == 0);
    ASSERT_EQ(setgroups(static_cast<size_t>(count), groups), 0);
    const Rights now = rightsOf(file);
    EXPECT_EQ(now.mode & 07777, expected) << std::oct << mode;
    if (result != kOk) {
      EXPECT_TRUE(now == before) << "an attribute that cannot be kept";
      continue;
    }
    EXPECT_TRUE(now.owner == kNobody && now.group == group);
    EXPECT_EQ(now.attributes.contains(kAccess) ? now.attributes.at(kAccess) : none, expectedList);
  }
}

// What others do to the old file while the new one is written is not undone.
TEST_F(Save, FollowsRightsThatChangeMeanwhile) {
  const struct {
    const char *call;
    void (*change)(const std::string &file);
  } cases[] = {
      {"fsync", [](const std::string &file) { chmod(file.c_str(), 0600); }},
      {"fsync",
       [](const std::string &file) { setAttribute(file, kAccess, listOf(7, 0, 0, 0, 0, 0)); }},
      {"fsync", [](const std::string &file) { setAttribute(file, "user.a", "changed"); }},
      {"fsync",
       [](const std::string &file) {
         std::ofstream(file + "2") << "other";
         chmod((file + "2").c_str(), 0400);
         fs::rename(file + "2", file);
       }},
      {"lgetxattr", [](const std::string &file) { removexattr(file.c_str(), "user.a"); }},
      {"lgetxattr", [](const std::string &file) { setAttribute(file, "user.b", "added"); }},
      {"fgetxattr",
       [](const std::string &file) { setAttribute(file, "user.a", std::string(99, 'l')); }},
      {"llistxattr", [](const std::string &file) { setAttribute(file, "user.b", "added"); }},
      {"getentropy", [](const std::string &file) { chmod(file.c_str(), 0444); }},
  };
  for (size_t row = 0; const auto &[call, change] : cases) {
    SCOPED_TRACE(row++);
    const std::string file = holdsLists_ ? oldFile(0664, {{"user.a", "1"}}) : oldFile(0664);
    Rights changed = rightsOf(file);
    const Following following({.observe = [&, isDone = false](const std::string &name) mutable {
      if (isDone || name != call) return;
      isDone = true;
      change(file);
      changed = rightsOf(file);
    }});
    EXPECT_EQ(save(file), kOk);
    EXPECT_TRUE(rightsOf(file) == changed);
    EXPECT_EQ(trees::readFile(file), text_);
  }
}

bool contains(const std::string &text, const std::string &part) {
  return text.find(part) != std::string::npos;
}

// The name of the call that failed, as Following::calls tells, and whether that was after the new
// file had been put in the place of the old one.
std::string failedCall(const std::string &calls, bool *isRenamed) {
  const size_t mark = calls.find('!');
  const size_t begin = calls.rfind(' ', mark) + 1;
  *isRenamed = contains(calls.substr(0, mark), "rename ");
  return mark == std::string::npos ? "" : calls.substr(begin, mark - begin);
}

TEST_F(Save, KeepsItsPromiseWhicheverCallFails) {
  const std::regex order(".* write (.* )?fsync (.* )?close rename open fsync close ");
  for (const bool isOld : {true, false}) {
    for (const bool hasList : {holdsLists_, false}) {
      for (const int error : {EIO, ENOSPC, EINTR, 0}) {
        std::string failed = "?";
        for (size_t n = 1; !failed.empty(); ++n) {
          std::map<std::string, std::string> attributes;
          if (hasList) attributes = {{kAccess, listOf(6, 6, 0, 4, 4, 0)}, {"user.a", "1"}};
          const std::string file = oldFile(0640, attributes);
          const Rights before = rightsOf(file);
          if (!isOld) fs::remove(file);
          const size_t descriptors = openDescriptors();
          std::string calls;
          uint32_t result = 0;
          {
            const Following following({n, error});
            result = save(file);
            calls = following.calls();
          }
          SCOPED_TRACE(calls + std::to_string(error));
          bool isRenamed = false;
          failed = failedCall(calls, &isRenamed);
          const bool isHarmless =
              failed.empty() || error == 0 || isRenamed || failed == "fchown" ||
              failed == "fgetxattr" ||
              (error == EINTR && (failed == "open" || failed == "write" || failed == "fsync"));
          EXPECT_EQ(result == kOk, isHarmless) << result;
          EXPECT_TRUE(result == kOk || result == kOpen || result == kWrite) << result;
          EXPECT_EQ(openDescriptors(), descriptors);
          EXPECT_EQ(filesInFolder(), isOld || result == kOk ? 1U : 0U);
          EXPECT_TRUE(!failed.empty() || std::regex_match(calls, order));
          if (!isOld && result != kOk) continue;
          EXPECT_EQ(trees::readFile(file), result == kOk ? text_ : kOld);
          if (!isOld) continue;
          EXPECT_TRUE(rightsOf(file) == before);
        }
      }
    }
  }
}

#ifdef NEBXML_EXECUTABLE

class ToolSave : public Save {
 protected:
  // Runs the tool on file.xml with the plan "n error signalled"; its wait status.
  int run(const std::string &plan, const std::string &arguments) {
    const std::string line =
        "cd '" + folder_.string() + "' && ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0 " +
        failing_files::kNotesVariable + "='" + notes_ + "' " + failing_files::kPlanVariable + "='" +
        plan + "' LD_PRELOAD='" FAILING_FILES "' exec '" NEBXML_EXECUTABLE "' fmt file.xml " +
        arguments + " 2>'" + notes_ + ".errors'";
    return std::system(line.c_str());  // NOLINT: the point is to use a shell
  }
  const std::string notes_ = testing::TempDir() + "calls";
};

TEST_F(ToolSave, TellsOfEveryCallThatFails) {
  const std::string old = "<a>" + std::string(100, ' ') + "<b/></a>";
  const std::string text = "<a>\n<b/>\n</a>\n";
  for (const std::string target : {"file.xml", "out.xml"}) {
    const bool isInPlace = target == "file.xml";
    for (const int error : {EIO, EINTR}) {
      std::string failed = "?";
      for (size_t n = 1; !failed.empty(); ++n) {
        std::ofstream(path("file.xml")) << old;
        std::ofstream(path(target)) << old;
        const int status = run(std::to_string(n) + " " + std::to_string(error),
                               isInPlace ? "--in-place" : "-o " + target);
        const std::string calls = trees::readFile(notes_);
        SCOPED_TRACE(calls + target);
        bool isRenamed = false;
        failed = failedCall(calls, &isRenamed);
        const std::string now = trees::readFile(path(target));
        ASSERT_TRUE(WIFEXITED(status)) << status;
        EXPECT_TRUE(WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 3) << status;
        EXPECT_TRUE(now == text || (status != 0 && (now == old || !isInPlace))) << now;
        EXPECT_TRUE(status == 0 || !isInPlace || now == old);
        EXPECT_TRUE(status != 0 || error == EINTR || isRenamed || failed == "fchown" ||
                    failed == "fgetxattr" || failed.empty());
        EXPECT_EQ(trees::readFile(notes_ + ".errors").empty(), status == 0);
        EXPECT_EQ(filesInFolder(), isInPlace ? 1U : 2U);
      }
    }
  }
}

TEST_F(ToolSave, FinishesBeforeItDiesOfASignal) {
  for (const std::string call : {"write", "fsync", "rename"}) {
    std::ofstream(path("file.xml")) << "<a>  <b/></a>";
    const int status = run("0 0 " + call, "--in-place");
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
    EXPECT_EQ(trees::readFile(path("file.xml")), "<a>\n<b/>\n</a>\n");
    EXPECT_EQ(filesInFolder(), 1U);
  }
}

#endif

}  // namespace
