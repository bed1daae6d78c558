// What is being printed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "neb_xml.h"

namespace neb::xml::internal {

// Chunks that grow in proportion to what they hold, so that printing stays linear and nothing is
// moved before the whole is handed out in one allocation of its size. The printer passes its cursor
// through its steps, in a register, not in here. The cursor is null before the first byte, and
// after a failure: memory has run out, the output is longer than 32 bits can count, or something
// was refused.
class Output {
 public:
  Output() = default;
  ~Output();
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  // A cursor with room for so many bytes and kSlack more, which whole vectors may be written to.
  char *withRoom(char *cursor, size_t count) {
    // The cursor may be in the slack.
    const bool fits = cursor != nullptr && static_cast<ptrdiff_t>(count) <= wideEnd_ - cursor;
    return fits ? cursor : addChunk(cursor, count);
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

  // The whole, terminated, on the heap, after an end without a failure. Null when memory runs out.
  char *handOut() const;

 private:
  struct Chunk;

  char *addChunk(char *cursor, size_t count);

  Chunk *first_ = nullptr;
  Chunk *last_ = nullptr;
  char *wideEnd_ = nullptr;  // of the last chunk, without the slack
  size_t length_ = 0;        // in the chunks before the last
  uint32_t result_ = NEB_XML_OK;
};

}  // namespace neb::xml::internal
