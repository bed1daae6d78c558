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

// False for the bytes of other characters.
struct AsciiNames {
  bool continues[UINT8_MAX + 1] = {};
  bool begins[UINT8_MAX + 1] = {};

  constexpr AsciiNames() {
    for (size_t code = 0; code < kAsciiCharacters; ++code) {
      continues[code] = isNameCharacter(static_cast<uint32_t>(code));
      begins[code] = holds(kNameBeginnings, static_cast<uint32_t>(code));
    }
  }
};
constexpr AsciiNames kAsciiNames;

}  // namespace

bool mayBeginName(uint32_t code) { return holds(kNameBeginnings, code); }

bool mayContinueName(uint32_t code) { return isNameCharacter(code); }

const char *findNameEnd(const char *name) {
  const char *next = name;
  const auto belongs = [&](const bool(&bytes)[UINT8_MAX + 1], bool (*isAllowed)(uint32_t)) {
    if (bytes[static_cast<uint8_t>(*next)]) return size_t{1};
    if (static_cast<uint8_t>(*next) < kAsciiCharacters) return size_t{0};
    const Character character = characterAt(next);
    return isAllowed(character.code) ? character.length : 0;
  };
  size_t length = belongs(kAsciiNames.begins, mayBeginName);
  while (length != 0) {
    next += length;
    length = belongs(kAsciiNames.continues, mayContinueName);
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
