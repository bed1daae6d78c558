// Names in the text.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace neb::xml::internal {

// A name in the text.
struct Name {
  const char *text;
  size_t length;
  const char *colon;  // the first, or null
};

// What ends in "--" would be markup before '>'. What has a ']' is no ordinary name.
inline bool mayEndMarkup(char lastOfName) { return lastOfName == '-'; }

// White space or another control character.
inline bool mayBeBlank(char byte) { return static_cast<uint8_t>(byte) <= ' '; }

// Tells most names of one tag from each other by few bits, without being cleared for each tag.
class NamesSeen {
 public:
  void beginTag() {
    if (++tag_ != 0) return;
    seenIn_.fill(0);
    tag_ = 1;
  }

  // The first bytes of a name and its length; there are that many bytes, whatever the length.
  static uint64_t keyOf(const char *name, size_t length) {
    uint64_t key = 0;
    std::memcpy(&key, name, sizeof key);
    return withoutRest(key, length) ^ length;
  }

  // The same, for a name that may be the last thing in the text.
  static uint64_t keyOfLast(const char *name, size_t length) {
    uint64_t key = 0;
    std::memcpy(&key, name, length < sizeof key ? length : sizeof key);
    return withoutRest(key, length) ^ length;
  }

  // Spreads a key over all bits, best over the highest.
  static constexpr uint64_t scatter(uint64_t key) { return key * 0x9E3779B97F4A7C15; }

  // Whether a name of this key may have been seen in the tag; it counts as seen from now on.
  bool see(uint64_t key) {
    uint8_t &seenIn = seenIn_[scatter(key) >> 56];
    const bool maySeen = seenIn == tag_;
    seenIn = tag_;
    return maySeen;
  }

 private:
  static uint64_t withoutRest(uint64_t key, size_t length) {
    const size_t behind = 8 * (sizeof key - (length < sizeof key ? length : sizeof key));
    return std::endian::native == std::endian::little ? key << behind : key >> behind;
  }

  std::array<uint8_t, 256> seenIn_ = {};
  uint8_t tag_ = 0;
};

}  // namespace neb::xml::internal
