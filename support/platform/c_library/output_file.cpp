#include "platform/output_file.h"

#include "platform/system.h"

#if defined(NEB_XML_C_LIBRARY)

#include <cstdio>

#include "platform/bounded_memory.h"

namespace neb::platform {

WriteOutcome writeWholeFile(const char *path, const char *text, size_t length) {
  if (lengthWithin(path, kLongestOutputPath + 1) > kLongestOutputPath) {
    return WriteOutcome::notOpened;
  }
  std::FILE *file = std::fopen(path, "w+b");
  if (file == nullptr) return WriteOutcome::notOpened;
  std::setvbuf(file, nullptr, _IONBF, 0);
  const size_t items = std::fwrite(text, length, 1, file);
  std::fclose(file);
  return items == 1 ? WriteOutcome::written : WriteOutcome::notWritten;
}

}  // namespace neb::platform

#endif
