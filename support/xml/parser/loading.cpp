// Loading documents from files and buffers.
#include <cstring>

#include "parser/copying.h"
#include "parser/parser.h"
#include "platform/input_file.h"

namespace neb::xml::internal {

namespace {

constexpr int kSeekFromStart = 0;
constexpr int kSeekFromEnd = 2;

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

  int64_t length() const {
    XML_Fseek(stream_, 0, kSeekFromEnd);
    return XML_Ftell(stream_);
  }

  bool read(char *bytes, size_t count) const {
    return XML_Fseek(stream_, 0, kSeekFromStart) == 0 &&
           XML_Fread(bytes, 1, count, stream_) == count;
  }

 private:
  FILE *stream_;
};

}  // namespace

uint32_t LoadedDocument::load(const char *path) {
  return usesDefaultFiles() ? read(platform::InputFile(path)) : read(HookedFile(path));
}

template <typename File>
uint32_t LoadedDocument::read(const File &file) {
  if (!file.isOpen()) return NEB_XML_ERR_FILE_OPEN;
  const int64_t length = file.length();
  if (!isLoadableLength(length)) return NEB_XML_ERR_FILE_READ;
  if (length == 0) return NEB_XML_ERR_SYNTAX;
  char *text = allocate(static_cast<size_t>(length));
  if (text == nullptr) return NEB_XML_ERR_NO_MEMORY;
  if (!file.read(text, static_cast<size_t>(length))) return NEB_XML_ERR_FILE_READ;
  text_ = text;
  length_ = static_cast<size_t>(length);
  return NEB_XML_OK;
}

bool LoadedDocument::copy(const char *bytes, size_t length) {
  char *text = allocate(length);
  if (text == nullptr) return false;
  std::memcpy(text, bytes, length);
  text_ = text;
  length_ = length;
  return true;
}

// With the terminator.
char *LoadedDocument::allocate(size_t length) {
  memory_ = allocateToFill(length + kTerminator);
  if (memory_.allocation == nullptr) return nullptr;
  memory_.begin[length] = '\0';
  return memory_.begin;
}

}  // namespace neb::xml::internal
