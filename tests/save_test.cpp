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
#include <tuple>
#include <utility>

#include "support/emulation.h"
#include "support/failing_files/failing_files.h"
#include "support/guarded_hooks.h"
#include "support/trees.h"

namespace {

namespace fs = std::filesystem;
using failing_files::Following;
constexpr uid_t kNobody = 65534;
using Attributes = std::map<std::string, std::string>;
constexpr char kTemporaryBegin[] = ".neb-xml-";
const std::string kOld = "an older and much longer text";
const std::string kAccess = "system.posix_acl_access";

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

Attributes attributesOf(const fs::path &path) {
  char names[65536];
  char value[65536];
  const char *const end = names + listxattr(path.c_str(), names, sizeof names);
  Attributes attributes;
  for (const char *name = names; name < end; name += std::strlen(name) + 1) {
    const ssize_t size = getxattr(path.c_str(), name, value, sizeof value);
    attributes[name] = std::string(value, static_cast<size_t>(size));
  }
  return attributes;
}

// Mode, owner, group and attributes.
using Rights = std::tuple<mode_t, uid_t, gid_t, Attributes>;

Rights rightsOf(const fs::path &path) {
  struct stat status = {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return {status.st_mode & 07777, status.st_uid, status.st_gid, attributesOf(path)};
}

size_t filesIn(const fs::path &folder) {
  return static_cast<size_t>(std::distance(fs::directory_iterator(folder), {}));
}

class Save : public testing::Test {
 protected:
  // Attributes are tried where any folder at hand holds them.
  Save() {
    const fs::path usual = testing::TempDir();
    for (const fs::path &place : {usual, fs::path("/dev/shm"), fs::current_path(), usual}) {
      std::string name = place / "neb-xml-save-XXXXXX";
      if (holdsLists_ || mkdtemp(name.data()) == nullptr) continue;
      fs::remove_all(folder_);
      folder_ = name;
      holdsLists_ = setAttribute(folder_, "user.tried", "") &&
                    setAttribute(folder_, "system.posix_acl_default", listOf(7, 7, 7, 7, 7, 7));
    }
  }
  ~Save() override { fs::remove_all(folder_); }

  std::string path(const std::string &name) const { return folder_ / name; }
  size_t filesInFolder() const { return filesIn(folder_); }
  std::string temporaryFile() const {
    for (const auto &file : fs::directory_iterator(folder_)) {
      if (file.path().filename().string().starts_with(kTemporaryBegin)) return file.path();
    }
    return "";
  }
  // An old file of those rights.
  std::string oldFile(mode_t mode, const Attributes &attributes = {}) {
    std::string file = path("file.xml");
    fs::remove(file);
    std::ofstream(file) << kOld;
    removexattr(file.c_str(), kAccess.c_str());
    for (const auto &[name, value] : attributes) EXPECT_TRUE(setAttribute(file, name, value));
    EXPECT_EQ(chmod(file.c_str(), mode), 0);
    return file;
  }

  fs::path folder_;
  bool holdsLists_ = false;
};

// By one write of the whole, and by a write for each part, here two.
enum class Way { whole, inParts };

class SaveBy : public Save, public testing::WithParamInterface<Way> {
 protected:
  uint32_t save(const std::string &path) const { return save(document_, path); }
  static uint32_t save(const XmlNode *node, const std::string &path) {
    return GetParam() == Way::whole ? NEB_XML_SaveFile(node, path.c_str(), 2)
                                    : NEB_XML_Save(node, path.c_str(), nullptr);
  }

  const uint32_t refusal_ = GetParam() == Way::whole ? kInvalid : kUnwritable;
  const std::string text_ =
      "<new>" + std::string(GetParam() == Way::whole ? 4 : 20'000, 't') + "</new>\n";
  const trees::Held document_{trees::parsed(text_)};
};

INSTANTIATE_TEST_SUITE_P(Ways, SaveBy, testing::Values(Way::whole, Way::inParts),
                         [](auto &way) { return way.param == Way::whole ? "whole" : "inParts"; });

TEST_P(SaveBy, ReplacesFilesKeepsPermissionsAndFollowsLinks) {
  const std::string file = path("file.xml");
  EXPECT_EQ(save(file), kOk);
  EXPECT_EQ(trees::readFile(file), text_);
  fs::permissions(file, fs::perms(0640));
  fs::create_symlink("file.xml", path("link.xml"));
  EXPECT_EQ(NEB_XML_SetNode(document_, nullptr, nullptr, "changed"), kOk);
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

TEST_P(SaveBy, ReplacesFilesOfAnySize) {
  const std::string file = oldFile(0600);
  ASSERT_EQ(truncate(file.c_str(), off_t{3} << 30U), 0);
  EXPECT_EQ(save(file), kOk);
  EXPECT_EQ(std::get<0>(rightsOf(file)), 0600U);
  EXPECT_EQ(trees::readFile(file), text_);
}

TEST_P(SaveBy, LeavesTheOldFileAndNothingElseAfterAFailure) {
  const std::string file = oldFile(0644);
  const std::string old = trees::readFile(file);
  fs::create_directory(path("folder"));
  fs::create_symlink("nowhere", path("dangling"));
  fs::create_symlink("loop", path("loop"));
  for (const std::string &wrong :
       {path("missing/file.xml"), path("folder"), path("dangling"), path("loop"), path("file.xml/"),
        path("new/"), std::string("/dev/null"), path(std::string(1100, 'x')),
        path(std::string(256, 'x')), std::string()}) {
    EXPECT_EQ(save(wrong), kFileOpen) << wrong;
  }
  // A link into a folder whose path leaves room for a name, but not for a temporary one.
  fs::path deep = folder_;
  while (deep.native().size() < 3800) deep /= std::string(200, 'd');
  deep /= std::string(4085 - deep.native().size(), 'd');
  fs::create_directories(deep);
  std::ofstream(deep / "f") << old;
  fs::create_symlink(deep, path("deep"));
  EXPECT_EQ(save(path("deep/f")), kFileOpen);
  EXPECT_EQ(trees::readFile(deep / "f"), old);
  EXPECT_EQ(NEB_XML_SaveFile(document_, nullptr, 0), kInvalid);
  EXPECT_EQ(NEB_XML_SaveFile(document_, file.c_str(), 17), kInvalid);
  const NEB_XML_PRINT_OPTIONS unknown = {sizeof unknown, 1U << 31, 0};
  EXPECT_EQ(NEB_XML_Save(document_, file.c_str(), &unknown), kInvalid);
  const trees::Held nothing{XML_NewNode(0, 5)};
  EXPECT_EQ(XML_SetNode(nothing, nothing, nullptr, "prints-nothing", nullptr), kOk);
  EXPECT_EQ(save(nothing, file), refusal_) << "no element";
  const trees::Held late{trees::parsed("<a><b>" + std::string(40'000, 'b') + "</b><c/></a>")};
  EXPECT_EQ(NEB_XML_SetNode(NEB_XML_GetNodeLastChild(late), nullptr, "", nullptr), kOk);
  EXPECT_EQ(save(late, file), refusal_) << "a node without a name";
  EXPECT_EQ(trees::readFile(file), old);
  EXPECT_EQ(filesInFolder(), 6U);
}

// Nobody can take the names beforehand, neither by guessing nor by what killed processes left.
TEST_P(SaveBy, TakesATemporaryNameThatIsFree) {
  std::set<std::string> names;
  for (size_t round = 1; round <= 20; ++round) {
    const Following following({.observe = [&](auto &) { names.insert(temporaryFile()); }});
    ASSERT_EQ(save(path("file.xml")), kOk);
    ASSERT_EQ(names.size(), round + 1) << "and none before there is one";
  }
}

// The new file is private until it has all that the old one had.
TEST_P(SaveBy, KeepsAccessListsAndAttributes) {
  if (!holdsLists_) GTEST_SKIP() << "no folder at hand holds access lists and attributes";
  const std::string kCapability("\0\0\0\2\x20\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20);
  const std::pair<mode_t, Attributes> cases[] = {
      {0640, {}},
      {0664, {{"user.empty", ""}, {"user.long", std::string(3000, 'v')}}},
      {0660, {{kAccess, listOf(6, 6, 0, 4, 6, 0)}}},
      {0604, {{kAccess, listOf(6, 7, 7, 7, 0, 4)}, {"user.name", std::string("a\0b", 3)}}}};
  for (const auto &[mode, attributes] : cases) {
    const std::string file = oldFile(mode, attributes);
    const Rights before = rightsOf(file);
    setAttribute(file, "security.capability", kCapability);  // where the process may
    const Following following({.observe = [&](auto &call) {
      const std::string temporary = temporaryFile();
      if (temporary.empty()) return;
      const Rights now = rightsOf(temporary);
      EXPECT_TRUE((std::get<0>(now) & 077) == 0 || now == before) << call;
    }});
    size_t count = 0;
    for (bool hasFailed = true; hasFailed;) {
      const guarded::FailingAllocation failing(++count);
      const uint32_t result = save(file);
      hasFailed = failing.happened();
      EXPECT_EQ(result, hasFailed ? kNoMemory : kOk);
      EXPECT_EQ(filesInFolder(), 1U);
    }
    EXPECT_TRUE(rightsOf(file) == before) << std::oct << mode;
  }
}

// Whoever may not give a file to its old owner does not give others what the owner's group had.
TEST_P(SaveBy, GivesNoRightsAwayWithTheOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser has files of two owners";
  fs::permissions(folder_, fs::perms(0777));
  const auto listed = [](auto... rights) { return Attributes{{kAccess, listOf(rights...)}}; };
  const struct {
    gid_t group;
    mode_t mode, expected;
    Attributes before = {}, after = {};
    bool isMember = false;  // of the old group as well
  } cases[] = {
      {0, 04674, 0674},
      {kNobody, 0660, 0660, {}, {}, true},
      {kNobody, 02674, 0644},
      {kNobody, 0660, 0600},
      {kNobody, 0604, 0600},  // the old group had less than all others
      {0, 0664, 0664, listed(6, 7, 0, 4, 6, 4), listed(6, 7, 0, 4, 6, 4)},
      {kNobody, 0664, 0660, listed(6, 7, 0, 4, 6, 4), listed(6, 7, 0, 4, 6, 0)},
      {kNobody, 0676, 0674, listed(6, 7, 6, 4, 7, 6), listed(6, 7, 4, 4, 7, 4)},
      {kNobody, 0646, 0644, listed(6, 7, 7, 7, 4, 6), listed(6, 7, 4, 7, 4, 4)},
      {0, 0666, 0, {{"security.x", "not nobody's to set"}}},
  };
  for (const auto &[group, mode, expected, before, after, isMember] : cases) {
    if (!holdsLists_ && !before.empty()) continue;
    const std::string file = oldFile(mode, before);
    const Rights old = rightsOf(file);
    gid_t groups[64];
    const int count = getgroups(64, groups);
    const gid_t oldGroup = 0;
    ASSERT_TRUE(count >= 0 && setgroups(isMember ? 1 : 0, &oldGroup) == 0);
    ASSERT_TRUE(setegid(group) == 0 && seteuid(kNobody) == 0);
    const uint32_t result = save(file);
    ASSERT_TRUE(seteuid(0) == 0 && setegid(0) == 0);
    ASSERT_EQ(setgroups(static_cast<size_t>(count), groups), 0);
    const bool isRefused = expected == 0;
    EXPECT_EQ(result, isRefused ? kFileWrite : kOk);
    EXPECT_TRUE(rightsOf(file) ==
                (isRefused ? old : Rights(expected, kNobody, isMember ? 0 : group, after)));
  }
}

// What others do to the old file while the new one is written is not undone.
TEST_P(SaveBy, FollowsRightsThatChangeMeanwhile) {
  for (const std::string when : {"getentropy", "llistxattr", "lgetxattr", "fgetxattr", "fsync"}) {
    for (const std::string change : {"less", "other", "long"}) {
      const std::string file =
          oldFile(0664, holdsLists_ ? Attributes{{"user.a", "1"}} : Attributes());
      Rights changed = rightsOf(file);
      const auto changeIt = [&, isDone = false](const std::string &call) mutable {
        if (isDone || call != when) return;
        isDone = true;
        if (change == "other") fs::remove(file);
        if (change == "other") std::ofstream(file) << kOld;
        if (change == "long") setAttribute(file, "user.a", std::string(99, 'l'));
        if (change != "long") chmod(file.c_str(), 0400);
        changed = rightsOf(file);
      };
      const Following following({.observe = changeIt});
      EXPECT_EQ(save(file), kOk);
      EXPECT_TRUE(rightsOf(file) == changed) << when << change;
      EXPECT_EQ(trees::readFile(file), text_);
    }
  }
}

bool hasFailure(const std::string &calls) { return calls.find('!') != std::string::npos; }

// Whether saving continues after the call that failed: the new file has replaced the old one, there
// is another way without the call, or the call is repeated.
bool goesOnAfter(const std::string &calls, int error) {
  const char *harmless = error == EINTR ? "(.*rename .*|.*(fchown|fgetxattr|open|write|fsync))!.*"
                         : error == EEXIST ? "(.*rename .*|.*(fchown|fgetxattr|open))!.*"
                                           : "(.*rename .*|.*(fchown|fgetxattr))!.*";
  return error == 0 || !hasFailure(calls) || std::regex_match(calls, std::regex(harmless));
}

TEST_P(SaveBy, KeepsItsPromiseWhicheverCallFails) {
  const std::regex order(".* write (.* )?fsync (.* )?close rename open fsync close ");
  const Attributes listed = {{kAccess, listOf(6, 6, 0, 4, 4, 0)}, {"user.a", "1"}};
  for (const int error : {EIO, EEXIST, EINTR, 0}) {
    for (const bool isOld : {true, false}) {
      for (const Attributes &attributes : {holdsLists_ ? listed : Attributes(), Attributes()}) {
        std::string calls = "!";
        for (size_t n = 1; hasFailure(calls); ++n) {
          const std::string file = oldFile(0640, attributes);
          const Rights before = rightsOf(file);
          if (!isOld) fs::remove(file);
          const size_t descriptors = filesIn("/proc/self/fd");
          uint32_t result = kInvalid;
          {
            const Following following({n, error});
            result = save(file);
            calls = Following::calls();
          }
          SCOPED_TRACE(calls + std::to_string(error));
          EXPECT_TRUE(result == kOk || result == kFileOpen || result == kFileWrite) << result;
          EXPECT_EQ(result == kOk, goesOnAfter(calls, error)) << result;
          EXPECT_TRUE(hasFailure(calls) || std::regex_match(calls, order));
          EXPECT_EQ(filesIn("/proc/self/fd"), descriptors);
          EXPECT_EQ(filesInFolder(), isOld || result == kOk ? 1U : 0U);
          if (filesInFolder() == 0) continue;
          EXPECT_EQ(trees::readFile(file), result == kOk ? text_ : kOld);
          EXPECT_TRUE(!isOld || rightsOf(file) == before);
        }
      }
    }
  }
}

#ifdef NEBXML_EXECUTABLE

// An emulator passes the variable on: what it runs in itself is of this machine.
const std::string kPreload = kIsEmulated ? "QEMU_SET_ENV='LD_PRELOAD=" : "LD_PRELOAD='";

// Runs the tool in a folder, by the plan for another program.
int runTool(const fs::path &folder, const std::string &plan, const std::string &arguments) {
  const std::string line =
      "cd '" + folder.string() + "' && " + failing_files::kCallsVariable + "=../calls " +
      failing_files::kPlanVariable + "='" + plan + "' ASAN_OPTIONS=verify_asan_link_order=0 " +
      kPreload + FAILING_FILES "' exec '" NEBXML_EXECUTABLE "' " + arguments + " 2>../errors";
  return std::system(line.c_str());  // NOLINT: the point is to use a shell
}

// On 64 bits with glibc, the calls of the C++ library have names of their own.
#if defined(__GLIBC__)
constexpr bool kSeesCppLibrary = sizeof(void *) == 4;
#else
constexpr bool kSeesCppLibrary = true;
#endif

TEST_F(Save, TheToolReportsWhicheverCallFails) {
  const fs::path files = path("files");
  const std::string old = "<a>" + std::string(100, ' ') + "<b/></a>";
  const std::string text = "<a>\n  <b/>\n</a>\n";
  fs::create_directory(files);
  for (const std::string arguments : {"fmt in.xml --in-place", "fmt in.xml -o out.xml"}) {
    const bool isInPlace = arguments.ends_with("place");
    for (const int error : {EIO, EINTR}) {
      std::string calls = "!";
      for (size_t n = 1; hasFailure(calls); ++n) {
        for (const char *name : {"in.xml", "out.xml"}) std::ofstream(files / name) << old;
        const int status =
            runTool(files, std::to_string(n) + " " + std::to_string(error), arguments);
        calls = trees::readFile(path("calls"));
        SCOPED_TRACE(calls + arguments);
        const bool isDone = status == 0;
        const std::string now = trees::readFile(files / (isInPlace ? "in.xml" : "out.xml"));
        EXPECT_TRUE(isDone ? now == text : !isInPlace || now == old) << now;
        EXPECT_TRUE(isDone || (WIFEXITED(status) && WEXITSTATUS(status) == 3)) << status;
        const bool isRead =  // the input, whatever its size is and however it is closed
            calls.starts_with("open fstat! ") || calls.starts_with("open fstat close! ");
        // Those of the C++ library: whether the two are one file.
        const bool isCompared = kSeesCppLibrary && !isInPlace &&
                                calls.starts_with("open fstat close stat") &&
                                calls.find(" stat! ") != std::string::npos;
        const bool isHarmless = isRead || isCompared || goesOnAfter(calls, error);
        EXPECT_TRUE(error == EINTR || isDone == isHarmless);
        EXPECT_EQ(trees::readFile(path("errors")).empty(), isDone);
        EXPECT_EQ(filesIn(files), 2U);
      }
    }
  }
}

// A signal that can be blocked waits until the new file is in place. After one that cannot, the old
// file is unchanged.
TEST_F(Save, TheToolFinishesBeforeItDiesOfASignal) {
  const std::string old = "<a>  <b/></a>";
  for (const std::string call : {"write", "fsync", "rename"}) {
    for (const int signal : {SIGTERM, SIGKILL}) {
      const fs::path files = path(call + std::to_string(signal));
      fs::create_directory(files);
      std::ofstream(files / "a.xml") << old;
      const std::string plan = "0 0 " + call + " " + std::to_string(signal);
      const int status = runTool(files, plan, "fmt a.xml --in-place");
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
      const bool isNew = signal == SIGTERM;
      EXPECT_EQ(trees::readFile(files / "a.xml"), isNew ? "<a>\n  <b/>\n</a>\n" : old);
      EXPECT_EQ(filesIn(files), isNew ? 1U : 2U);
    }
  }
}

#endif

}  // namespace
