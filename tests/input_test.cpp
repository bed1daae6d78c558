// Reading of files, when the calls of POSIX fail and with files that only its systems have.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>

#include "support/guarded_hooks.h"
#include "support/trees.h"

namespace {

// How pread reads: so many bytes at a time, with an error of this number in the given call.
struct Reading {
  size_t most = SIZE_MAX, failing = 0;
  int error = 0;  // 0: the file ends
  off_t end = 0;  // that lseek finds; 0: the right one
};
Reading g_reading = {};
size_t g_readCalls = 0;

}  // namespace

extern "C" ssize_t pread(int file, void *bytes, size_t count, off_t offset) {
  if (++g_readCalls == g_reading.failing) {
    errno = g_reading.error;
    return g_reading.error == 0 ? 0 : -1;
  }
  static const auto systems = reinterpret_cast<decltype(&pread)>(dlsym(RTLD_NEXT, "pread64"));
  return systems(file, bytes, std::min(count, g_reading.most), offset);
}

extern "C" off_t lseek(int file, off_t offset, int whence) noexcept {
  static const auto systems = reinterpret_cast<decltype(&lseek)>(dlsym(RTLD_NEXT, "lseek64"));
  return whence == SEEK_END && g_reading.end != 0 ? g_reading.end : systems(file, offset, whence);
}

namespace {

// With the file functions of the C library, files are read without its streams.
TEST(InputFile, IsReadWholeOrRefused) {
  NEB_XML_RegFileFunc(std::fopen, std::fseek, std::fclose, std::fread, std::ftell);
  const std::string path = trees::temporaryFile("<a>text</a>");
  const std::string fifo = path + ".fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), S_IRUSR | S_IWUSR), 0);
  const int writer = open(fifo.c_str(), O_RDWR);  // so that opening it does not wait
  const std::string empty = trees::temporaryFile("");
  struct Case {
    std::string path;
    Reading reading;
    uint32_t result;
    size_t systemError = 0;
  };
  for (const auto &[name, reading, result, systemError] :
       {Case{path, {}, kOk},
        {path, {1, 0, 0}, kOk},
        {path, {3, 2, EINTR}, kOk},
        {path, {SIZE_MAX, 1, EIO}, kFileRead, EIO},
        {path, {4, 3, EIO}, kFileRead, EIO},
        {path, {SIZE_MAX, 1, 0}, kFileRead},
        {path, {5, 2, 0}, kFileRead},
        {empty, {}, kSyntax},
        {path + ".none", {}, kFileOpen, ENOENT},
        {path + "/a", {}, kFileOpen, ENOTDIR},
        {"", {}, kFileOpen, ENOENT},
        {"/", {}, kFileRead, EISDIR},
        {"/", {SIZE_MAX, 0, 0, INT32_MAX}, kFileRead, EISDIR},  // where positions have 32 bits
        {"/proc/self/status", {}, kSyntax},
        {fifo, {}, kFileRead, ESPIPE}}) {
    g_reading = reading;
    g_readCalls = 0;
    XmlNode *document = nullptr;
    NEB_XML_PARSE_ERROR error = {};
    errno = EDOM;
    EXPECT_EQ(NEB_XML_ParseFileInfo(name.c_str(), NEB_XML_PARSE_SESSION, &document, &error), result)
        << name;
    EXPECT_EQ(error.systemError, systemError) << name;
    EXPECT_NE(errno, 0);
    EXPECT_EQ(document == nullptr ? "" : trees::printed(document),
              result == kOk ? "<a>text</a>\n" : "");
    NEB_XML_FreeNode(document);
  }
  EXPECT_LT(guarded::mostHeld(), size_t{1} << 20U) << "memory for a directory";
  g_reading = {};
  const int lowest = dup(writer);
  close(lowest);
  close(writer);
  EXPECT_LT(lowest - writer, 3) << "a file has been left open";
}

// A pipe into which another thread writes.
class WrittenPipe {
 public:
  explicit WrittenPipe(const std::string &bytes) {
    EXPECT_EQ(pipe(ends_), 0);
    writer_ = std::thread([this, bytes] {
      for (size_t done = 0; done < bytes.size();) {
        done += static_cast<size_t>(write(ends_[1], bytes.data() + done, bytes.size() - done));
      }
      close(ends_[1]);
    });
  }
  ~WrittenPipe() {
    close(ends_[0]);
    writer_.join();
  }
  WrittenPipe(const WrittenPipe &) = delete;
  WrittenPipe &operator=(const WrittenPipe &) = delete;
  std::string path() const { return "/dev/fd/" + std::to_string(ends_[0]); }

 private:
  int ends_[2] = {-1, -1};
  std::thread writer_;
};

// With the file hooks and without them.
class Loading : public testing::TestWithParam<bool> {
 protected:
  Loading() {
    if (GetParam()) return;
    NEB_XML_RegFileFunc(std::fopen, std::fseek, std::fclose, std::fread, std::ftell);
  }
};

TEST_P(Loading, ReadsToTheEnd) {
  constexpr size_t kStep = 65536;
  for (const size_t length : {size_t{8}, kStep - 1, kStep, kStep + 1, 5 * kStep}) {
    const std::string bytes = "<a>" + std::string(length - 8, 'x') + "y</a>";
    const std::string file = trees::temporaryFile(bytes);
    const WrittenPipe pipe(bytes);
    for (const std::string &path : {file, pipe.path()}) {
      XmlNode *document = nullptr;
      ASSERT_EQ(NEB_XML_Load(path.c_str(), nullptr, &document, nullptr), kOk) << path;
      EXPECT_TRUE(trees::printed(document) == bytes + "\n") << path;
      NEB_XML_FreeNode(document);
    }
  }
}

TEST_P(Loading, ReportsTheErrno) {
  struct Case {
    std::string path;
    uint32_t result;
    size_t systemError;
    size_t line;
  };
  const std::string path = trees::temporaryFile("");
  for (const auto &[name, result, systemError, line] : {Case{path, kSyntax, 0, 0},
                                                        {"/dev/null", kSyntax, 0, 0},
                                                        {"/proc/self/status", kSyntax, 0, 1},
                                                        {path + ".none", kFileOpen, ENOENT, 0},
                                                        {path + "/a", kFileOpen, ENOTDIR, 0},
                                                        {"/", kFileRead, EISDIR, 0},
                                                        {"/proc/self/mem", kFileRead, EIO, 0}}) {
    XmlNode *document = nullptr;
    NEB_XML_PARSE_ERROR error = {};
    errno = EDOM;
    EXPECT_EQ(NEB_XML_Load(name.c_str(), nullptr, &document, &error), result) << name;
    EXPECT_EQ(error.systemError, systemError) << name;
    EXPECT_EQ(error.line, line) << name;
    EXPECT_NE(errno, 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Hooks, Loading, testing::Bool());

}  // namespace
