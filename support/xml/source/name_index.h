// The order of names as they are written, with their prefixes.
#pragma once

#include <algorithm>

#include "source/heap_array.h"
#include "tree/whole_names.h"

namespace neb::xml::internal {

inline int compare(const WholeName &a, const WholeName &b) {
  const uint64_t length = std::min(a.length(), b.length());
  for (uint64_t i = 0; i < length; ++i) {
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  }
  return a.length() == b.length() ? 0 : a.length() < b.length() ? -1 : 1;
}

// The attributes of one element by their names, in logarithmic time.
class NameIndex {
 public:
  bool make(size_t most) { return names_.make(most); }
  void add(const WholeName &name, const XmlNode *attribute) { names_.add({name, attribute}); }
  void sort() { std::sort(names_.begin(), names_.end(), isBefore); }

  // Null if there is none. The index has been sorted.
  const XmlNode *find(const WholeName &name) {
    const Entry *found =
        std::lower_bound(names_.begin(), names_.end(), Entry{name, nullptr}, isBefore);
    const bool isFound = found != names_.end() && compare(found->name, name) == 0;
    return isFound ? found->attribute : nullptr;
  }

  // The same.
  bool hasDuplicates() {
    const auto isSame = [](const Entry &a, const Entry &b) { return compare(a.name, b.name) == 0; };
    return std::adjacent_find(names_.begin(), names_.end(), isSame) != names_.end();
  }

 private:
  struct Entry {
    WholeName name;
    const XmlNode *attribute;
  };

  static bool isBefore(const Entry &a, const Entry &b) { return compare(a.name, b.name) < 0; }

  HeapArray<Entry> names_;
};

}  // namespace neb::xml::internal
