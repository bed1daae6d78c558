#include "saving/file_copy.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef __linux__
#include <sys/xattr.h>
#endif

#include "saving/descriptor.h"
#include "terminal/writing.h"

namespace nebxml {
namespace {

constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kAllRights = 07777;
constexpr mode_t kRightsOfOwner = 0700;
constexpr size_t kCopySize = 65536;

bool copyBytes(int from, int to) {
  std::array<char, kCopySize> chunk{};
  while (true) {
    const ssize_t count = ::read(from, chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count == 0;
    if (!writeWhole(to, {chunk.data(), static_cast<size_t>(count)})) return false;
  }
}

#ifdef __linux__

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

}  // namespace

bool copyFile(const std::string &fileName, const std::string &copyName) {
  const Descriptor from(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC));
  if (from.number() < 0) return false;
  Descriptor to(::open(copyName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateMode));
  return to.number() >= 0 && copyBytes(from.number(), to.number()) &&
         copyRights(from.number(), to.number()) && ::fsync(to.number()) == 0 && to.close();
}

}  // namespace nebxml
