#include "xml_parser_attribute_set.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/bounded_memory.h"
#include "xml_dom_attributes.h"

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

bool isAmong(const XmlNode *attributes, const XmlNode *attribute) {
  for (const XmlNode *other = attributes; other != nullptr; other = other->next) {
    if (sameAttribute(other, attribute)) return true;
  }
  return false;
}

// SipHash-1-3, a keyed hash made against texts that aim at collisions.
class SipHash {
 public:
  SipHash(uint64_t key0, uint64_t key1)
      : v0_(key0 ^ 0x736f6d6570736575),
        v1_(key1 ^ 0x646f72616e646f6d),
        v2_(key0 ^ 0x6c7967656e657261),
        v3_(key1 ^ 0x7465646279746573) {}

  // The length comes first, so that no two lists of strings are mixed in as the same words.
  void add(const char *text) {
    const size_t length = std::strlen(text);
    mix(length);
    size_t done = 0;
    for (; length - done >= sizeof(uint64_t); done += sizeof(uint64_t)) {
      uint64_t word = 0;
      std::memcpy(&word, text + done, sizeof word);
      mix(word);
    }
    uint64_t rest = 0;
    std::memcpy(&rest, text + done, length - done);
    mix(rest);
  }

  uint64_t finish() {
    v2_ ^= 0xff;
    round();
    round();
    round();
    return v0_ ^ v1_ ^ v2_ ^ v3_;
  }

 private:
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
};

uint64_t addressOf(const void *place) { return reinterpret_cast<uintptr_t>(place); }

}  // namespace

void AttributeSet::releaseTable() {
  XML_Free(nullptr, table_);
  table_ = nullptr;
  places_ = 0;
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
      for (const XmlNode *other = firstAttribute; other != nullptr; other = other->next) {
        fill(hashOf(other));
      }
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
  if (attribute->prefix != nullptr) hash.add(attribute->prefix);
  hash.add(attribute->name != nullptr ? attribute->name : "");
  return std::max(hash.finish(), kFree + 1);
}
