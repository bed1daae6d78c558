// The input as a program. Bytes are taken one after the other; zeros follow the last one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

class Bytes {
 public:
  Bytes(const uint8_t *data, size_t size) : next_(data), end_(data + size) {}

  bool isEmpty() const { return next_ == end_; }
  uint8_t take() { return isEmpty() ? uint8_t{0} : *next_++; }
  size_t pick(size_t count) { return take() % count; }

  template <typename Table>
  auto &pickFrom(Table &table) {
    return table[pick(std::size(table))];
  }

  // Without a NUL, as in a string of the library.
  std::string takeText(size_t longest) {
    std::string text;
    for (size_t left = pick(longest + 1); left > 0 && !isEmpty(); --left) {
      const uint8_t byte = take();
      if (byte != 0) text += static_cast<char>(byte);
    }
    return text;
  }

 private:
  const uint8_t *next_;
  const uint8_t *end_;
};
