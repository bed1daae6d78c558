#include "saving/backup.h"

#include <array>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "saving/blocked_signals.h"
#include "saving/file_copy.h"
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
  if (::getentropy(bytes.data(), bytes.size()) != 0) fail(name, errno);
  std::string temporary = name.substr(0, name.rfind('/') + 1) + ".nebxml-";
  for (const unsigned byte : bytes) {
    temporary += kDigits[byte >> kDigitBits];
    temporary += kDigits[byte & kDigitMask];
  }
  return temporary + ".tmp";
}

bool linkOrCopy(const std::string &fileName, const std::string &name) {
  return ::linkat(AT_FDCWD, fileName.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0 ||
         copyFile(fileName, name);
}

bool isRegular(const std::string &fileName) {
  struct stat status {};
  return ::stat(fileName.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

void keepBackup(const std::string &fileName, const std::string &suffix) {
  if (!isRegular(fileName)) return;  // replacing it reports what it is
  const BlockedSignals blocked;
  const std::string name = fileName + suffix;
  const std::string temporary = temporaryName(name);
  const bool isKept =
      linkOrCopy(fileName, temporary) && std::rename(temporary.c_str(), name.c_str()) == 0;
  const int cause = errno;
  // A link is still there if the older file was a link to the same file.
  ::unlink(temporary.c_str());
  if (!isKept) fail(name, cause);
}

}  // namespace nebxml
