#include "comparison/unified_diff.h"

#include <algorithm>

namespace nebxml {
namespace {

// Replaces all lines.
void appendLines(std::string &diff, char sign, std::string_view text) {
  while (!text.empty()) {
    const size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
    diff.append(1, sign).append(text.substr(0, length));
    if (diff.back() != '\n') diff += "\n\\ No newline at end of file\n";
    text.remove_prefix(length);
  }
}

std::string rangeOf(std::string_view text) {
  const auto breaks = std::count(text.begin(), text.end(), '\n');
  const auto lines = breaks + (text.empty() || text.back() == '\n' ? 0 : 1);
  return lines == 1 ? "1" : "1," + std::to_string(lines);
}

}  // namespace

std::string unifiedDiff(std::string_view before, std::string_view after,
                        const std::string &beforeName, const std::string &afterName) {
  if (before == after) return "";
  std::string diff = "--- " + beforeName + "\n+++ " + afterName + "\n@@ -" + rangeOf(before) +
                     " +" + rangeOf(after) + " @@\n";
  appendLines(diff, '-', before);
  appendLines(diff, '+', after);
  return diff;
}

}  // namespace nebxml
