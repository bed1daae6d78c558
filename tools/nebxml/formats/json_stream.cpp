#include "formats/json_stream.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "terminal/utf8.h"

namespace nebxml {
namespace {

bool isAscii(char character) {
  constexpr unsigned char kFirstBeyond = 0x80;
  return static_cast<unsigned char>(character) < kFirstBeyond;
}

std::string validUtf8(std::string_view text) {
  std::string valid;
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    valid += character.isValid ? text.substr(0, character.length) : kReplacementCharacter;
    text.remove_prefix(character.length);
  }
  return valid;
}

}  // namespace

void *JsonMemory::Realloc(void *memory, size_t /*oldSize*/, size_t newSize) {
  void *result = std::realloc(memory, newSize);
  if (result == nullptr) throw std::bad_alloc();
  return result;
}

void JsonMemory::Free(void *memory) { std::free(memory); }

JsonStream::JsonStream(BufferedOutput::Writing write)
    : output_(write), sink_{output_.text()}, writer_(sink_) {}

void JsonStream::writeString(std::string_view value) {
  if (std::all_of(value.begin(), value.end(), isAscii)) {
    writer_.String(value.empty() ? "" : value.data(), value.size());
  } else {
    const std::string valid = validUtf8(value);
    writer_.String(valid.data(), valid.size());
  }
  output_.flushIfLarge();
}

void JsonStream::writeMember(std::string_view name, std::string_view value) {
  writeKey(name);
  writeString(value);
}

void JsonStream::end() {
  output_.text() += '\n';
  output_.flush();
}

}  // namespace nebxml
