// The text that is being printed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "neb_xml.h"

namespace neb::xml::internal {

// Chunks that grow in proportion to what they hold, so that printing stays linear. The text is only
// moved when it is handed out, in an allocation of its exact size. The printer keeps the write
// position in a register, not in here. It is null before the first byte, and once printing has
// failed: memory has run out, the length does not fit into 32 bits, or something was refused.
class PrintedText {
 public:
  PrintedText() = default;
  ~PrintedText();
  PrintedText(const PrintedText &) = delete;
  PrintedText &operator=(const PrintedText &) = delete;

  // A position with room for so many bytes and kSlack more, for writing whole vectors.
  char *withRoom(char *place, size_t count) {
    // The position may be in the slack.
    const bool fits = place != nullptr && static_cast<ptrdiff_t>(count) <= wideEnd_ - place;
    return fits ? place : addChunk(place, count);
  }

  static constexpr size_t kSlack = 64;

  // Records that something cannot be printed. The first failure counts. Returns null.
  char *refuse(uint32_t result) {
    if (result_ == NEB_XML_OK) result_ = result;
    return nullptr;
  }

  // Ends the text.
  void end(const char *place);

  uint32_t result() const { return result_; }
  size_t length() const { return length_; }

  // The finished text, terminated, in memory from the allocation hook. Not after a failure. Null if
  // memory runs out.
  char *handOut() const;

 private:
  struct Chunk;

  char *addChunk(char *place, size_t count);

  Chunk *first_ = nullptr;
  Chunk *last_ = nullptr;
  char *wideEnd_ = nullptr;  // of the last chunk, without the slack
  size_t length_ = 0;        // in the chunks before the last
  uint32_t result_ = NEB_XML_OK;
};

}  // namespace neb::xml::internal
