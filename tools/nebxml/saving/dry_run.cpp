#include "saving/dry_run.h"

#include "comparison/unified_diff.h"
#include "terminal/buffered_output.h"
#include "terminal/colour.h"
#include "terminal/output.h"
#include "terminal/printable.h"

namespace nebxml {
namespace {

constexpr size_t kHeadLines = 2;

Style styleOf(char sign) {
  switch (sign) {
    case '-':
      return Style::removed;
    case '+':
      return Style::added;
    default:
      return Style::note;
  }
}

std::string shownLine(std::string_view line, bool isHead) {
  const std::string shown =
      reachesTerminal(Stream::output) ? printable(line, "\t") : std::string(line);
  const bool isContext = line.front() == ' ';
  return isContext ? shown
                   : styled(Stream::output, isHead ? Style::strong : styleOf(line.front()), shown);
}

}  // namespace

void showChange(const std::string &fileName, std::string_view before, std::string_view after) {
  const std::string diff = unifiedDiff(before, after, fileName, fileName);
  BufferedOutput output(writeReport);
  size_t count = 0;
  for (size_t begin = 0, end = 0; begin < diff.size(); begin = end + 1) {
    end = diff.find('\n', begin);
    output.text() +=
        shownLine(std::string_view(diff).substr(begin, end - begin), count < kHeadLines) + '\n';
    output.flushIfLarge();
    ++count;
  }
  output.flush();
}

}  // namespace nebxml
