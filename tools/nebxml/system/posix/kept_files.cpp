#include "system/kept_files.h"

#include "system/system.h"

#if defined(NEBXML_POSIX)

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// Others have calls of these names with other arguments.
#if defined(__linux__) && __has_include(<sys/xattr.h>)
#define NEBXML_HAS_ATTRIBUTES
#include <sys/xattr.h>
#endif

#include "system/open_file.h"

namespace nebxml {
namespace {

constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kAllRights = 07777;
constexpr mode_t kRightsOfOwner = 0700;
constexpr size_t kCopySize = 65536;

bool copyBytes(const OpenFile &from, const OpenFile &to) {
  std::array<char, kCopySize> chunk{};
  while (true) {
    const std::optional<size_t> count = from.read(chunk.data(), chunk.size());
    if (!count || *count == 0) return count.has_value();
    if (!to.write({chunk.data(), *count})) return false;
  }
}

#if defined(NEBXML_HAS_ATTRIBUTES)

constexpr std::string_view kAccessList = "system.posix_acl_access";

// They describe the content for the kernel, which makes them itself.
bool isOfKernel(std::string_view name) {
  constexpr std::array<std::string_view, 3> kNames{"security.capability", "security.ima",
                                                   "security.evm"};
  return std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

bool hasAttribute(int file, const char *name, const std::string &value) {
  std::string present(value.size() + 1, '\0');
  const ssize_t size = ::fgetxattr(file, name, present.data(), present.size());
  return size >= 0 && std::string_view(present.data(), static_cast<size_t>(size)) == value;
}

bool copyAttribute(int from, int to, const char *name) {
  const ssize_t size = ::fgetxattr(from, name, nullptr, 0);
  if (size < 0) return false;
  std::string value(static_cast<size_t>(size), '\0');
  if (::fgetxattr(from, name, value.data(), value.size()) != size) return false;
  return hasAttribute(to, name, value) || ::fsetxattr(to, name, value.data(), value.size(), 0) == 0;
}

// The access control list is one of them. It gives others rights, so it stays with the owner.
bool copyAttributes(int from, int to, bool isOwnerKept) {
  const ssize_t size = ::flistxattr(from, nullptr, 0);
  if (size < 0) return errno == ENOTSUP || errno == ENOSYS;
  std::string names(static_cast<size_t>(size), '\0');
  if (::flistxattr(from, names.data(), names.size()) != size) return false;
  for (size_t begin = 0; begin < names.size(); begin = names.find('\0', begin) + 1) {
    const char *name = names.data() + begin;
    const bool isLeftOut = isOfKernel(name) || (name == kAccessList && !isOwnerKept);
    if (!isLeftOut && !copyAttribute(from, to, name)) return false;
  }
  return true;
}

#else

bool copyAttributes(int /*from*/, int /*to*/, bool /*isOwnerKept*/) { return true; }

#endif

bool copyRights(int from, int to) {
  struct stat old {};
  if (::fstat(from, &old) != 0) return false;
  const bool isOwnerKept = ::fchown(to, old.st_uid, old.st_gid) == 0;
  const std::array<timespec, 2> times{old.st_atim, old.st_mtim};
  return copyAttributes(from, to, isOwnerKept) &&
         ::fchmod(to, old.st_mode & (isOwnerKept ? kAllRights : kRightsOfOwner)) == 0 &&
         ::futimens(to, times.data()) == 0;
}

bool copyFile(const std::string &name, const std::string &copyName) {
  const OpenFile from = OpenFile::toRead(name);
  if (!from.isOpen()) return false;
  OpenFile to(::open(copyName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateMode));
  return to.isOpen() && copyBytes(from, to) && copyRights(from.descriptor(), to.descriptor()) &&
         ::fsync(to.descriptor()) == 0 && to.close();
}

}  // namespace

bool isRegularFile(const std::string &name) {
  struct stat status {};
  return ::stat(name.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool linkOrCopy(const std::string &name, const std::string &newName) {
  return ::linkat(AT_FDCWD, name.c_str(), AT_FDCWD, newName.c_str(), AT_SYMLINK_FOLLOW) == 0 ||
         copyFile(name, newName);
}

bool renameFile(const std::string &name, const std::string &newName) {
  return std::rename(name.c_str(), newName.c_str()) == 0;
}

void removeFile(const std::string &name) { ::unlink(name.c_str()); }

}  // namespace nebxml

#endif
