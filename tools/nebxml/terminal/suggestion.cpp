#include "terminal/suggestion.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace nebxml {
namespace {

// A name is close if few of its letters are wrong.
constexpr size_t kLettersPerMistake = 3;
constexpr size_t kLongestName = 64;

// How many letters have to be added, removed or replaced. Two that are swapped count once.
size_t distance(const std::string &from, const std::string &to) {
  std::vector<size_t> beforePrevious;
  std::vector<size_t> previous(to.size() + 1);
  std::iota(previous.begin(), previous.end(), size_t{0});
  for (size_t i = 1; i <= from.size(); ++i) {
    std::vector<size_t> row(to.size() + 1, i);
    for (size_t j = 1; j <= to.size(); ++j) {
      const size_t replaced = previous[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      row[j] = std::min({replaced, previous[j] + 1, row[j - 1] + 1});
      const bool isSwapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (isSwapped) row[j] = std::min(row[j], beforePrevious[j - 2] + 1);
    }
    beforePrevious = std::exchange(previous, std::move(row));
  }
  return previous.back();
}

}  // namespace

std::string suggestion(const std::string &typed, const std::vector<std::string> &names) {
  if (typed.empty() || typed.size() > kLongestName) return "";
  const auto closer = [&typed](const std::string &one, const std::string &other) {
    return distance(typed, one) < distance(typed, other);
  };
  const auto closest = std::min_element(names.begin(), names.end(), closer);
  if (closest == names.end()) return "";
  const size_t mistakes = distance(typed, *closest);
  return mistakes <= std::max<size_t>(1, closest->size() / kLettersPerMistake)
             ? ", did you mean '" + *closest + "'?"
             : "";
}

}  // namespace nebxml
