#include "platform/output_file.h"

#include "platform/system.h"

#if defined(NEB_XML_POSIX)

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "platform/bounded_memory.h"
#include "platform/posix/canonical_path.h"

namespace neb::platform {

namespace {

constexpr char kCreateOrTruncate[] = "w+";
constexpr char kWriteOnly[] = "w";

using PathArea = char[kLongestOutputPath + 1];

// Not every path has a canonical form that fits: a file that does not exist yet has none.
bool canonicaliseInto(const char *path, PathArea &area) {
  Path canonical;
  return canonicalise(path, canonical) &&
         strncpy_s(area, sizeof area, canonical, sizeof canonical) == 0;
}

bool isFifo(const char *path) {
  struct stat status = {};
  return stat(path, &status) == 0 && S_ISFIFO(status.st_mode);
}

// Between the check and the opening another file may have replaced the FIFO.
bool isFifoThatWaits(int file) {
  struct stat status = {};
  if (fstat(file, &status) != 0 || !S_ISFIFO(status.st_mode)) return false;
  const int flags = fcntl(file, F_GETFL);
  return flags >= 0 && fcntl(file, F_SETFL, flags & ~O_NONBLOCK) == 0;
}

// The mode of other files also reads: a FIFO would then have a reader, this process, that never
// reads. Only an opening that does not wait finds that there is none.
std::FILE *openFifo(const char *path) {
  const int file = open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return nullptr;
  std::FILE *stream = isFifoThatWaits(file) ? fdopen(file, kWriteOnly) : nullptr;
  if (stream == nullptr) close(file);
  return stream;
}

std::FILE *openOutput(const char *path) {
  return isFifo(path) ? openFifo(path) : std::fopen(path, kCreateOrTruncate);
}

}  // namespace

WriteOutcome writeWholeFile(const char *path, const char *text, size_t length) {
  if (strnlen(path, kLongestOutputPath + 1) > kLongestOutputPath) return WriteOutcome::notOpened;
  PathArea area;
  std::FILE *file = openOutput(canonicaliseInto(path, area) ? area : path);
  if (file == nullptr) return WriteOutcome::notOpened;
  std::setvbuf(file, nullptr, _IONBF, 0);
  const size_t items = std::fwrite(text, length, 1, file);
  std::fclose(file);
  return items == 1 ? WriteOutcome::written : WriteOutcome::notWritten;
}

}  // namespace neb::platform

#endif
