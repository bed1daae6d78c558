#include "saving/backup.h"

#include <array>
#include <cerrno>

#include "system/blocked_signals.h"
#include "system/kept_files.h"
#include "system/paths.h"
#include "terminal/command_error.h"

namespace nebxml {
namespace {

constexpr size_t kRandomBytes = 16;

[[noreturn]] void fail(const std::string &name, int errorNumber) {
  throw systemError(name, "cannot keep the old file under this name", errorNumber);
}

// A name in the same folder that nobody can guess.
std::string temporaryName(const std::string &name) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  constexpr unsigned kDigitBits = 4;
  constexpr unsigned kDigitMask = 0xF;
  std::array<unsigned char, kRandomBytes> bytes{};
  if (!fillRandomly(bytes)) fail(name, errno);
  std::string temporary = name.substr(0, name.find_last_of(kFolderMarks) + 1) + ".nebxml-";
  for (const unsigned byte : bytes) {
    temporary += kDigits[byte >> kDigitBits];
    temporary += kDigits[byte & kDigitMask];
  }
  return temporary + ".tmp";
}

}  // namespace

void keepBackup(const std::string &fileName, const std::string &suffix) {
  if (!isRegularFile(fileName)) return;  // replacing it reports what it is
  const BlockedSignals blocked;
  const std::string name = fileName + suffix;
  const std::string temporary = temporaryName(name);
  const bool isKept = linkOrCopy(fileName, temporary) && renameFile(temporary, name);
  const int cause = errno;
  // A link is still there if the older file was a link to the same file.
  removeFile(temporary);
  if (!isKept) fail(name, cause);
}

}  // namespace nebxml
