#include "comparison/pairing.h"

#include <algorithm>
#include <utility>

#include "comparison/alignment.h"
#include "comparison/labeller.h"

namespace nebxml {
namespace {

// Children without a partner, between neighbours that have one. Positions among their siblings.
struct Gap {
  std::vector<size_t> first;
  std::vector<size_t> second;
};

class Pairing {
 public:
  Pairing(const Forest &forest, const ElementPair &parents)
      : forest_(forest),
        first_(forest.childrenOf(parents.first)),
        second_(forest.childrenOf(parents.second)),
        partners_(first_.size(), kNoElement),
        isPaired_(second_.size(), false) {
    Gap &all = gaps_.emplace_back();
    for (size_t position = 0; position < first_.size(); ++position) all.first.push_back(position);
    for (size_t position = 0; position < second_.size(); ++position) all.second.push_back(position);
  }

  void pairBy(Criterion criterion);
  std::vector<ElementPair> differing() const;

 private:
  void pairInOrder(const Gap &gap, Labels first, Labels second);
  void pairInAnyOrder(Gap &gap, Labels first, Labels second);
  void pair(size_t first, size_t second);

  const Forest &forest_;
  std::vector<size_t> first_;
  std::vector<size_t> second_;
  std::vector<size_t> partners_;  // positions in second_, by those in first_
  std::vector<bool> isPaired_;    // by positions in second_
  std::vector<Gap> gaps_;
};

std::vector<size_t> atPositions(const std::vector<size_t> &elements,
                                const std::vector<size_t> &positions) {
  std::vector<size_t> result;
  result.reserve(positions.size());
  for (const size_t position : positions) result.push_back(elements[position]);
  return result;
}

void Pairing::pairBy(Criterion criterion) {
  Labeller labeller(forest_, criterion);
  for (Gap &gap : std::exchange(gaps_, {})) {
    if (gap.first.empty() || gap.second.empty()) continue;
    const std::vector<size_t> first = labeller.labelsOf(atPositions(first_, gap.first));
    const std::vector<size_t> second = labeller.labelsOf(atPositions(second_, gap.second));
    if (forest_.tolerance().ignoresOrder()) {
      pairInAnyOrder(gap, first, second);
    } else {
      pairInOrder(gap, first, second);
    }
  }
}

void Pairing::pair(size_t first, size_t second) {
  partners_[first] = second;
  isPaired_[second] = true;
}

void Pairing::pairInOrder(const Gap &gap, Labels first, Labels second) {
  const std::vector<Run> runs = alignedRuns(first, second);
  for (const Run &run : runs) {
    for (size_t offset = 0; offset < run.length; ++offset) {
      pair(gap.first[run.first + offset], gap.second[run.second + offset]);
    }
  }
  const auto part = [](const std::vector<size_t> &positions, size_t begin, size_t end) {
    return std::vector<size_t>(positions.begin() + static_cast<ptrdiff_t>(begin),
                               positions.begin() + static_cast<ptrdiff_t>(end));
  };
  for (const Change &change : changesBetween(runs, first.size(), second.size())) {
    gaps_.push_back({part(gap.first, change.first, change.firstEnd),
                     part(gap.second, change.second, change.secondEnd)});
  }
}

// The positions in the order of their labels, and in document order where labels are equal.
std::vector<std::pair<size_t, size_t>> byLabel(Labels labels,
                                               const std::vector<size_t> &positions) {
  std::vector<std::pair<size_t, size_t>> sorted;
  sorted.reserve(positions.size());
  for (size_t index = 0; index < positions.size(); ++index) {
    sorted.emplace_back(labels[index], positions[index]);
  }
  std::sort(sorted.begin(), sorted.end());
  return sorted;
}

void Pairing::pairInAnyOrder(Gap &gap, Labels first, Labels second) {
  const auto others = byLabel(second, gap.second);
  auto other = others.begin();
  for (const auto &[label, position] : byLabel(first, gap.first)) {
    while (other != others.end() && other->first < label) ++other;
    if (other == others.end()) break;
    if (other->first == label) pair(position, (other++)->second);
  }
  std::erase_if(gap.first, [this](size_t at) { return partners_[at] != kNoElement; });
  std::erase_if(gap.second, [this](size_t at) { return isPaired_[at]; });
  gaps_.push_back(std::move(gap));
}

std::vector<ElementPair> Pairing::differing() const {
  std::vector<ElementPair> pairs;
  size_t next = 0;
  const auto addUnpairedUpTo = [&](size_t end) {
    for (; next < end; ++next) {
      if (!isPaired_[next]) pairs.push_back({kNoElement, second_[next]});
    }
  };
  for (size_t position = 0; position < first_.size(); ++position) {
    const size_t partner = partners_[position];
    if (partner == kNoElement) {
      pairs.push_back({first_[position], kNoElement});
      continue;
    }
    addUnpairedUpTo(partner);
    if (forest_[first_[position]].subtree != forest_[second_[partner]].subtree) {
      pairs.push_back({first_[position], second_[partner]});
    }
  }
  addUnpairedUpTo(second_.size());
  return pairs;
}

}  // namespace

std::vector<ElementPair> differingChildren(const Forest &forest, const ElementPair &parents) {
  Pairing pairing(forest, parents);
  for (const Criterion criterion : {Criterion::subtree, Criterion::identity, Criterion::name}) {
    pairing.pairBy(criterion);
  }
  return pairing.differing();
}

}  // namespace nebxml
