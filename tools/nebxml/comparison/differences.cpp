#include "comparison/differences.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "comparison/pairing.h"
#include "comparison/subtree_numbers.h"

namespace nebxml {
namespace {

// By prefix and name. Not a hash table: a document could choose names that collide.
using Attributes = std::map<std::pair<std::string_view, std::string_view>, Attribute>;

class Comparison {
 public:
  explicit Comparison(const Forest &forest) : forest_(forest) {}

  std::vector<Difference> differences();

 private:
  void compare(const ElementPair &pair);
  void compareAttributes(const ElementPair &pair);
  void compareValues(const ElementPair &pair);
  void add(size_t element, const XmlNode *attribute = nullptr, size_t offset = 0) {
    differences_.push_back({element, attribute, offset});
  }

  const Forest &forest_;
  std::vector<ElementPair> open_;  // still to be compared, the next one last
  std::vector<Difference> differences_;
};

std::vector<Difference> Comparison::differences() {
  open_.push_back({0, forest_.secondRoot()});
  while (!open_.empty()) {
    const ElementPair pair = open_.back();
    open_.pop_back();
    if (pair.second == kNoElement) {
      add(pair.first);
    } else if (pair.first == kNoElement) {
      add(pair.second);
    } else {
      compare(pair);
    }
  }
  return std::move(differences_);
}

void Comparison::compare(const ElementPair &pair) {
  compareAttributes(pair);
  compareValues(pair);
  const std::vector<ElementPair> children = differingChildren(forest_, pair);
  open_.insert(open_.end(), children.rbegin(), children.rend());
}

size_t firstDifference(std::string_view value, std::string_view other) {
  const auto end = std::mismatch(value.begin(), value.end(), other.begin(), other.end());
  return static_cast<size_t>(end.first - value.begin());
}

Attributes byName(const std::vector<Attribute> &attributes) {
  Attributes result;
  for (const Attribute &attribute : attributes) {
    result.emplace(std::pair(attribute.strings.prefix, attribute.strings.name), attribute);
  }
  return result;
}

const Attribute *find(const Attributes &attributes, const Attribute &wanted) {
  const auto found = attributes.find(std::pair(wanted.strings.prefix, wanted.strings.name));
  return found == attributes.end() ? nullptr : &found->second;
}

void Comparison::compareAttributes(const ElementPair &pair) {
  const std::vector<Attribute> first = forest_.attributesOf(pair.first);
  const std::vector<Attribute> second = forest_.attributesOf(pair.second);
  const Attributes firstByName = byName(first);
  const Attributes secondByName = byName(second);
  for (const Attribute &attribute : first) {
    const Attribute *other = find(secondByName, attribute);
    if (other == nullptr) {
      add(pair.first, attribute.node);
    } else if (attribute.strings.value != other->strings.value) {
      const size_t offset = firstDifference(attribute.strings.value, other->strings.value);
      add(pair.first, attribute.node, offset);
      add(pair.second, other->node, offset);
    }
  }
  for (const Attribute &attribute : second) {
    if (find(firstByName, attribute) == nullptr) add(pair.second, attribute.node);
  }
}

// Where only one of the elements has children, the other one may have a value. An empty value is a
// difference only beside another one.
void Comparison::compareValues(const ElementPair &pair) {
  const std::string_view first = forest_.stringsOf(pair.first).value;
  const std::string_view second = forest_.stringsOf(pair.second).value;
  if (first == second) return;
  const size_t offset = firstDifference(first, second);
  if (forest_.isLeaf(pair.first)) add(pair.first, nullptr, offset);
  if (forest_.isLeaf(pair.second)) add(pair.second, nullptr, offset);
}

}  // namespace

std::vector<Difference> differencesOf(Forest &forest) {
  numberSubtrees(forest);
  return Comparison(forest).differences();
}

}  // namespace nebxml
