// The tool's unified diffs: patch(1) makes exactly the second version of the first one.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "comparison/unified_diff.h"
#include "platform/system.h"
#include "support/tables.h"
#include "support/trees.h"

namespace {

using nebxml::unifiedDiff;
using tables::repeated;

std::string pathOf(const std::string &name) { return ::testing::TempDir() + name; }

void write(const std::string &name, const std::string &text) {
  std::ofstream(pathOf(name), std::ios::binary) << text;
}

#if defined(NEB_XML_POSIX)
constexpr bool kHasPatch = true;
#else
constexpr bool kHasPatch = false;
#endif

std::string patched(const std::string &before, const std::string &diff, const std::string &name) {
  write(name, before);
  write("diff", diff);
  const std::string command =
      "cd '" + ::testing::TempDir() + "' && patch -s -F0 --no-backup-if-mismatch <diff";
  EXPECT_EQ(std::system(command.c_str()), 0) << diff;  // NOLINT: no input forms the command
  return trees::readFile(pathOf(name));
}

ptrdiff_t changedLines(const std::string &diff) {
  ptrdiff_t count = -2;  // the lines with the names
  for (size_t at = 0; at < diff.size(); at = diff.find('\n', at) + 1) {
    count += diff[at] == '-' || diff[at] == '+' ? 1 : 0;
  }
  return count;
}

// Random versions: of few different lines or of many, with any line end, the last one included.
class Versions {
 public:
  explicit Versions(unsigned seed) : random_(seed), kinds_(below(2) == 0 ? 2 : 1'000'000'000) {}

  bool hasDistinctLines() const { return kinds_ > 2; }
  size_t below(size_t limit) {
    return std::uniform_int_distribution<size_t>(0, limit - 1)(random_);
  }

  std::vector<std::string> lines() {
    std::vector<std::string> lines;
    for (size_t count = below(60); count > 0; --count) lines.push_back(line());
    return lines;
  }

  void edit(std::vector<std::string> &lines) {
    const auto at = lines.begin() + static_cast<ptrdiff_t>(below(lines.size() + 1));
    if (below(2) == 0 || at == lines.end()) {
      lines.insert(at, line());
    } else {
      lines.erase(at);
    }
  }

  std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) text += line;
    return below(3) == 0 && !text.empty() ? text.substr(0, text.size() - 1) : text;
  }

 private:
  std::string line() { return std::to_string(below(kinds_)) + (below(3) == 0 ? "\r\n" : "\n"); }

  std::mt19937 random_;
  size_t kinds_;
};

TEST(UnifiedDiff, IsAppliedByPatch) {
  if (!kHasPatch) GTEST_SKIP() << "the system has no patch(1)";
  const std::string names[] = {"F", "a b", "a\tb\"\\\n\x7F", "\xC3\xA4"};
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    Versions versions(seed);
    std::vector<std::string> lines = versions.lines();
    const std::string before = versions.joined(lines);
    const size_t edits = versions.below(12);
    for (size_t edit = 0; edit < edits; ++edit) versions.edit(lines);
    const std::string after = versions.joined(lines);
    const std::string &name = names[seed % std::size(names)];
    const std::string diff = unifiedDiff(before, after, name, name);
    EXPECT_EQ(diff.empty(), before == after);
    if (diff.empty()) continue;
    EXPECT_EQ(patched(before, diff, name), after) << diff;
    // A last line without a line end may be one more removed line and one more added one.
    const auto most = static_cast<ptrdiff_t>(edits) + 2;
    if (versions.hasDistinctLines() || edits < 2) {
      EXPECT_LE(changedLines(diff), most) << diff;
    }
  }
}

TEST(UnifiedDiff, HasThreeLinesOfContext) {
  const std::string before = "1\n2\n3\n4\n5\n6\n7\n8\n9\n";
  EXPECT_EQ(unifiedDiff(before, "1\n2\n3\n4\n6\n7\n8\n9\n0", "a", "b"),
            "--- a\n+++ b\n@@ -2,8 +2,8 @@\n 2\n 3\n 4\n-5\n 6\n 7\n 8\n 9\n+0\n"
            "\\ No newline at end of file\n");
  EXPECT_EQ(unifiedDiff("x\n" + before, before + "x\n", "a", "b"),
            "--- a\n+++ b\n@@ -1,4 +1,3 @@\n-x\n 1\n 2\n 3\n@@ -8,3 +7,4 @@\n 7\n 8\n 9\n+x\n");
  EXPECT_EQ(unifiedDiff("", "x", "a", "b"),
            "--- a\n+++ b\n@@ -0,0 +1 @@\n+x\n\\ No newline at end of file\n");
}

// In what follows, no line is only in one place, and the few edits are found nevertheless.
TEST(UnifiedDiff, FindsFewEditsAmongManyEqualLines) {
  const std::string many = repeated("a\nb\n", 50'000);
  const std::string before = "a\n" + many + "a\n" + many + "b\nb\n" + many;
  const std::string after = "b\nb\n" + many + many + "a\n" + many + "b\n";
  EXPECT_LE(changedLines(unifiedDiff(before, after, "a", "b")), 10);
  if (!kHasPatch) return;
  // More edits than are searched for.
  const std::string left = repeated("a\na\nb\n", 50'000);
  const std::string right = repeated("b\na\nb\n", 50'000);
  EXPECT_EQ(patched(left, unifiedDiff(left, right, "F", "F"), "F"), right);
}

}  // namespace
