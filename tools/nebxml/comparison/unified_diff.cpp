#include "comparison/unified_diff.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>
#include <vector>

#include "comparison/alignment.h"

namespace nebxml {
namespace {

constexpr size_t kContext = 3;
constexpr std::string_view kNoLineFeed = "\n\\ No newline at end of file\n";

using Lines = std::span<const std::string_view>;

// Each line with its line feed, which the last one may lack.
std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.push_back(text.substr(0, length));
    text.remove_prefix(length);
  }
  return lines;
}

// A label for each line of both versions. Equal lines have equal labels. Not from a hash table: a
// document could choose lines that collide.
std::vector<size_t> labelsOf(Lines first, Lines second) {
  std::vector<std::pair<std::string_view, size_t>> sorted;
  sorted.reserve(first.size() + second.size());
  for (const Lines lines : {first, second}) {
    for (const std::string_view line : lines) sorted.emplace_back(line, sorted.size());
  }
  std::sort(sorted.begin(), sorted.end());
  std::vector<size_t> labels(sorted.size());
  size_t label = 0;
  std::string_view previous;
  for (const auto &[line, position] : sorted) {
    if (line != previous) ++label;
    labels[position] = label;
    previous = line;
  }
  return labels;
}

// The lines that both versions begin or end with are left out before the others are sorted.
std::vector<Change> changesOf(Lines before, Lines after) {
  const auto begins = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
  const auto head = static_cast<size_t>(begins.first - before.begin());
  const auto ends = std::mismatch(before.rbegin(), std::make_reverse_iterator(begins.first),
                                  after.rbegin(), std::make_reverse_iterator(begins.second));
  const auto tail = static_cast<size_t>(ends.first - before.rbegin());
  const Lines first = before.subspan(head, before.size() - head - tail);
  const Lines second = after.subspan(head, after.size() - head - tail);
  const std::vector<size_t> labels = labelsOf(first, second);
  const std::vector<Run> runs =
      alignedRuns(Labels(labels).first(first.size()), Labels(labels).subspan(first.size()));
  std::vector<Change> changes = changesBetween(runs, first.size(), second.size());
  for (Change &change : changes) {
    for (size_t *line : {&change.first, &change.firstEnd, &change.second, &change.secondEnd}) {
      *line += head;
    }
  }
  return changes;
}

void appendLines(std::string &text, char sign, Lines lines) {
  for (const std::string_view line : lines) {
    text += sign;
    text += line;
    if (line.back() != '\n') text += kNoLineFeed;
  }
}

// Lines are counted from 1. A range without lines is named after the line before it.
std::string rangeOf(size_t begin, size_t end) {
  const size_t length = end - begin;
  const std::string start = std::to_string(length == 0 ? begin : begin + 1);
  return length == 1 ? start : start + ',' + std::to_string(length);
}

// Changes that share lines of context.
void appendHunk(std::string &text, Lines before, Lines after, std::span<const Change> changes) {
  const size_t lead = std::min(kContext, changes.front().first);
  const size_t trail = std::min(kContext, before.size() - changes.back().firstEnd);
  size_t position = changes.front().first - lead;
  text += "@@ -" + rangeOf(position, changes.back().firstEnd + trail) + " +" +
          rangeOf(changes.front().second - lead, changes.back().secondEnd + trail) + " @@\n";
  for (const Change &change : changes) {
    appendLines(text, ' ', before.subspan(position, change.first - position));
    appendLines(text, '-', before.subspan(change.first, change.firstEnd - change.first));
    appendLines(text, '+', after.subspan(change.second, change.secondEnd - change.second));
    position = change.firstEnd;
  }
  appendLines(text, ' ', before.subspan(position, trail));
}

// Octal, as patch reads it.
std::string escaped(char character) {
  constexpr unsigned kOctalBits = 3;
  constexpr unsigned kOctalMask = 7;
  const unsigned code = static_cast<unsigned char>(character);
  std::string escape = "\\";
  for (const unsigned digit : {2U, 1U, 0U}) {
    escape += static_cast<char>('0' + ((code >> (digit * kOctalBits)) & kOctalMask));
  }
  return escape;
}

// patch takes a name with spaces as a whole only if a tab follows it.
std::string headerName(const std::string &name) {
  const auto needsEscape = [](char character) {
    const auto code = static_cast<unsigned char>(character);
    constexpr unsigned char kDelete = 0x7F;
    return code < ' ' || code == kDelete || code == '"' || code == '\\';
  };
  if (std::none_of(name.begin(), name.end(), needsEscape)) {
    return name.find(' ') == std::string::npos ? name : name + '\t';
  }
  std::string quoted = "\"";
  for (const char character : name) {
    quoted += needsEscape(character) ? escaped(character) : std::string(1, character);
  }
  return quoted + '"';
}

}  // namespace

std::string unifiedDiff(std::string_view before, std::string_view after,
                        const std::string &beforeName, const std::string &afterName) {
  if (before == after) return "";
  const std::vector<std::string_view> beforeLines = linesOf(before);
  const std::vector<std::string_view> afterLines = linesOf(after);
  const std::vector<Change> changes = changesOf(beforeLines, afterLines);
  std::string text = "--- " + headerName(beforeName) + "\n+++ " + headerName(afterName) + '\n';
  for (size_t begin = 0, end = 0; begin < changes.size(); begin = end) {
    for (++end; end < changes.size(); ++end) {
      if (changes[end].first - changes[end - 1].firstEnd > 2 * kContext) break;
    }
    appendHunk(text, beforeLines, afterLines, std::span(changes).subspan(begin, end - begin));
  }
  return text;
}

}  // namespace nebxml
