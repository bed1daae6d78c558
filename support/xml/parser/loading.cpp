// Loading documents from files and buffers.
#include <cstdio>
#include <cstring>

#include "parser/copying.h"
#include "parser/parser.h"

namespace neb::xml::internal {

namespace {

constexpr int kSeekFromStart = 0;
constexpr int kSeekFromEnd = 2;

// Lengths are counted in 32 bits, terminator included. Files whose size is unknown give -1.
bool isLoadableSize(long size) {
  return size >= 0 && static_cast<unsigned long>(size) < UINT32_MAX;
}

}  // namespace

uint32_t LoadedDocument::load(const char *path) {
  FILE *stream = XML_Fopen(path, "rb");
  if (stream == nullptr) return NEB_XML_ERR_FILE_OPEN;
  // One large read needs no buffer in between.
  if (usesDefaultFiles()) std::setvbuf(stream, nullptr, _IONBF, 0);
  const uint32_t result = read(stream);
  XML_Fclose(stream);
  return result;
}

uint32_t LoadedDocument::read(FILE *stream) {
  XML_Fseek(stream, 0, kSeekFromEnd);
  const long told = XML_Ftell(stream);
  if (!isLoadableSize(told)) return NEB_XML_ERR_FILE_READ;
  if (told == 0) return NEB_XML_ERR_SYNTAX;
  const auto size = static_cast<size_t>(told);
  char *text = allocate(size);
  if (text == nullptr) return NEB_XML_ERR_NO_MEMORY;
  if (XML_Fseek(stream, 0, kSeekFromStart) != 0 || XML_Fread(text, 1, size, stream) != size) {
    return NEB_XML_ERR_FILE_READ;
  }
  text_ = text;
  return NEB_XML_OK;
}

bool LoadedDocument::copy(const char *bytes, size_t length) {
  const size_t size = strnlen(bytes, length);
  char *text = allocate(size);
  if (text == nullptr) return false;
  std::memcpy(text, bytes, size);
  text_ = text;
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
