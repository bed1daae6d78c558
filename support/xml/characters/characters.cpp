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

// Whether the rest of a character of two or three bytes follows its first byte.
bool isWhole(const char *character, size_t length) {
  return isTail(character[1]) && (length == 2 || isTail(character[2]));
}

uint8_t byteAt(const char *at) { return static_cast<uint8_t>(*at); }

// Of the character that is here in a name, in bytes; 0 if it may not be here. Characters beyond
// ASCII are read by a function.
template <typename Read>
size_t lengthInName(const char *at, bool isFirst, Read read) {
  if (byteAt(at) < kAsciiCharacters) {
    return (isFirst ? kNameBytes.begins : kNameBytes.continues)[byteAt(at)];
  }
  const Character character = read(at);
  return (isFirst ? mayBeginName : mayContinueName)(character.code) ? character.length : 0;
}

}  // namespace

bool mayBeginName(uint32_t code) { return holds(kNameBeginnings, code); }

bool mayContinueName(uint32_t code) { return isNameCharacter(code); }

const char *findNameEnd(const char *name) {
  const auto read = [](const char *from) { return characterAt(from); };
  const auto count = [&](const char *at, bool isFirst) {
    const size_t known = (isFirst ? kNameBytes.begins : kNameBytes.continues)[byteAt(at)];
    return known > 1 && isWhole(at, known) ? known : lengthInName(at, isFirst, read);
  };
  const char *next = name;
  size_t length = count(next, true);
  while (length != 0) {
    next += length;
    length = count(next, false);
  }
  return next;
}

bool isXmlName(const char *name, size_t length) {
  const char *end = name + length;
  const auto read = [end](const char *from) { return characterAt(from, end); };
  for (const char *next = name; next < end;) {
    const size_t count = lengthInName(next, next == name, read);
    if (count == 0) return false;
    next += count;
  }
  return length != 0;
}

}  // namespace neb::xml::internal
