// Refusing repeated attributes in linear time, whatever their number and names.
#pragma once

#include <cstddef>
#include <cstdint>

#include "record/node.h"

namespace neb::xml::internal {

// The attributes of one tag. A few are compared with each other; of more a table holds keyed hashes
// of 64 bits, and names are compared where two hashes are equal: as good as never, unless the names
// are. The key is made of addresses, so that where a system places programs at random no text can
// be written whose names collide.
class AttributeSet {
 public:
  // Forgets the attributes and begins with an element's next tag. Keeps no table.
  void clear() {
    count_ = 0;
    if (table_ != nullptr) releaseTable();
  }

  // From now on attributes are the same where their names are printed the same: "b" with the prefix
  // "a" and "a:b" without one.
  void compareAsPrinted() { separator_ = ':'; }

  // Adds an attribute, if none of those before it has the same prefix and name. It is either in the
  // element's list or about to become its last one.
  // Returns NEB_XML_OK, NEB_XML_ERR_ALREADY_EXISTS or NEB_XML_ERR_NO_MEMORY.
  uint32_t add(const XmlNode *firstAttribute, const XmlNode *attribute);

  // Attributes so far. Up to kComparedAttributes a caller may compare for itself and only count.
  size_t count() const { return count_; }
  void countUnlike(size_t count) { count_ += count; }
  static constexpr size_t kComparedAttributes = 24;

 private:
  void releaseTable();
  bool grow();
  void fill(uint64_t hash);
  bool isAmong(const XmlNode *attributes, const XmlNode *attribute) const;
  uint64_t hashOf(const XmlNode *attribute) const;
  uint32_t addToTable(const XmlNode *firstAttribute, const XmlNode *attribute);

  uint64_t *table_;  // null until there are many; a power of two of places
  size_t places_;
  size_t count_;
  char separator_;  // of prefix and name, as one text; the terminator is in neither of them
};

}  // namespace neb::xml::internal
