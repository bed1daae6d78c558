#include "comparison/labeller.h"

#include <algorithm>
#include <array>

namespace nebxml {
namespace {

constexpr std::array<std::string_view, 4> kIdentifyingNames{"id", "xml:id", "name", "key"};

struct Identity {
  size_t rank = kIdentifyingNames.size();  // in the order of kIdentifyingNames
  std::string_view value;
};

Identity identityOf(const Forest &forest, size_t element) {
  Identity identity;
  for (const Attribute &attribute : forest.attributesOf(element)) {
    const auto end = kIdentifyingNames.begin() + static_cast<ptrdiff_t>(identity.rank);
    const auto found = std::find(kIdentifyingNames.begin(), end, attribute.strings.qualifiedName());
    if (found != end) {
      identity = {static_cast<size_t>(found - kIdentifyingNames.begin()), attribute.strings.value};
    }
  }
  return identity;
}

}  // namespace

std::vector<size_t> Labeller::labelsOf(const std::vector<size_t> &elements) {
  std::vector<size_t> labels;
  labels.reserve(elements.size());
  for (const size_t element : elements) labels.push_back(labelOf(element));
  return labels;
}

size_t Labeller::labelOf(size_t element) {
  if (criterion_ == Criterion::subtree) return forest_[element].subtree;
  const NodeStrings strings = nodeStrings(forest_[element].node);
  if (criterion_ == Criterion::name) return numberOf({strings.prefix, strings.name, 0, {}});
  const Identity identity = identityOf(forest_, element);
  const bool hasIdentity = identity.rank < kIdentifyingNames.size();
  return hasIdentity ? numberOf({strings.prefix, strings.name, identity.rank, identity.value})
                     : next_++;
}

}  // namespace nebxml
