// Loading documents from files and buffers.
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include "parser/copying.h"
#include "parser/parser.h"
#include "platform/input_file.h"

namespace neb::xml::internal {

namespace {

constexpr int kSeekFromStart = 0;
constexpr int kSeekFromEnd = 2;

constexpr size_t kFirstStep = size_t{64} * 1024;  // as much as a pipe holds

// Lengths are counted in 32 bits, terminator included. Files whose length is unknown give -1.
bool isLoadableLength(int64_t length) { return length >= 0 && length < int64_t{UINT32_MAX}; }

// A file that is read through the file hooks.
class HookedFile {
 public:
  explicit HookedFile(const char *path) : stream_(XML_Fopen(path, "rb")) {}
  ~HookedFile() {
    if (isOpen()) XML_Fclose(stream_);
  }
  HookedFile(const HookedFile &) = delete;
  HookedFile &operator=(const HookedFile &) = delete;

  bool isOpen() const { return stream_ != nullptr; }

  // Some directories end at the largest number.
  int64_t length() const {
    XML_Fseek(stream_, 0, kSeekFromEnd);
    const long end = XML_Ftell(stream_);
    return end < LONG_MAX ? end : -1;
  }

  static int lengthError() { return errno; }

  bool read(char *bytes, size_t count) const {
    return XML_Fseek(stream_, 0, kSeekFromStart) == 0 &&
           XML_Fread(bytes, 1, count, stream_) == count;
  }

  // A stream whose length is not known. It stays where it is if it cannot be sought in.
  void seekStart() const { XML_Fseek(stream_, 0, kSeekFromStart); }
  static int64_t expectedLength() { return 0; }

  // The hooks do not say what ended a stream, so errno must.
  int64_t readNext(char *bytes, size_t count) const {
    errno = 0;
    const size_t done = XML_Fread(bytes, 1, count, stream_);
    return done < count && errno != 0 ? -1 : static_cast<int64_t>(done);
  }

 private:
  FILE *stream_;
};

// No library may clear errno. It is cleared in here, so that it tells what a hook has set.
template <typename Call>
uint32_t keepingErrno(Call call) {
  const int before = std::exchange(errno, 0);
  const uint32_t result = call();
  if (errno == 0) errno = before;
  return result;
}

}  // namespace

uint32_t LoadedDocument::load(const char *path) {
  return keepingErrno([&] {
    return usesDefaultFiles() ? read(platform::InputFile(path)) : read(HookedFile(path));
  });
}

uint32_t LoadedDocument::loadToEnd(const char *path) {
  return keepingErrno([&] {
    if (usesDefaultFiles()) return readInSteps(platform::InputFile(path));
    const HookedFile file(path);
    if (!file.isOpen()) return failWithError(NEB_XML_ERR_FILE_OPEN, errno);
    const int64_t length = file.length();
    if (isLoadableLength(length) && length != 0) {
      return readKnown(file, static_cast<size_t>(length));
    }
    file.seekStart();
    return readInSteps(file);
  });
}

template <typename File>
uint32_t LoadedDocument::read(const File &file) {
  if (!file.isOpen()) return failWithError(NEB_XML_ERR_FILE_OPEN, errno);
  errno = 0;
  const int64_t length = file.length();
  if (!isLoadableLength(length)) return failWithError(NEB_XML_ERR_FILE_READ, file.lengthError());
  if (length == 0) return NEB_XML_ERR_SYNTAX;
  return readKnown(file, static_cast<size_t>(length));
}

template <typename File>
uint32_t LoadedDocument::readKnown(const File &file, size_t length) {
  if (!grow(0, length + kTerminator)) return NEB_XML_ERR_NO_MEMORY;
  errno = 0;
  if (!file.read(memory_.begin, length)) return failWithError(NEB_XML_ERR_FILE_READ, errno);
  setLength(length);
  return NEB_XML_OK;
}

// The file ends where it fills less than the memory, which leaves room for the terminator. So a
// file of the expected length takes one step.
template <typename File>
uint32_t LoadedDocument::readInSteps(const File &file) {
  if (!file.isOpen()) return failWithError(NEB_XML_ERR_FILE_OPEN, errno);
  const int64_t expected = file.expectedLength();
  if (expected > int64_t{kLargestObject - kTerminator}) return NEB_XML_ERR_NO_MEMORY;
  size_t size = expected != 0 ? static_cast<size_t>(expected) + kTerminator : kFirstStep;
  size_t length = 0;
  for (;; size = productOf(2, size)) {
    if (!grow(length, size)) return NEB_XML_ERR_NO_MEMORY;
    const int64_t count = file.readNext(memory_.begin + length, size - length);
    if (count < 0) return failWithError(NEB_XML_ERR_FILE_READ, errno);
    length += static_cast<size_t>(count);
    if (length < size) break;
  }
  if (length == 0) return NEB_XML_ERR_SYNTAX;
  setLength(length);
  return NEB_XML_OK;
}

bool LoadedDocument::copy(const char *bytes, size_t length) {
  if (!grow(0, sumOf(length, kTerminator))) return false;
  std::memcpy(memory_.begin, bytes, length);
  setLength(length);
  return true;
}

uint32_t LoadedDocument::failWithError(uint32_t code, int systemError) {
  systemError_ = systemError;
  return code;
}

// Keeps the bytes that are used. Only of the first memory it is known that all will be filled.
bool LoadedDocument::grow(size_t used, size_t size) {
  platform::LargeMemory larger = {};
  if (used == 0) {
    larger = allocateToFill(allocator_, size);
  } else {
    void *memory = allocator_.allocate(size);
    larger = {memory, static_cast<char *>(memory)};
  }
  if (larger.allocation == nullptr) return false;
  if (used != 0) std::memcpy(larger.begin, memory_.begin, used);
  release();
  memory_ = larger;
  size_ = size;
  return true;
}

void LoadedDocument::setLength(size_t length) {
  memory_.begin[length] = '\0';
  text_ = memory_.begin;
  length_ = length;
}

}  // namespace neb::xml::internal
