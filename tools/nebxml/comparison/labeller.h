// Numbers for what siblings of two documents have in common.
#pragma once

#include <cstddef>
#include <map>
#include <string_view>
#include <tuple>
#include <vector>

#include "comparison/forest.h"

namespace nebxml {

// By what elements are paired.
enum class Criterion {
  subtree,   // all that counts
  identity,  // the name, and the value of the attribute id, xml:id, name or key
  name
};

// Gives elements the same label if they agree in a criterion. An element without an identity agrees
// with none.
class Labeller {
 public:
  Labeller(const Forest &forest, Criterion criterion) : forest_(forest), criterion_(criterion) {}

  std::vector<size_t> labelsOf(const std::vector<size_t> &elements);

 private:
  // The prefix, the name, which attribute identifies the element, and its value. Ordered, since a
  // document could choose values that collide in a hash table.
  using Key = std::tuple<std::string_view, std::string_view, size_t, std::string_view>;

  size_t labelOf(size_t element);
  size_t numberOf(const Key &key) { return numbers_.try_emplace(key, next_++).first->second; }

  const Forest &forest_;
  Criterion criterion_;
  std::map<Key, size_t> numbers_;
  size_t next_ = 0;
};

}  // namespace nebxml
