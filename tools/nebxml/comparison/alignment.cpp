#include "comparison/alignment.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "comparison/few_edits.h"

namespace nebxml {
namespace {

// Each level sorts all labels that remain, so the number of levels bounds the cost.
constexpr size_t kMostLevels = 8;
constexpr size_t kNone = static_cast<size_t>(-1);

// A part of each sequence that is still to be aligned.
struct Window {
  size_t first;
  size_t firstEnd;
  size_t second;
  size_t secondEnd;
  size_t level;
};

struct Occurrence {
  size_t label;
  bool isSecond;
  size_t position;

  auto operator<=>(const Occurrence &) const = default;
};

// Two positions with equal labels.
struct Anchor {
  size_t first;
  size_t second;
};

template <typename Pair>
bool isEarlier(const Pair &left, const Pair &right) {
  return left.first < right.first;
}

// The longest sequence of anchors that ascends on both sides. They are sorted by the first side.
std::vector<Anchor> ascending(const std::vector<Anchor> &anchors) {
  std::vector<size_t> ends;  // of the best sequence of each length
  std::vector<size_t> previous(anchors.size(), kNone);
  for (size_t index = 0; index < anchors.size(); ++index) {
    const auto end = std::partition_point(ends.begin(), ends.end(), [&](size_t other) {
      return anchors[other].second < anchors[index].second;
    });
    if (end != ends.begin()) previous[index] = *std::prev(end);
    if (end == ends.end()) {
      ends.push_back(index);
    } else {
      *end = index;
    }
  }
  std::vector<Anchor> longest;
  for (size_t index = ends.empty() ? kNone : ends.back(); index != kNone; index = previous[index]) {
    longest.push_back(anchors[index]);
  }
  std::reverse(longest.begin(), longest.end());
  return longest;
}

// The labels that both sequences have at the same position.
std::vector<Run> runsInPlace(Labels first, Labels second) {
  std::vector<Run> runs;
  const size_t length = std::min(first.size(), second.size());
  for (size_t begin = 0, end = 0; begin < length; begin = end + 1) {
    end = begin;
    while (end < length && first[end] == second[end]) ++end;
    if (end > begin) runs.push_back({begin, begin, end - begin});
  }
  return runs;
}

size_t totalLength(const std::vector<Run> &runs) {
  size_t length = 0;
  for (const Run &run : runs) length += run.length;
  return length;
}

class Aligner {
 public:
  Aligner(Labels first, Labels second)
      : first_(first), second_(second), windows_{{0, first.size(), 0, second.size(), 0}} {}

  std::vector<Run> runs();

 private:
  void align(Window window);
  void trim(Window &window);
  std::vector<Occurrence> occurrences(const Window &window) const;
  void split(const Window &window, const std::vector<Anchor> &anchors);
  void alignRepeated(const Window &window);
  void addRun(size_t first, size_t second, size_t length);

  Labels first_;
  Labels second_;
  std::vector<Window> windows_;
  std::vector<Run> runs_;
};

std::vector<Run> Aligner::runs() {
  while (!windows_.empty()) {
    const Window window = windows_.back();
    windows_.pop_back();
    align(window);
  }
  std::sort(runs_.begin(), runs_.end(), isEarlier<Run>);
  return std::move(runs_);
}

void Aligner::addRun(size_t first, size_t second, size_t length) {
  if (length > 0) runs_.push_back({first, second, length});
}

void Aligner::align(Window window) {
  trim(window);
  const std::vector<Occurrence> all = occurrences(window);
  bool isAnythingCommon = false;
  std::vector<Anchor> anchors;  // labels that each part has once
  for (size_t begin = 0, end = 0; begin < all.size(); begin = end) {
    while (end < all.size() && all[end].label == all[begin].label) ++end;
    const bool isCommon = !all[begin].isSecond && all[end - 1].isSecond;
    if (isCommon && end - begin == 2) {
      anchors.push_back({all[begin].position, all[end - 1].position});
    }
    isAnythingCommon = isAnythingCommon || isCommon;
  }
  if (!isAnythingCommon) return;
  if (anchors.empty() || window.level == kMostLevels) return alignRepeated(window);
  std::sort(anchors.begin(), anchors.end(), isEarlier<Anchor>);
  split(window, ascending(anchors));
}

// Aligns what both parts begin with, then what both end with.
void Aligner::trim(Window &window) {
  const Window whole = window;
  while (window.first < window.firstEnd && window.second < window.secondEnd &&
         first_[window.first] == second_[window.second]) {
    ++window.first;
    ++window.second;
  }
  addRun(whole.first, whole.second, window.first - whole.first);
  while (window.first < window.firstEnd && window.second < window.secondEnd &&
         first_[window.firstEnd - 1] == second_[window.secondEnd - 1]) {
    --window.firstEnd;
    --window.secondEnd;
  }
  addRun(window.firstEnd, window.secondEnd, whole.firstEnd - window.firstEnd);
}

// Sorted by label, those of the first part before those of the second. None if a part is empty.
std::vector<Occurrence> Aligner::occurrences(const Window &window) const {
  std::vector<Occurrence> all;
  if (window.first == window.firstEnd || window.second == window.secondEnd) return all;
  all.reserve(window.firstEnd - window.first + window.secondEnd - window.second);
  for (size_t at = window.first; at < window.firstEnd; ++at) all.push_back({first_[at], false, at});
  for (size_t at = window.second; at < window.secondEnd; ++at) {
    all.push_back({second_[at], true, at});
  }
  std::sort(all.begin(), all.end());
  return all;
}

// Between anchors, further labels may occur once only.
void Aligner::split(const Window &window, const std::vector<Anchor> &anchors) {
  Window rest = window;
  ++rest.level;
  for (const Anchor &anchor : anchors) {
    windows_.push_back({rest.first, anchor.first, rest.second, anchor.second, rest.level});
    addRun(anchor.first, anchor.second, 1);
    rest.first = anchor.first + 1;
    rest.second = anchor.second + 1;
  }
  windows_.push_back(rest);
}

// Of two alignments with as many edits, the one in place shows what has been changed.
void Aligner::alignRepeated(const Window &window) {
  const Labels first = first_.subspan(window.first, window.firstEnd - window.first);
  const Labels second = second_.subspan(window.second, window.secondEnd - window.second);
  const std::vector<Run> inPlace = runsInPlace(first, second);
  const std::vector<Run> fewEdits = runsOfFewEdits(first, second);
  const bool isInPlace = totalLength(inPlace) >= totalLength(fewEdits);
  for (const Run &run : isInPlace ? inPlace : fewEdits) {
    addRun(window.first + run.first, window.second + run.second, run.length);
  }
}

}  // namespace

std::vector<Run> alignedRuns(Labels first, Labels second) { return Aligner(first, second).runs(); }

std::vector<Change> changesBetween(const std::vector<Run> &runs, size_t firstLength,
                                   size_t secondLength) {
  std::vector<Change> changes;
  size_t first = 0;
  size_t second = 0;
  const auto addUpTo = [&](size_t firstEnd, size_t secondEnd) {
    if (first == firstEnd && second == secondEnd) return;
    changes.push_back({first, firstEnd, second, secondEnd});
  };
  for (const Run &run : runs) {
    addUpTo(run.first, run.second);
    first = run.first + run.length;
    second = run.second + run.length;
  }
  addUpTo(firstLength, secondLength);
  return changes;
}

}  // namespace nebxml
