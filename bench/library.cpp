#include "library.h"

#include <algorithm>
#include <utility>

namespace bench {
namespace {

std::vector<std::pair<int, Subject>> &ranked() {
  static std::vector<std::pair<int, Subject>> list;
  return list;
}

}  // namespace

Registration::Registration(int rank, std::vector<Subject> subjects) {
  for (Subject &subject : subjects) ranked().emplace_back(rank, std::move(subject));
}

const std::vector<Subject> &subjects() {
  static const std::vector<Subject> sorted = [] {
    std::stable_sort(ranked().begin(), ranked().end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    std::vector<Subject> list;
    for (const auto &[rank, subject] : ranked()) list.push_back(subject);
    return list;
  }();
  return sorted;
}

}  // namespace bench
