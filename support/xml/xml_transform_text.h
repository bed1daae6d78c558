// The text that is being printed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Grows in proportion to what it holds, so that printing stays linear, and is handed out exactly as
// large as needed. Once memory has run out, or the text is longer than 32 bits can tell, nothing
// more is written.
class PrintedText {
 public:
  PrintedText() = default;
  ~PrintedText();
  PrintedText(const PrintedText &) = delete;
  PrintedText &operator=(const PrintedText &) = delete;

  template <size_t size>
  void writeLiteral(const char (&literal)[size]) {
    write(literal, size - 1);
  }

  void write(const char *text, size_t count) {
    if (!reserve(count)) return;
    std::memcpy(place_, text, count);
    place_ += count;
  }

  void writeSpaces(size_t count) {
    if (count == 0 || !reserve(count)) return;
    std::memset(place_, ' ', count);
    place_ += count;
  }

  // Writes a text up to the first byte that ends a run in a table of 256, which the terminator must
  // do, and returns where that stands.
  const char *writeRun(const char *text, const bool *endsRun) {
    for (;;) {
      if (!reserve(kStep)) return text + std::strlen(text);
      char *to = place_;
      char *const stop = to + kStep;
      while (to < stop && !endsRun[static_cast<uint8_t>(*text)]) *to++ = *text++;
      place_ = to;
      if (to < stop) return text;
    }
  }

  // Whether nothing was to be written.
  bool isEmpty() const { return length() == 0 && !hasFailed_; }

  size_t length() const { return static_cast<size_t>(place_ - text_); }

  // The text, terminated and of exactly its length, from the allocation hook. Null when memory runs
  // or ran out.
  char *handOut() const;

 private:
  static constexpr size_t kStep = 64;

  bool reserve(size_t count) { return count <= static_cast<size_t>(end_ - place_) || grow(count); }

  bool grow(size_t count);

  char *text_ = nullptr;
  char *place_ = nullptr;
  char *end_ = nullptr;
  bool hasFailed_ = false;
};
