#include "platform/output_file.h"

#include "platform/system.h"

#if defined(NEB_XML_WINDOWS)

#include <cstdio>
#include <cstring>

#include "platform/windows/wide_path.h"

namespace neb::platform {

namespace {

constexpr wchar_t kCreateOrTruncate[] = L"w+b";
constexpr wchar_t kWriteOnly[] = L"wb";

}  // namespace

WriteOutcome writeWholeFile(const char *path, const char *text, size_t length) {
  if (strnlen(path, kLongestOutputPath + 1) > kLongestOutputPath) return WriteOutcome::notOpened;
  WidePath wide;
  if (!makeWide(path, wide)) return WriteOutcome::notOpened;
  // A pipe may be there for writing only.
  std::FILE *file = _wfopen(wide, isDevice(wide) ? kWriteOnly : kCreateOrTruncate);
  if (file == nullptr) return WriteOutcome::notOpened;
  std::setvbuf(file, nullptr, _IONBF, 0);
  const size_t items = std::fwrite(text, length, 1, file);
  std::fclose(file);
  return items == 1 ? WriteOutcome::written : WriteOutcome::notWritten;
}

}  // namespace neb::platform

#endif
