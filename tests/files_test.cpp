// Files, by what every system can do with them: read them, replace them, and say what fails.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/system.h"
#include "support/trees.h"

#if defined(NEB_XML_WINDOWS)
#include <fcntl.h>
#include <io.h>

#include "platform/windows/system_calls.h"
#endif

namespace {

namespace fs = std::filesystem;

const std::string kOld = "an older and much longer text";
const std::string kNew = "<new>text</new>\n";
#if defined(NEB_XML_WINDOWS)
constexpr char kDevice[] = "NUL";
#else
constexpr char kDevice[] = "/dev/null";
#endif

fs::path pathOf(const std::string &utf8) { return std::u8string(utf8.begin(), utf8.end()); }

std::string contentOf(const std::string &path) {
  std::ifstream file(pathOf(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class Files : public testing::Test {
 protected:
  Files() {
    NEB_XML_RegFileFunc(std::fopen, std::fseek, std::fclose, std::fread, std::ftell);
    fs::create_directory(folder_);
  }
  ~Files() override { fs::remove_all(folder_); }

  std::string path(const std::string &name) const { return folder_ + "/" + name; }
  std::string oldFile(const std::string &name = "file.xml") const {
    std::ofstream(pathOf(path(name)), std::ios::binary) << kOld;
    return path(name);
  }
  size_t filesInFolder() const {
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder_), {}));
  }
  void expectRefused(const std::string &name, uint32_t result, int cause) const {
    errno = 0;
    EXPECT_EQ(NEB_XML_Save(document_, name.c_str(), nullptr), result) << name;
    EXPECT_EQ(errno, cause) << name;
  }

  const std::string folder_ = trees::temporaryFile("") + ".folder";
  const trees::Held document_{trees::parsed(kNew)};
};

using Write = uint32_t (*)(const XmlNode *, const char *);
constexpr Write kWrites[] = {
    [](const XmlNode *node, const char *path) { return NEB_XML_Save(node, path, nullptr); },
    [](const XmlNode *node, const char *path) { return NEB_XML_SaveFile(node, path, 2); },
    [](const XmlNode *, const char *path) {
      return NEB_XML_SaveBytes(path, kNew.data(), kNew.size());
    },
    NEB_XML_TransformFile};
using Read = uint32_t (*)(const char *, XmlNode **, NEB_XML_PARSE_ERROR *);
constexpr Read kReads[] = {[](const char *path, XmlNode **document, NEB_XML_PARSE_ERROR *error) {
                             return NEB_XML_Load(path, nullptr, document, error);
                           },
                           [](const char *path, XmlNode **document, NEB_XML_PARSE_ERROR *error) {
                             return NEB_XML_ParseFileInfo(path, 0, document, error);
                           }};

// What they have is binary, and no byte more or less.
TEST_F(Files, HaveNamesInUtf8) {
  fs::create_directory(pathOf(path("дом")));
  for (const std::string name : {"a b.xml", "дом/é.xml", "\xF0\x9F\x98\x80.xml"}) {
    for (const Write write : kWrites) {
      for (const bool isOld : {false, true}) {
        const std::string file = isOld ? oldFile(name) : path(name);
        EXPECT_EQ(write(document_, file.c_str()), kOk) << name;
        EXPECT_EQ(contentOf(file), kNew) << name;
        for (const Read read : kReads) {
          XmlNode *document = nullptr;
          EXPECT_EQ(read(file.c_str(), &document, nullptr), kOk) << name;
          EXPECT_EQ(trees::printed(document), kNew);
          NEB_XML_FreeNode(document);
        }
        fs::remove(pathOf(file));
      }
    }
  }
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(Files, SayWhyTheyAreNotRead) {
  struct Case {
    std::string path;
    uint32_t result;
    int cause;
  };
  std::ofstream(path("empty.xml"));
  for (const auto &[name, result, cause] : {
         Case{path("empty.xml"), kSyntax, 0}, {path("none.xml"), kFileOpen, ENOENT},
             {path("none/a.xml"), kFileOpen, ENOENT}, {"", kFileOpen, ENOENT},
#if defined(NEB_XML_WINDOWS)
             {path("no UTF-8: \xFF"), kFileOpen, EILSEQ},
             {std::string(5000, 'n'), kFileOpen, ENAMETOOLONG},
#endif
         {
           folder_, kFileRead, EISDIR
         }
       }) {
    for (const Read read : kReads) {
      XmlNode *document = nullptr;
      NEB_XML_PARSE_ERROR error = {};
      EXPECT_EQ(read(name.c_str(), &document, &error), result) << name;
      EXPECT_EQ(error.systemError, static_cast<size_t>(cause)) << name;
    }
  }
}

TEST_F(Files, SayWhyTheyAreNotReplaced) {
  fs::create_directory(path("folder"));
  expectRefused(path("folder"), kFileOpen, EISDIR);
  expectRefused(path("none/file.xml"), kFileOpen, ENOENT);
  expectRefused("", kFileOpen, ENOENT);
  expectRefused(kDevice, kFileOpen, EINVAL);
  expectRefused(std::string(2000, 'x'), kFileOpen, ENAMETOOLONG);
  EXPECT_EQ(filesInFolder(), 1U);
  const std::string bytes("\xFF no document\r\n\0", 16);
  const std::string file = oldFile();
  EXPECT_EQ(NEB_XML_SaveBytes(file.c_str(), bytes.data(), bytes.size()), kOk);
  EXPECT_EQ(contentOf(file), bytes);
}

TEST_F(Files, AreUnchangedAfterAFailure) {
  const std::string file = oldFile();
  const trees::Held late{trees::parsed("<a><b>" + std::string(40'000, 'b') + "</b><c/></a>")};
  EXPECT_EQ(NEB_XML_SetNode(NEB_XML_GetNodeLastChild(late), nullptr, "", nullptr), kOk);
  EXPECT_EQ(NEB_XML_Save(late, file.c_str(), nullptr), kUnwritable) << "a node without a name";
  EXPECT_EQ(NEB_XML_Save(late, path("new.xml").c_str(), nullptr), kUnwritable);
  EXPECT_EQ(contentOf(file), kOld);
  EXPECT_EQ(filesInFolder(), 1U);
}

#if defined(NEB_XML_WINDOWS)

constexpr DWORD kReadAndWrite = FILE_SHARE_READ | FILE_SHARE_WRITE;

// A file that somebody else has opened.
class Opened {
 public:
  Opened(const std::string &path, DWORD access, DWORD sharing)
      : file_(CreateFileW(pathOf(path).c_str(), access, sharing, nullptr, OPEN_EXISTING, 0,
                          nullptr)) {
    EXPECT_NE(file_, INVALID_HANDLE_VALUE);
  }
  ~Opened() { CloseHandle(file_); }
  Opened(const Opened &) = delete;
  Opened &operator=(const Opened &) = delete;

 private:
  HANDLE file_;
};

TEST_F(Files, ThatOthersHoldAreNotReplaced) {
  const std::string file = oldFile();
  for (const DWORD sharing : {DWORD{0}, DWORD{FILE_SHARE_READ}, kReadAndWrite}) {
    const Opened held(file, GENERIC_READ, sharing);
    expectRefused(file, kFileWrite, EBUSY);
    EXPECT_EQ(filesInFolder(), 1U);
  }
  EXPECT_EQ(contentOf(file), kOld);
  {
    const Opened held(file, GENERIC_READ, 0);
    XmlNode *document = nullptr;
    NEB_XML_PARSE_ERROR error = {};
    EXPECT_EQ(NEB_XML_Load(file.c_str(), nullptr, &document, &error), kFileOpen);
    EXPECT_EQ(error.systemError, size_t{EBUSY});
  }
  {
    const Opened held(file, GENERIC_READ, kReadAndWrite | FILE_SHARE_DELETE);
    EXPECT_EQ(NEB_XML_Save(document_, file.c_str(), nullptr), kOk);
  }
  EXPECT_EQ(contentOf(file), kNew);
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(Files, AreNotLeftBehindWithoutADescriptor) {
  std::vector<int> held;
  for (int each = 0; (each = _open(kDevice, _O_RDONLY)) >= 0;) held.push_back(each);
  EXPECT_EQ(NEB_XML_Save(document_, path("new.xml").c_str(), nullptr), kFileOpen);
  for (const int each : held) _close(each);
  EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(Files, ThatAreReadOnlyAreNotReplaced) {
  const std::string file = oldFile();
  ASSERT_NE(SetFileAttributesW(pathOf(file).c_str(), FILE_ATTRIBUTE_READONLY), 0);
  expectRefused(file, kFileOpen, EACCES);
  EXPECT_EQ(contentOf(file), kOld);
  EXPECT_EQ(filesInFolder(), 1U);
  ASSERT_NE(SetFileAttributesW(pathOf(file).c_str(), FILE_ATTRIBUTE_NORMAL), 0);
  EXPECT_EQ(NEB_XML_Save(document_, file.c_str(), nullptr), kOk);
}

// The limits of 260 characters of a path and of 255 of a name do not stand in the way.
TEST_F(Files, HaveLongPathsAndNames) {
  const fs::path whole = LR"(\\?\)" + fs::absolute(folder_).make_preferred().native();
  std::string deep;
  for (int i = 0; i < 6; ++i) deep += std::string(60, 'd') + "\\";
  fs::create_directories(whole / deep);
  for (const std::string &name : {path(deep + "file.xml"), path(std::string(255, 'n'))}) {
    for (const Write write : kWrites) EXPECT_EQ(write(document_, name.c_str()), kOk) << name;
    XmlNode *document = nullptr;
    EXPECT_EQ(NEB_XML_Load(name.c_str(), nullptr, &document, nullptr), kOk) << name;
    NEB_XML_FreeNode(document);
  }
  EXPECT_NE(NEB_XML_Save(document_, path(std::string(256, 'n')).c_str(), nullptr), kOk);
  EXPECT_EQ(filesInFolder(), 2U);
  fs::remove(whole / deep / "file.xml");  // not by the others, which do not reach so deep
  for (fs::path each = whole / deep; each != whole; each = each.parent_path()) fs::remove(each);
}

#endif

}  // namespace
