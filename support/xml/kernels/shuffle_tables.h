// The byte sets for machines with a shuffle: a byte is in a set if it is what the shuffle finds.
#pragma once

#include "kernels/byte_sets.h"

namespace neb::xml::internal {

inline constexpr size_t kLowHalves = 16;

// A shuffle looks a byte up by its low half. For each low half, the one byte of a set that ends so;
// else one that ends otherwise.
struct alignas(kLowHalves) ShuffleTable {
  uint8_t bytes[kLowHalves];
  ByteSet found;

  // Of bytes with the same low half the table takes the first.
  explicit constexpr ShuffleTable(const ByteSet &set) : bytes() {
    for (size_t i = 0; i < kLowHalves; ++i) bytes[i] = static_cast<uint8_t>(~i);
    for (size_t byte = kAsciiBytes; byte-- > 0;) {
      if (set.holds(byte)) bytes[byte % kLowHalves] = static_cast<uint8_t>(byte);
    }
    for (size_t i = 0; i < kLowHalves; ++i) {
      if (bytes[i] % kLowHalves == i) found.add(bytes[i]);
    }
  }
};

constexpr bool isWhole(const ShuffleTable &table, const ByteSet &set) {
  return set.without(table.found).isEmpty();
}

inline constexpr ByteSet kOtherNameEndBytes = kNameEndBytes.without(kWhitespaceBytes);
inline constexpr ShuffleTable kWhitespaceTable(kWhitespaceBytes);
inline constexpr ShuffleTable kTextEndTable(kTextEndBytes);
inline constexpr ShuffleTable kValueEndTable(kValueEndBytes);
inline constexpr ShuffleTable kNameEndTable(kOtherNameEndBytes);
inline constexpr ByteSet kMoreNameEndBytes = kOtherNameEndBytes.without(kNameEndTable.found);
inline constexpr ShuffleTable kMoreNameEndTable(kMoreNameEndBytes);
static_assert(isWhole(kWhitespaceTable, kWhitespaceBytes));
static_assert(isWhole(kTextEndTable, kTextEndBytes) && isWhole(kValueEndTable, kValueEndBytes));
static_assert(isWhole(kMoreNameEndTable, kMoreNameEndBytes), "names need a third table");

}  // namespace neb::xml::internal
