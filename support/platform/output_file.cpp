#include "platform/output_file.h"

#include <climits>
#include <cstdio>
#include <cstdlib>

#include "platform/bounded_memory.h"

namespace platform {

namespace {

using PathArea = char[kLongestOutputPath + 1];

// realpath refuses a file that does not exist yet, and may find a path too long for the area.
bool canonicalise(const char *path, PathArea &area) {
#ifdef PATH_MAX
  char canonical[PATH_MAX];
  if (realpath(path, canonical) == nullptr) return false;
  return strncpy_s(area, sizeof area, canonical, sizeof canonical) == 0;
#else
  (void)path;
  (void)area;
  return false;
#endif
}

}  // namespace

WriteOutcome writeWholeFile(const char *path, const char *text, size_t length) {
  if (strnlen(path, kLongestOutputPath + 1) > kLongestOutputPath) return WriteOutcome::notOpened;
  PathArea area;
  std::FILE *file = std::fopen(canonicalise(path, area) ? area : path, "w+");
  if (file == nullptr) return WriteOutcome::notOpened;
  std::setvbuf(file, nullptr, _IONBF, 0);
  const size_t items = std::fwrite(text, length, 1, file);
  std::fclose(file);
  return items == 1 ? WriteOutcome::written : WriteOutcome::notWritten;
}

}  // namespace platform
