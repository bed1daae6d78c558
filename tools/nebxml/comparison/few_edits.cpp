#include "comparison/few_edits.h"

#include <algorithm>
#include <cstdlib>

namespace nebxml {
namespace {

constexpr size_t kMostEdits = 256;

// The greedy search of E. Myers, 1986. Each round allows one edit more. It finds how far into the
// first sequence each diagonal leads: the points where the position in the first sequence, minus
// that in the second one, is a constant.
class Search {
 public:
  Search(Labels first, Labels second)
      : first_(first),
        second_(second),
        mostEdits_(static_cast<ptrdiff_t>(std::min(kMostEdits, first.size() + second.size()))),
        reached_(static_cast<size_t>(2 * mostEdits_ + 3), 0) {}

  std::vector<Run> runs();

 private:
  ptrdiff_t firstLength() const { return static_cast<ptrdiff_t>(first_.size()); }
  ptrdiff_t lastDiagonal() const { return firstLength() - static_cast<ptrdiff_t>(second_.size()); }
  ptrdiff_t &reached(ptrdiff_t diagonal) {
    return reached_[static_cast<size_t>(diagonal + mostEdits_ + 1)];
  }

  void extendRound(ptrdiff_t edits);
  bool beginsWithInsertion(ptrdiff_t edits, ptrdiff_t diagonal);
  ptrdiff_t startOf(ptrdiff_t edits, ptrdiff_t diagonal);
  ptrdiff_t slide(ptrdiff_t position, ptrdiff_t diagonal) const;
  std::vector<Run> traceBack(ptrdiff_t edits);

  Labels first_;
  Labels second_;
  ptrdiff_t mostEdits_;
  std::vector<ptrdiff_t> reached_;
  std::vector<std::vector<ptrdiff_t>> earlierRounds_;
};

std::vector<Run> Search::runs() {
  if (std::abs(lastDiagonal()) > mostEdits_) return {};
  for (ptrdiff_t edits = 0; edits <= mostEdits_; ++edits) {
    earlierRounds_.push_back(reached_);
    extendRound(edits);
    if (reached(lastDiagonal()) >= firstLength()) return traceBack(edits);
  }
  return {};
}

// A round changes every second diagonal, and reads only the others.
void Search::extendRound(ptrdiff_t edits) {
  for (ptrdiff_t diagonal = -edits; diagonal <= edits; diagonal += 2) {
    reached(diagonal) = slide(startOf(edits, diagonal), diagonal);
  }
}

bool Search::beginsWithInsertion(ptrdiff_t edits, ptrdiff_t diagonal) {
  return diagonal == -edits || (diagonal != edits && reached(diagonal - 1) < reached(diagonal + 1));
}

// Where a diagonal is entered by the last edit of a round.
ptrdiff_t Search::startOf(ptrdiff_t edits, ptrdiff_t diagonal) {
  if (edits == 0) return 0;
  return beginsWithInsertion(edits, diagonal) ? reached(diagonal + 1) : reached(diagonal - 1) + 1;
}

// Follows equal labels.
ptrdiff_t Search::slide(ptrdiff_t position, ptrdiff_t diagonal) const {
  auto first = static_cast<size_t>(position);
  auto second = static_cast<size_t>(position - diagonal);
  while (first < first_.size() && second < second_.size() && first_[first] == second_[second]) {
    ++first;
    ++second;
  }
  return static_cast<ptrdiff_t>(first);
}

std::vector<Run> Search::traceBack(ptrdiff_t edits) {
  std::vector<Run> runs;
  ptrdiff_t end = firstLength();
  ptrdiff_t diagonal = lastDiagonal();
  for (; edits >= 0; --edits) {
    reached_ = earlierRounds_[static_cast<size_t>(edits)];
    const ptrdiff_t start = startOf(edits, diagonal);
    if (end > start) {
      runs.push_back({static_cast<size_t>(start), static_cast<size_t>(start - diagonal),
                      static_cast<size_t>(end - start)});
    }
    diagonal += beginsWithInsertion(edits, diagonal) ? 1 : -1;
    end = reached(diagonal);
  }
  return runs;
}

}  // namespace

std::vector<Run> runsOfFewEdits(Labels first, Labels second) {
  return Search(first, second).runs();
}

}  // namespace nebxml
