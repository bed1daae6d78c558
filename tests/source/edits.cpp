// Makes random edits of files, and compares each with the same edit of the tree. What is edited is
// a copy in memory.
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

#include "support/source_edits.h"

namespace {

// Large files take longer for each edit.
constexpr size_t kBytesForEach = 20'000'000;
constexpr size_t kMostEdits = 400;

std::string contentOf(const char *path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

struct Counts {
  size_t files = 0, unread = 0, bytes = 0, calls = 0, applied = 0, failures = 0;
};

void checkFile(const char *path, Counts *counts) {
  const std::string bytes = contentOf(path);
  std::mt19937 random(static_cast<unsigned>(bytes.size()));
  source_edits::Check check(bytes, [&](size_t count) { return random() % count; });
  if (!check.isReadable()) {
    ++counts->unread;
    return;
  }
  ++counts->files;
  counts->bytes += bytes.size();
  const size_t edits = std::min(kMostEdits, 10 + kBytesForEach / (bytes.size() + 1));
  for (size_t i = 0; i < edits; ++i) {
    const std::string failure = check.edit(i % 2 == 0 ? 1 : 1 + random() % 5);
    ++counts->calls;
    if (failure.empty()) continue;
    ++counts->failures;
    std::printf("%s: %s\n", path, failure.c_str());
    break;
  }
  counts->applied += check.applied();
}

}  // namespace

int main(int count, char **arguments) {
  Counts counts;
  for (int i = 1; i < count; ++i) checkFile(arguments[i], &counts);
  std::printf(
      "%zu files of %zu bytes, %zu calls, of which %zu edited; %zu failures; "
      "%zu files cannot be read strictly\n",
      counts.files, counts.bytes, counts.calls, counts.applied, counts.failures, counts.unread);
  return counts.failures == 0 && counts.files != 0 ? 0 : 1;
}
