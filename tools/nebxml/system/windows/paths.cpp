#include "system/paths.h"

#if defined(NEBXML_WINDOWS)

#include "system/windows/wide.h"

namespace nebxml {
namespace {

// What a step of a pattern makes of a character.
struct Step {
  bool matches;
  size_t end;  // of the step, in the pattern
};

// The end of the set that begins at a bracket; npos if it is none.
size_t setEnd(std::string_view pattern, size_t begin) {
  size_t at = begin + 1;
  if (at < pattern.size() && (pattern[at] == '!' || pattern[at] == '^')) ++at;
  const size_t first = at;
  for (; at < pattern.size(); ++at) {
    if (pattern[at] == ']' && at > first) return at + 1;
    if (pattern[at] == '\\') ++at;
  }
  return std::string_view::npos;
}

// set  characters and ranges of them
bool holds(std::string_view set, char character) {
  const auto next = [&set] {
    if (set.size() > 1 && set.front() == '\\') set.remove_prefix(1);
    const auto code = static_cast<unsigned char>(set.front());
    set.remove_prefix(1);
    return code;
  };
  const auto code = static_cast<unsigned char>(character);
  while (!set.empty()) {
    const unsigned char first = next();
    unsigned char last = first;
    if (set.size() > 1 && set.front() == '-') {
      set.remove_prefix(1);
      last = next();
    }
    if (first <= code && code <= last) return true;
  }
  return false;
}

Step takeSet(std::string_view pattern, size_t begin, size_t end, char character) {
  std::string_view set = pattern.substr(begin + 1, end - begin - 2);
  const bool isInverse = set.front() == '!' || set.front() == '^';
  if (isInverse) set.remove_prefix(1);
  return {holds(set, character) != isInverse, end};
}

Step takeStep(std::string_view pattern, size_t begin, char character) {
  const bool isEscape = pattern[begin] == '\\' && begin + 1 < pattern.size();
  if (isEscape) return {pattern[begin + 1] == character, begin + 2};
  const size_t end = pattern[begin] == '[' ? setEnd(pattern, begin) : std::string_view::npos;
  if (end != std::string_view::npos) return takeSet(pattern, begin, end, character);
  return {pattern[begin] == '?' || pattern[begin] == character, begin + 1};
}

// Without regard to a leading dot. What a star stands for grows by one after each failure; only the
// last star needs this.
bool matchesWhole(std::string_view name, std::string_view pattern) {
  size_t at = 0;
  size_t step = 0;
  size_t starEnd = std::string_view::npos;
  size_t starred = 0;
  while (at < name.size()) {
    if (step < pattern.size() && pattern[step] == '*') {
      starEnd = ++step;
      starred = at;
      continue;
    }
    const Step taken =
        step < pattern.size() ? takeStep(pattern, step, name[at]) : Step{false, step};
    if (!taken.matches && starEnd == std::string_view::npos) return false;
    step = taken.matches ? taken.end : starEnd;
    at = taken.matches ? at + 1 : ++starred;
  }
  return pattern.find_first_not_of('*', step) == std::string_view::npos;
}

}  // namespace

std::filesystem::path pathOf(const std::string &name) { return wideOf(name); }

std::string nameOf(const std::filesystem::path &path) { return narrowOf(path.generic_wstring()); }

bool matchesPattern(const std::string &name, const std::string &pattern) {
  const bool isHidden = name.starts_with('.');
  const bool namesDot = pattern.starts_with('.') || pattern.starts_with("\\.");
  return (!isHidden || namesDot) && matchesWhole(name, pattern);
}

}  // namespace nebxml

#endif
