#include "comparison/subtree_numbers.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <utility>

namespace nebxml {
namespace {

// Everything by which an element differs from others. Its children stand for their subtrees.
struct Content {
  NodeStrings strings;
  std::vector<NodeStrings> attributes;
  std::vector<size_t> children;

  auto operator<=>(const Content &) const = default;
};

struct HashedElement {
  uint64_t hash;
  size_t element;
};

// The children have been numbered before.
Content contentOf(const Forest &forest, size_t element) {
  Content content{forest.stringsOf(element), {}, forest.childrenOf(element)};
  for (const Attribute &attribute : forest.attributesOf(element)) {
    content.attributes.push_back(attribute.strings);
  }
  std::sort(content.attributes.begin(), content.attributes.end());
  for (size_t &child : content.children) child = forest[child].subtree;
  if (forest.tolerance().ignoresOrder()) {
    std::sort(content.children.begin(), content.children.end());
  }
  return content;
}

uint64_t mixed(uint64_t hash, uint64_t next) {
  constexpr uint64_t kOddFactor = 0x9E3779B97F4A7C15;
  constexpr unsigned kHalf = 32;
  const uint64_t product = (hash ^ next) * kOddFactor;
  return product ^ (product >> kHalf);
}

uint64_t mixed(uint64_t hash, const NodeStrings &strings) {
  const std::hash<std::string_view> hashOf;
  return mixed(mixed(mixed(hash, hashOf(strings.prefix)), hashOf(strings.name)),
               hashOf(strings.value));
}

uint64_t hashOf(const Content &content) {
  uint64_t hash = mixed(content.children.size(), content.strings);
  for (const NodeStrings &attribute : content.attributes) hash = mixed(hash, attribute);
  for (const size_t child : content.children) hash = mixed(hash, child);
  return hash;
}

// The elements in ascending height of their subtrees, and where each height ends.
struct Heights {
  std::vector<size_t> elements;
  std::vector<size_t> ends;
};

Heights byHeight(const Forest &forest) {
  std::vector<size_t> heights(forest.size(), 0);
  Heights result{std::vector<size_t>(forest.size()), {}};
  for (size_t element = forest.size(); element-- > 0;) {
    for (const size_t child : forest.childrenOf(element)) {
      heights[element] = std::max(heights[element], heights[child] + 1);
    }
    if (heights[element] >= result.ends.size()) result.ends.resize(heights[element] + 1, 0);
    ++result.ends[heights[element]];
  }
  size_t begin = 0;
  for (size_t &end : result.ends) begin += std::exchange(end, begin);
  for (size_t element = 0; element < forest.size(); ++element) {
    result.elements[result.ends[heights[element]]++] = element;
  }
  return result;
}

// Hashes group the elements only. Within a group the contents decide, in a sorted container, so a
// document whose contents collide costs no more than one without a hash.
size_t numberGroup(Forest &forest, std::span<const HashedElement> group, size_t firstNumber) {
  std::map<Content, size_t> numbers;
  for (const HashedElement &each : group) {
    const size_t next = firstNumber + numbers.size();
    forest.setSubtree(each.element,
                      numbers.try_emplace(contentOf(forest, each.element), next).first->second);
  }
  return firstNumber + numbers.size();
}

size_t numberElements(Forest &forest, std::span<const size_t> elements, size_t firstNumber) {
  std::vector<HashedElement> hashed;
  hashed.reserve(elements.size());
  for (const size_t element : elements) {
    hashed.push_back({hashOf(contentOf(forest, element)), element});
  }
  std::sort(
      hashed.begin(), hashed.end(),
      [](const HashedElement &left, const HashedElement &right) { return left.hash < right.hash; });
  for (size_t begin = 0, end = 0; begin < hashed.size(); begin = end) {
    while (end < hashed.size() && hashed[end].hash == hashed[begin].hash) ++end;
    firstNumber = numberGroup(forest, std::span(hashed).subspan(begin, end - begin), firstNumber);
  }
  return firstNumber;
}

}  // namespace

void numberSubtrees(Forest &forest) {
  const Heights heights = byHeight(forest);
  size_t begin = 0;
  size_t number = 0;
  for (const size_t end : heights.ends) {
    number =
        numberElements(forest, std::span(heights.elements).subspan(begin, end - begin), number);
    begin = end;
  }
}

}  // namespace nebxml
