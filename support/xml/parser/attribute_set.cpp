#include "parser/attribute_set.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/bounded_memory.h"
#include "tree/attributes.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kFirstPlaces = 128;
constexpr uint64_t kFree = 0;  // what a place holds that no hash has taken

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

// SipHash-1-3, a keyed hash made against texts that aim at collisions.
class SipHash {
 public:
  SipHash(uint64_t key0, uint64_t key1)
      : v0_(key0 ^ 0x736f6d6570736575),
        v1_(key1 ^ 0x646f72616e646f6d),
        v2_(key0 ^ 0x6c7967656e657261),
        v3_(key1 ^ 0x7465646279746573) {}

  // Whatever is added counts as one text.
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
  char word_[sizeof(uint64_t)];  // begun, not mixed in yet
  size_t length_ = 0;
};

uint64_t addressOf(const void *place) { return reinterpret_cast<uintptr_t>(place); }

}  // namespace

void AttributeSet::releaseTable() {
  XML_Free(nullptr, table_);
  table_ = nullptr;
  places_ = 0;
}

bool AttributeSet::isAmong(const XmlNode *attributes, const XmlNode *attribute) const {
  return separator_ == '\0' ? hasSameBefore(attributes, attribute, sameAttribute)
                            : hasSameBefore(attributes, attribute, samePrintedName);
}

uint32_t AttributeSet::add(const XmlNode *firstAttribute, const XmlNode *attribute) {
  if (count_ >= kComparedAttributes) return addToTable(firstAttribute, attribute);
  if (isAmong(firstAttribute, attribute)) return NEB_XML_ERR_ALREADY_EXISTS;
  ++count_;
  return NEB_XML_OK;
}

uint32_t AttributeSet::addToTable(const XmlNode *firstAttribute, const XmlNode *attribute) {
  if (2 * (count_ + 1) > places_) {
    const bool isFirstTable = table_ == nullptr;
    if (!grow()) return NEB_XML_ERR_NO_MEMORY;
    if (isFirstTable) {
      const XmlNode *other = firstAttribute;
      for (; other != nullptr && other != attribute; other = other->next) fill(hashOf(other));
    }
  }
  const uint64_t hash = hashOf(attribute);
  bool isSeen = false;
  size_t place = hash & (places_ - 1);
  for (; table_[place] != kFree; place = (place + 1) & (places_ - 1)) {
    isSeen = isSeen || table_[place] == hash;
  }
  if (isSeen && isAmong(firstAttribute, attribute)) return NEB_XML_ERR_ALREADY_EXISTS;
  table_[place] = hash;
  ++count_;
  return NEB_XML_OK;
}

bool AttributeSet::grow() {
  const AttributeSet old = *this;
  const size_t places = old.table_ == nullptr ? kFirstPlaces : 2 * old.places_;
  const size_t bytes = places * sizeof(uint64_t);
  auto *table = static_cast<uint64_t *>(XML_Malloc(nullptr, bytes));
  if (table == nullptr) return false;
  platform::memset_s(table, bytes, 0, bytes);
  table_ = table;
  places_ = places;
  if (old.table_ == nullptr) return true;
  for (size_t i = 0; i < old.places_; ++i) {
    if (old.table_[i] != kFree) fill(old.table_[i]);
  }
  XML_Free(nullptr, old.table_);
  return true;
}

void AttributeSet::fill(uint64_t hash) {
  size_t place = hash & (places_ - 1);
  while (table_[place] != kFree) place = (place + 1) & (places_ - 1);
  table_[place] = hash;
}

// Where a process has its stack, heap and code is what a text cannot know. The key must stay the
// same while one table fills, and so does not depend on the table.
uint64_t AttributeSet::hashOf(const XmlNode *attribute) const {
  SipHash hash(addressOf(this), addressOf(reinterpret_cast<const void *>(g_fnXMLMalloc)));
  if (attribute->prefix != nullptr) {
    hash.add(attribute->prefix, std::strlen(attribute->prefix));
    hash.add(&separator_, 1);
  }
  if (attribute->name != nullptr) hash.add(attribute->name, std::strlen(attribute->name));
  return std::max(hash.finish(), kFree + 1);
}

}  // namespace neb::xml::internal
