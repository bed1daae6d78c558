#include "tree/duplicates.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "platform/bounded_memory.h"
#include "record/node_strings.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kFirstSlots = 128;
constexpr uint64_t kFree = 0;  // what a slot holds that no hash has taken

bool sameString(const char *a, const char *b) {
  if (a == nullptr || b == nullptr) return a == b;
  return *a == *b && std::strcmp(a, b) == 0;
}

bool sameAttribute(const XmlNode *a, const XmlNode *b) {
  return sameString(a->name, b->name) && sameString(a->prefix, b->prefix);
}

// The bytes of a name, one after the other, as it is printed.
class PrintedName {
 public:
  explicit PrintedName(const XmlNode *attribute)
      : text_(attribute->prefix != nullptr ? attribute->prefix : attribute->name),
        name_(attribute->prefix != nullptr ? attribute->name : nullptr) {}

  // The terminator, behind the last.
  char next() {
    if (*text_ != '\0' || name_ == nullptr) return *text_++;
    text_ = name_;
    name_ = nullptr;
    return ':';
  }

 private:
  const char *text_;
  const char *name_;  // null once it has begun
};

bool samePrintedName(const XmlNode *a, const XmlNode *b) {
  PrintedName nameOfA(a);
  PrintedName nameOfB(b);
  for (;;) {
    const char byte = nameOfA.next();
    if (byte != nameOfB.next()) return false;
    if (byte == '\0') return true;
  }
}

template <typename Same>
bool hasSameBefore(const XmlNode *attributes, const XmlNode *attribute, Same same) {
  const XmlNode *other = attributes;
  while (other != nullptr && other != attribute && !same(other, attribute)) other = other->next;
  return other != nullptr && other != attribute;
}

// SipHash-1-3, a keyed hash made against documents that aim at collisions.
class SipHash {
 public:
  SipHash(uint64_t key0, uint64_t key1)
      : v0_(key0 ^ 0x736f6d6570736575),
        v1_(key1 ^ 0x646f72616e646f6d),
        v2_(key0 ^ 0x6c7967656e657261),
        v3_(key1 ^ 0x7465646279746573) {}

  // All bytes that are added form one input.
  void add(const char *text, size_t length) {
    const size_t held = length_ % sizeof word_;
    length_ += length;
    if (length < sizeof word_ - held) {
      std::memcpy(word_ + held, text, length);
      return;
    }
    size_t done = sizeof word_ - held;
    std::memcpy(word_ + held, text, done);
    mix(word());
    for (; length - done >= sizeof word_; done += sizeof word_) {
      std::memcpy(word_, text + done, sizeof word_);
      mix(word());
    }
    std::memcpy(word_, text + done, length - done);
  }

  void add(char byte) {
    word_[length_++ % sizeof word_] = byte;
    if (length_ % sizeof word_ == 0) mix(word());
  }

  uint64_t finish() {
    const size_t held = length_ % sizeof word_;
    std::memset(word_ + held, 0, sizeof word_ - held);
    mix(word());
    mix(length_);
    v2_ ^= 0xff;
    round();
    round();
    round();
    return v0_ ^ v1_ ^ v2_ ^ v3_;
  }

 private:
  uint64_t word() const {
    uint64_t word = 0;
    std::memcpy(&word, word_, sizeof word);
    return word;
  }

  void mix(uint64_t word) {
    v3_ ^= word;
    round();
    v0_ ^= word;
  }

  void round() {
    v0_ += v1_;
    v1_ = std::rotl(v1_, 13) ^ v0_;
    v0_ = std::rotl(v0_, 32);
    v2_ += v3_;
    v3_ = std::rotl(v3_, 16) ^ v2_;
    v0_ += v3_;
    v3_ = std::rotl(v3_, 21) ^ v0_;
    v2_ += v1_;
    v1_ = std::rotl(v1_, 17) ^ v2_;
    v2_ = std::rotl(v2_, 32);
  }

  uint64_t v0_, v1_, v2_, v3_;
  char word_[sizeof(uint64_t)];  // incomplete, not mixed in yet
  size_t length_ = 0;
};

uint64_t addressOf(const void *object) { return reinterpret_cast<uintptr_t>(object); }

}  // namespace

uint64_t NameKey::of(const XmlNode *attribute) {
  if (attribute->name == nullptr) return 0;
  const size_t length = nameLengthOf(attribute);
  const size_t prefixSize = attribute->prefix != nullptr ? std::strlen(attribute->prefix) + 1 : 0;
  uint64_t bytes = 0;
  std::memcpy(&bytes, attribute->name, std::min(length, sizeof bytes));
  return bytes ^ (prefixSize + length);
}

void DuplicateDetector::freeTable() {
  allocator_.release(table_, slots_ * sizeof(uint64_t));
  table_ = nullptr;
  slots_ = 0;
}

bool DuplicateDetector::isAmong(const XmlNode *attributes, const XmlNode *attribute) const {
  return compared_ == Compared::asStored ? hasSameBefore(attributes, attribute, sameAttribute)
                                         : hasSameBefore(attributes, attribute, samePrintedName);
}

uint32_t DuplicateDetector::add(uint64_t key, const XmlNode *firstAttribute,
                                const XmlNode *attribute, Seen *seen) {
  if (addIfNew(key, seen)) return NEB_XML_OK;
  if (seen->count >= kKeyedAttributes) return addToTable(firstAttribute, attribute, seen);
  if (isAmong(firstAttribute, attribute)) return NEB_XML_ERR_ALREADY_EXISTS;
  ++seen->count;
  return NEB_XML_OK;
}

uint32_t DuplicateDetector::addToTable(const XmlNode *firstAttribute, const XmlNode *attribute,
                                       Seen *seen) {
  if (2 * (seen->count + 1) > slots_) {
    const bool isFirstTable = table_ == nullptr;
    if (!grow()) return NEB_XML_ERR_NO_MEMORY;
    if (isFirstTable) {
      const XmlNode *other = firstAttribute;
      for (; other != nullptr && other != attribute; other = other->next) fill(hashOf(other));
    }
  }
  const uint64_t hash = hashOf(attribute);
  bool isSeen = false;
  size_t slot = firstSlotOf(hash);
  for (; table_[slot] != kFree; slot = (slot + 1) & (slots_ - 1)) {
    isSeen = isSeen || table_[slot] == hash;
  }
  if (isSeen && isAmong(firstAttribute, attribute)) return NEB_XML_ERR_ALREADY_EXISTS;
  table_[slot] = hash;
  ++seen->count;
  return NEB_XML_OK;
}

bool DuplicateDetector::grow() {
  const size_t slots = table_ == nullptr ? kFirstSlots : productOf(2, slots_);
  const size_t bytes = productOf(slots, sizeof(uint64_t));
  auto *table = static_cast<uint64_t *>(allocator_.allocate(bytes));
  if (table == nullptr) return false;
  platform::memset_s(table, bytes, 0, bytes);
  uint64_t *old = std::exchange(table_, table);
  const size_t oldSlots = std::exchange(slots_, slots);
  for (size_t i = 0; i < oldSlots; ++i) {
    if (old[i] != kFree) fill(old[i]);
  }
  allocator_.release(old, oldSlots * sizeof(uint64_t));
  return true;
}

void DuplicateDetector::fill(uint64_t hash) {
  size_t slot = firstSlotOf(hash);
  while (table_[slot] != kFree) slot = (slot + 1) & (slots_ - 1);
  table_[slot] = hash;
}

// A document cannot know the addresses of the stack, the heap and the code. The key must not change
// while one table fills, so it does not depend on the table.
uint64_t DuplicateDetector::hashOf(const XmlNode *attribute) const {
  SipHash hash(addressOf(this), addressOf(reinterpret_cast<const void *>(g_fnXMLMalloc)));
  if (attribute->prefix != nullptr) {
    hash.add(attribute->prefix, std::strlen(attribute->prefix));
    hash.add(compared_ == Compared::asPrinted ? ':' : '\0');
  }
  if (attribute->name != nullptr) hash.add(attribute->name, std::strlen(attribute->name));
  return std::max(hash.finish(), kFree + 1);
}

}  // namespace neb::xml::internal
