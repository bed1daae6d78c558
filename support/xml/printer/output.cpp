#include "printer/output.h"

#include <algorithm>
#include <cstring>

namespace neb::xml::internal {

namespace {

constexpr size_t kFirstRoom = 1024;
constexpr size_t kLargestRoom = size_t{1} << 26;
constexpr size_t kLongestOutput = UINT32_MAX;

}  // namespace

struct Output::Chunk {
  Chunk *next;
  size_t room;
  size_t used;

  char *bytes() { return reinterpret_cast<char *>(this + 1); }
};

Output::~Output() {
  Chunk *next = nullptr;
  for (Chunk *chunk = first_; chunk != nullptr; chunk = next) {
    next = chunk->next;
    XML_Free(nullptr, chunk);
  }
}

// A null cursor is that of the first chunk, or of a failure before.
char *Output::addChunk(char *cursor, size_t count) {
  if (result_ != NEB_XML_OK) return nullptr;
  size_t room = kFirstRoom;
  if (last_ != nullptr) {
    end(cursor);
    room = std::min(2 * last_->room, kLargestRoom);
  }
  room = std::max(room, count);
  Chunk *chunk = nullptr;
  if (length_ <= kLongestOutput && count <= kLongestOutput - length_) {
    chunk = static_cast<Chunk *>(XML_Malloc(nullptr, sizeof(Chunk) + room + kSlack));
  }
  if (chunk == nullptr) return refuse(NEB_XML_ERR_NO_MEMORY);
  chunk->next = nullptr;
  chunk->room = room;
  chunk->used = 0;
  (last_ != nullptr ? last_->next : first_) = chunk;
  last_ = chunk;
  wideEnd_ = chunk->bytes() + room;
  return chunk->bytes();
}

void Output::end(const char *cursor) {
  if (result_ != NEB_XML_OK || cursor == nullptr) return;
  last_->used = static_cast<size_t>(cursor - last_->bytes());
  length_ += last_->used;
  if (length_ > kLongestOutput) refuse(NEB_XML_ERR_NO_MEMORY);
}

char *Output::handOut() const {
  auto *copy = static_cast<char *>(XML_Malloc(nullptr, length_ + 1));
  if (copy == nullptr) return nullptr;
  char *to = copy;
  for (Chunk *chunk = first_; chunk != nullptr; chunk = chunk->next) {
    std::memcpy(to, chunk->bytes(), chunk->used);
    to += chunk->used;
  }
  *to = '\0';
  return copy;
}

}  // namespace neb::xml::internal
