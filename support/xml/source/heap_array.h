// Arrays on the heap, whose length is known before they are filled.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "memory/sizes.h"
#include "neb_xml.h"

namespace neb::xml::internal {

// Items are not initialised before they are added, and nothing is called when they go.
template <typename Item>
class HeapArray {
 public:
  static_assert(std::is_trivially_copyable_v<Item>);

  HeapArray() = default;
  ~HeapArray() { XML_Free(nullptr, items_); }
  HeapArray(const HeapArray &) = delete;
  HeapArray &operator=(const HeapArray &) = delete;

  // Room for so many items in all; what was added is dropped. False if memory runs out.
  bool make(size_t capacity) {
    size_ = 0;
    if (capacity <= capacity_) return true;
    XML_Free(nullptr, items_);
    capacity_ = 0;
    items_ = static_cast<Item *>(XML_Malloc(nullptr, productOf(capacity, sizeof(Item))));
    if (items_ == nullptr) return false;
    capacity_ = capacity;
    return true;
  }

  Item *add(const Item &item) {
    items_[size_] = item;
    return &items_[size_++];
  }

  Item *begin() { return items_; }
  Item *end() { return items_ + size_; }
  Item &operator[](size_t at) { return items_[at]; }
  size_t size() const { return size_; }

 private:
  Item *items_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

}  // namespace neb::xml::internal
