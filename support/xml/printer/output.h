// What is being printed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "neb_xml.h"
#include "platform/compiler.h"

namespace neb::xml::internal {

// The room for the output grows in proportion to its length, so that printing stays linear.
//
// With the allocation functions of the C library there is one buffer, which grows: first on the
// stack, then on the heap. A large reallocation moves pages instead of bytes. Other allocation
// functions cannot reallocate. For them there are chunks, and the end copies them into one
// allocation.
//
// The printer passes its cursor through its steps, in a register, not in here. Whoever adds room
// may move the output: only the returned cursor is valid. The cursor is null after a failure:
// memory has run out, the output is longer than 32 bits can count, or something was refused.
// Printing ends there.
class Output {
 public:
  Output();
  ~Output();
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  // The first cursor.
  char *begin() { return begin_; }

  // The cursor may be in the slack. Counts are sums of lengths, which take 64 bits on every
  // machine.
  bool hasRoom(const char *cursor, uint64_t count) const {
    return static_cast<int64_t>(count) <= wideEnd_ - cursor;
  }

  // A cursor with room for so many bytes and kSlack more, which whole vectors may be written to.
  char *withRoom(char *cursor, uint64_t count) {
    return hasRoom(cursor, count) ? cursor : addRoom(cursor, count);
  }

  static constexpr size_t kSlack = 64;

  // Ends printing with a failure. Of several failures the first counts. Returns null.
  char *refuse(uint32_t result) {
    if (result_ == NEB_XML_OK) result_ = result;
    return nullptr;
  }

  // Ends the output.
  void end(const char *cursor);

  uint32_t result() const { return result_; }
  size_t length() const { return length_; }

  // The whole, terminated, on the heap, after an end without a failure; only once. Null when memory
  // runs out.
  char *handOut();

 private:
  struct Chunk;

  static constexpr size_t kSmallRoom = platform::kIsSmall ? 512 : 4096;

  NEB_XML_NOINLINE char *addRoom(char *cursor, uint64_t count);
  char *growBuffer(size_t count);
  char *addChunk(size_t count);
  char *trimmedBuffer();
  char *gathered() const;

  const bool canReallocate_;
  uint32_t result_ = NEB_XML_OK;
  char *begin_;              // of the buffer or the last chunk
  char *wideEnd_;            // of its room, without the slack
  size_t lengthBefore_ = 0;  // in the chunks before the last
  size_t length_ = 0;
  char *buffer_ = nullptr;  // on the heap
  Chunk *firstChunk_ = nullptr;
  Chunk *lastChunk_ = nullptr;
  char small_[kSmallRoom + kSlack];
};

}  // namespace neb::xml::internal
