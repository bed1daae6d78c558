#include "characters/characters.h"

#include <algorithm>
#include <iterator>

#include "characters/utf8.h"

namespace neb::xml::internal {

namespace {

struct Range {
  uint32_t first;
  uint32_t last;
};

// In ascending order.
constexpr Range kNameBeginnings[] = {
    {':', ':'},       {'A', 'Z'},       {'_', '_'},       {'a', 'z'},
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
constexpr Range kOtherNameCharacters[] = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
};

constexpr size_t kAsciiCharacters = 0x80;

template <size_t size>
constexpr const Range *findRange(const Range (&ranges)[size], uint32_t code) {
  return std::lower_bound(
      std::begin(ranges), std::end(ranges), code,
      [](const Range &candidate, uint32_t wanted) { return candidate.last < wanted; });
}

template <size_t size>
constexpr bool holds(const Range (&ranges)[size], uint32_t code) {
  const Range *range = findRange(ranges, code);
  return range != std::end(ranges) && range->first <= code;
}

constexpr bool isNameCharacter(uint32_t code) {
  return holds(kNameBeginnings, code) || holds(kOtherNameCharacters, code);
}

// By the first byte of a character, how many bytes the character has if it may begin or continue a
// name; 0 if it may not, or if that depends on the other bytes.
struct NameBytes {
  uint8_t begins[UINT8_MAX + 1] = {};
  uint8_t continues[UINT8_MAX + 1] = {};

  constexpr NameBytes() {
    for (uint32_t code = 0; code < kAsciiCharacters; ++code) {
      begins[code] = holds(kNameBeginnings, code) ? 1 : 0;
      continues[code] = isNameCharacter(code) ? 1 : 0;
    }
    addBlocks(0xC2, 0xE0, 6, 2);
    addBlocks(0xE1, 0xED, 12, 3);  // behind the bytes around them not every byte may follow
    addBlocks(0xEE, 0xF0, 12, 3);
  }

 private:
  // All characters of one first byte are in one range, or the byte tells too little.
  constexpr void addBlocks(uint32_t first, uint32_t end, unsigned bits, uint8_t length) {
    for (uint32_t byte = first; byte < end; ++byte) {
      const uint32_t code = (byte & (0x7FU >> length)) << bits;
      const Range *range = findRange(kNameBeginnings, code);
      const bool isInOne = range != std::end(kNameBeginnings) && range->first <= code &&
                           range->last - code >= (1U << bits) - 1;
      if (isInOne) begins[byte] = continues[byte] = length;
    }
  }
};
constexpr NameBytes kNameBytes;

constexpr bool isTail(char byte) { return (static_cast<uint8_t>(byte) & 0xC0) == 0x80; }

// Whether the rest of a character of two or three bytes follows its first byte.
bool isWhole(const char *character, size_t length) {
  return isTail(character[1]) && (length == 2 || isTail(character[2]));
}

}  // namespace

bool mayBeginName(uint32_t code) { return holds(kNameBeginnings, code); }

bool mayContinueName(uint32_t code) { return isNameCharacter(code); }

const char *findNameEnd(const char *name) {
  const char *next = name;
  const auto belongs = [&](const uint8_t(&lengths)[UINT8_MAX + 1], bool (*isAllowed)(uint32_t)) {
    const size_t known = lengths[static_cast<uint8_t>(*next)];
    if (known == 1 || (known != 0 && isWhole(next, known))) return known;
    if (static_cast<uint8_t>(*next) < kAsciiCharacters) return size_t{0};
    const Character character = characterAt(next);
    return isAllowed(character.code) ? character.length : 0;
  };
  size_t length = belongs(kNameBytes.begins, mayBeginName);
  while (length != 0) {
    next += length;
    length = belongs(kNameBytes.continues, mayContinueName);
  }
  return next;
}

bool isXmlName(const char *name, size_t length) {
  const char *end = name + length;
  for (const char *next = name; next < end;) {
    const Character character = characterAt(next, end);
    const bool belongs = character.length != 0 && (next == name ? mayBeginName(character.code)
                                                                : mayContinueName(character.code));
    if (!belongs) return false;
    next += character.length;
  }
  return length != 0;
}

}  // namespace neb::xml::internal
