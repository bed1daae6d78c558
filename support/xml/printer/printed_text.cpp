#include "printer/printed_text.h"

#include <algorithm>
#include <cstring>

namespace neb::xml::internal {

namespace {

constexpr size_t kFirstRoom = 1024;
constexpr size_t kLargestRoom = size_t{1} << 26;
constexpr size_t kLongestText = UINT32_MAX;

}  // namespace

struct PrintedText::Chunk {
  Chunk *next;
  size_t room;
  size_t used;

  char *text() { return reinterpret_cast<char *>(this + 1); }
};

PrintedText::~PrintedText() {
  Chunk *next = nullptr;
  for (Chunk *chunk = first_; chunk != nullptr; chunk = next) {
    next = chunk->next;
    XML_Free(nullptr, chunk);
  }
}

// If the position is null, this is the first chunk, or printing has failed before.
char *PrintedText::addChunk(char *place, size_t count) {
  if (result_ != NEB_XML_OK) return nullptr;
  size_t room = kFirstRoom;
  if (last_ != nullptr) {
    end(place);
    room = std::min(2 * last_->room, kLargestRoom);
  }
  room = std::max(room, count);
  Chunk *chunk = nullptr;
  if (length_ <= kLongestText && count <= kLongestText - length_) {
    chunk = static_cast<Chunk *>(XML_Malloc(nullptr, sizeof(Chunk) + room + kSlack));
  }
  if (chunk == nullptr) return refuse(NEB_XML_ERR_NO_MEMORY);
  chunk->next = nullptr;
  chunk->room = room;
  chunk->used = 0;
  (last_ != nullptr ? last_->next : first_) = chunk;
  last_ = chunk;
  wideEnd_ = chunk->text() + room;
  return chunk->text();
}

void PrintedText::end(const char *place) {
  if (result_ != NEB_XML_OK || place == nullptr) return;
  last_->used = static_cast<size_t>(place - last_->text());
  length_ += last_->used;
  if (length_ > kLongestText) refuse(NEB_XML_ERR_NO_MEMORY);
}

char *PrintedText::handOut() const {
  auto *text = static_cast<char *>(XML_Malloc(nullptr, length_ + 1));
  if (text == nullptr) return nullptr;
  char *to = text;
  for (Chunk *chunk = first_; chunk != nullptr; chunk = chunk->next) {
    std::memcpy(to, chunk->text(), chunk->used);
    to += chunk->used;
  }
  *to = '\0';
  return text;
}

}  // namespace neb::xml::internal
