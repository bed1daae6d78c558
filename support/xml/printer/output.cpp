#include "printer/output.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "memory/hooks.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kFirstChunk = 1024;
constexpr size_t kLargestChunk = size_t{1} << 26;
// Trimming leaves a gap in the heap that a longer output does not fit in. Up to this length it is
// cheaper to copy.
constexpr size_t kLongestCopied = size_t{16} * 1024;
// Lengths are counted in 32 bits. Around the output there are a chunk's header and the slack.
constexpr size_t kBesideOutput = 1024;
constexpr size_t kLongestOutput = std::min<size_t>(UINT32_MAX, kLargestObject - kBesideOutput);

char *reallocate(char *memory, size_t size) {
  return static_cast<char *>(std::realloc(memory, size));
}

}  // namespace

struct Output::Chunk {
  Chunk *next;
  size_t room;
  size_t used;

  char *bytes() { return reinterpret_cast<char *>(this + 1); }
};

// Before the first chunk, no room is enough.
Output::Output() : canReallocate_(usesDefaultAllocator()), begin_(small_ + 1), wideEnd_(small_) {
  if (!canReallocate_) return;
  begin_ = small_;
  wideEnd_ = small_ + kSmallRoom;
}

Output::~Output() {
  std::free(buffer_);
  Chunk *next = nullptr;
  for (Chunk *chunk = firstChunk_; chunk != nullptr; chunk = next) {
    next = chunk->next;
    XML_Free(nullptr, chunk);
  }
}

char *Output::addRoom(char *cursor, uint64_t count) {
  end(cursor);
  if (result_ != NEB_XML_OK || count > kLongestOutput - length_) {
    return refuse(NEB_XML_ERR_NO_MEMORY);
  }
  const auto room = static_cast<size_t>(count);
  return canReallocate_ ? growBuffer(room) : addChunk(room);
}

char *Output::growBuffer(size_t count) {
  const auto room = static_cast<size_t>(wideEnd_ - begin_);
  const size_t grownRoom = std::max(std::min(productOf(2, room), kLongestOutput), length_ + count);
  char *grown = reallocate(buffer_, grownRoom + kSlack);
  if (grown == nullptr) return refuse(NEB_XML_ERR_NO_MEMORY);
  if (buffer_ == nullptr) std::memcpy(grown, small_, length_);
  buffer_ = grown;
  begin_ = grown;
  wideEnd_ = grown + grownRoom;
  return grown + length_;
}

char *Output::addChunk(size_t count) {
  const bool isFirst = lastChunk_ == nullptr;
  const size_t usual =
      isFirst ? kFirstChunk : std::min(productOf(2, lastChunk_->room), kLargestChunk);
  const size_t room = std::max(usual, count);
  auto *chunk = static_cast<Chunk *>(XML_Malloc(nullptr, sizeof(Chunk) + room + kSlack));
  if (chunk == nullptr) return refuse(NEB_XML_ERR_NO_MEMORY);
  chunk->next = nullptr;
  chunk->room = room;
  (isFirst ? firstChunk_ : lastChunk_->next) = chunk;
  lastChunk_ = chunk;
  lengthBefore_ = length_;
  begin_ = chunk->bytes();
  wideEnd_ = begin_ + room;
  return begin_;
}

void Output::end(const char *cursor) {
  if (result_ != NEB_XML_OK) return;
  const auto used = static_cast<size_t>(cursor - begin_);
  if (lastChunk_ != nullptr) lastChunk_->used = used;
  length_ = lengthBefore_ + used;
  if (length_ > kLongestOutput) refuse(NEB_XML_ERR_NO_MEMORY);
}

char *Output::handOut() {
  const bool isTrimmed = buffer_ != nullptr && length_ > kLongestCopied;
  char *whole = isTrimmed ? trimmedBuffer() : gathered();
  if (whole != nullptr) whole[length_] = '\0';
  return whole;
}

// If the smaller allocation fails, the larger one stays as it is.
char *Output::trimmedBuffer() {
  char *trimmed = reallocate(buffer_, length_ + 1);
  char *whole = trimmed != nullptr ? trimmed : buffer_;
  buffer_ = nullptr;
  return whole;
}

// What is not in a large buffer.
char *Output::gathered() const {
  auto *whole = static_cast<char *>(XML_Malloc(nullptr, length_ + 1));
  if (whole == nullptr) return nullptr;
  if (canReallocate_) std::memcpy(whole, begin_, length_);
  char *to = whole;
  for (Chunk *chunk = firstChunk_; chunk != nullptr; chunk = chunk->next) {
    std::memcpy(to, chunk->bytes(), chunk->used);
    to += chunk->used;
  }
  return whole;
}

}  // namespace neb::xml::internal
