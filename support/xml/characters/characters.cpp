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

template <size_t size>
bool holds(const Range (&ranges)[size], uint32_t code) {
  const Range *range = std::lower_bound(
      std::begin(ranges), std::end(ranges), code,
      [](const Range &candidate, uint32_t wanted) { return candidate.last < wanted; });
  return range != std::end(ranges) && range->first <= code;
}

}  // namespace

bool mayBeginName(uint32_t code) { return holds(kNameBeginnings, code); }

bool mayContinueName(uint32_t code) {
  return holds(kNameBeginnings, code) || holds(kOtherNameCharacters, code);
}

const char *findNameEnd(const char *name, const char *end) {
  const char *next = name;
  while (next < end) {
    const Character character = characterAt(next, end);
    if (character.length == 0) return next;
    const bool belongs =
        next == name ? mayBeginName(character.code) : mayContinueName(character.code);
    if (!belongs) return next;
    next += character.length;
  }
  return next;
}

bool isXmlName(const char *name, size_t length) {
  return length != 0 && findNameEnd(name, name + length) == name + length;
}

}  // namespace neb::xml::internal
