// Finding duplicate attributes in linear time, whatever their number and names.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "memory/allocator.h"
#include "platform/compiler.h"
#include "record/node.h"

namespace neb::xml::internal {

// For each length of a name, ones for those of its first eight bytes that it has.
inline constexpr size_t kMaskedLengths = 32;
inline constexpr std::array<uint64_t, kMaskedLengths> kNameMasks = [] {
  std::array<uint64_t, kMaskedLengths> masks = {};
  for (size_t length = 1; length < kMaskedLengths; ++length) {
    const size_t bitsBehind = 64 - 8 * std::min<size_t>(length, 8);
    const bool isLittle = std::endian::native == std::endian::little;
    masks[length] = isLittle ? UINT64_MAX >> bitsBehind : UINT64_MAX << bitsBehind;
  }
  return masks;
}();

// The length of a whole name and the first bytes behind its prefix: equal for equal names, and
// seldom for others.
class NameKey {
 public:
  // The prefix has this size with its colon; 0 if there is none, or if it need not be known. At
  // least eight bytes behind it can be read, whatever the length.
  static uint64_t of(const char *name, size_t length, size_t prefixSize) {
    uint64_t bytes = 0;
    std::memcpy(&bytes, name + prefixSize, sizeof bytes);
    return (bytes & kNameMasks[std::min(length - prefixSize, kMaskedLengths - 1)]) ^ length;
  }

  // Of an attribute, as it is stored.
  static uint64_t of(const XmlNode *attribute);

  // One of 64 bits; all bits of the key count.
  static constexpr uint64_t bitOf(uint64_t key) {
    constexpr int kShift = 58;  // leaves six bits
    return uint64_t{1} << (key * 0x9E3779B97F4A7C15 >> kShift);
  }
};

// The attributes of one tag. Up to a limit, the keys of their names distinguish them, and names are
// compared only if two keys are equal. Beyond it, a table holds keyed hashes of 64 bits, and names
// are compared only if two hashes are equal. The hash key is made of addresses. If the system
// randomises them, a writer who does not know the addresses cannot aim at collisions.
class DuplicateDetector {
 public:
  // How names are compared: prefix and name each, or the whole as it is printed, where "b" with the
  // prefix "a" is the same as "a:b" without one.
  enum class Compared { asStored, asPrinted };

  // The table comes from an allocator, which outlives the detector.
  explicit DuplicateDetector(Compared compared = Compared::asStored,
                             const Allocator &allocator = kHooks)
      : compared_(compared), allocator_(allocator) {}
  ~DuplicateDetector() { freeTable(); }
  DuplicateDetector(const DuplicateDetector &) = delete;
  DuplicateDetector &operator=(const DuplicateDetector &) = delete;

  // The attributes so far: small enough to stay in registers while a tag is read.
  struct Seen {
    size_t count = 0;
    uint64_t bits = 0;  // of the keys
  };

  static constexpr size_t kKeyedAttributes = 24;

  // Forgets the attributes; call it before the first attribute of each tag.
  void beginTag() {
    if (table_ != nullptr) freeTable();
  }

  // Adds an attribute if its key alone proves that it is new; otherwise nothing changes.
  bool addIfNew(uint64_t key, Seen *seen) {
    if (seen->count >= kKeyedAttributes) return false;
    keys_[seen->count] = key;
    const uint64_t bit = NameKey::bitOf(key);
    if ((seen->bits & bit) != 0 && isAmongKeys(key, seen->count)) return false;
    seen->bits |= bit;
    ++seen->count;
    return true;
  }

  // Adds an attribute that is in the list of its element, unless one before it has the same name.
  // Returns NEB_XML_OK, NEB_XML_ERR_ALREADY_EXISTS or NEB_XML_ERR_NO_MEMORY.
  uint32_t add(uint64_t key, const XmlNode *firstAttribute, const XmlNode *attribute, Seen *seen);

 private:
  NEB_XML_NOINLINE bool isAmongKeys(uint64_t key, size_t count) const {
    return std::find(keys_, keys_ + count, key) != keys_ + count;
  }

  size_t firstSlotOf(uint64_t hash) const { return static_cast<size_t>(hash) & (slots_ - 1); }
  void freeTable();
  bool grow();
  void fill(uint64_t hash);
  bool isAmong(const XmlNode *attributes, const XmlNode *attribute) const;
  uint64_t hashOf(const XmlNode *attribute) const;
  uint32_t addToTable(const XmlNode *firstAttribute, const XmlNode *attribute, Seen *seen);

  uint64_t keys_[kKeyedAttributes];
  uint64_t *table_ = nullptr;  // null until there are many; a power of two of slots
  size_t slots_ = 0;
  Compared compared_;
  const Allocator &allocator_;
};

}  // namespace neb::xml::internal
