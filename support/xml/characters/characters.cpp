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
constexpr bool holds(const Range (&ranges)[size], uint32_t code) {
  const Range *range = std::lower_bound(
      std::begin(ranges), std::end(ranges), code,
      [](const Range &candidate, uint32_t wanted) { return candidate.last < wanted; });
  return range != std::end(ranges) && range->first <= code;
}

constexpr bool isNameCharacter(uint32_t code) {
  return holds(kNameBeginnings, code) || holds(kOtherNameCharacters, code);
}

struct AsciiNames {
  bool continues[kAsciiCharacters] = {};
  bool begins[kAsciiCharacters] = {};

  constexpr AsciiNames() {
    for (size_t code = 0; code < kAsciiCharacters; ++code) {
      continues[code] = isNameCharacter(static_cast<uint32_t>(code));
      begins[code] = holds(kNameBeginnings, static_cast<uint32_t>(code));
    }
  }
};
constexpr AsciiNames kAsciiNames;

// Of the character that is here in a name, in bytes; 0 if it may not be here. Characters beyond
// ASCII are read by a function.
template <typename Read>
size_t lengthInName(const char *at, bool isFirst, Read read) {
  const auto byte = static_cast<uint8_t>(*at);
  if (byte < kAsciiCharacters) {
    return (isFirst ? kAsciiNames.begins : kAsciiNames.continues)[byte] ? 1 : 0;
  }
  const Character character = read(at);
  return (isFirst ? mayBeginName : mayContinueName)(character.code) ? character.length : 0;
}

}  // namespace

bool mayBeginName(uint32_t code) { return holds(kNameBeginnings, code); }

bool mayContinueName(uint32_t code) { return isNameCharacter(code); }

const char *findNameEnd(const char *name) {
  const auto read = [](const char *from) { return characterAt(from); };
  const char *next = name;
  size_t length = lengthInName(next, true, read);
  while (length != 0) {
    next += length;
    length = lengthInName(next, false, read);
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
