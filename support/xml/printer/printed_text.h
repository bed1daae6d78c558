// The text that is being printed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "neb_xml.h"

namespace neb::xml::internal {

// Chunks that grow in proportion to what they hold, so that printing stays linear and nothing is
// moved before the text is handed out, exactly as large as it is. The printer carries the place to
// write at through its steps: in a register, not in here. It is null before the first byte, and
// once printing has failed: memory has run out, the text is longer than 32 bits can tell, or
// something was refused.
class PrintedText {
 public:
  PrintedText() = default;
  ~PrintedText();
  PrintedText(const PrintedText &) = delete;
  PrintedText &operator=(const PrintedText &) = delete;

  // A place with room for so many bytes and kSlack more, which whole vectors may be written to.
  char *withRoom(char *place, size_t count) {
    // The place may lie in the slack.
    const bool fits = place != nullptr && static_cast<ptrdiff_t>(count) <= wideEnd_ - place;
    return fits ? place : addChunk(place, count);
  }

  static constexpr size_t kSlack = 64;

  // What is to be printed cannot be. Of several failures the first counts. Returns null.
  char *refuse(uint32_t result) {
    if (result_ == NEB_XML_OK) result_ = result;
    return nullptr;
  }

  // Ends the text.
  void end(const char *place);

  uint32_t result() const { return result_; }
  size_t length() const { return length_; }

  // The text that was ended without a failure, terminated, from the allocation hook. Null when
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
