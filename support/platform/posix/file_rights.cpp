#include "platform/posix/file_rights.h"

#include "platform/system.h"

#if defined(NEB_XML_POSIX)

#include <unistd.h>

#ifdef __linux__
#include <sys/xattr.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "neb_xml.h"

namespace neb::platform {

namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr mode_t kPlainPermissionBits = 0777;
constexpr mode_t kGroupBits = 0070;
constexpr mode_t kOtherBits = 0007;
constexpr unsigned kGroupShift = 3;
constexpr uid_t kSameOwner = static_cast<uid_t>(-1);

enum class Purpose { change, compare };

// The rights that the owning group and all others are left with when the group is another.
mode_t commonRights(mode_t mode) { return (mode >> kGroupShift) & mode & kOtherBits; }

#ifdef __linux__

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr char kSystemNamespace[] = "system.";
constexpr const char *kOfOldContent[] = {"security.capability", "security.ima", "security.evm"};

// The form in which the kernel hands out an access control list, its numbers little-endian: a
// version of four bytes, then entries of a tag and rights of two bytes each and an id of four.
constexpr unsigned char kListVersion[] = {2, 0, 0, 0};
constexpr size_t kEntrySize = 8;
constexpr size_t kRightsOffset = 2;  // in an entry

enum ListTag : unsigned char {
  kOwningGroup = 0x04,
  kNamedGroup = 0x08,
  kMask = 0x10,
  kOther = 0x20
};

class HookMemory {
 public:
  explicit HookMemory(size_t size) : bytes_(static_cast<char *>(g_fnXMLMalloc(size))) {}
  ~HookMemory() {
    if (bytes_ != nullptr) g_fnXMLFree(bytes_);
  }
  HookMemory(const HookMemory &) = delete;
  HookMemory &operator=(const HookMemory &) = delete;
  char *bytes() const { return bytes_; }

 private:
  char *bytes_;
};

bool isUnsupported(int error) { return error == ENOTSUP || error == EOPNOTSUPP || error == ENOSYS; }

Transfer afterFailedRead() {
  const bool isGone = errno == ENODATA || errno == ERANGE || errno == ENOENT;
  return isGone ? Transfer::changed : Transfer::refused;
}

bool isAccessList(const char *name) { return std::strcmp(name, kAccessList) == 0; }

bool isOfOldContent(const char *name) {
  return std::any_of(std::begin(kOfOldContent), std::end(kOfOldContent),
                     [name](const char *own) { return std::strcmp(name, own) == 0; });
}

// Lists of other kinds, which only their file systems understand.
bool isForeignList(const char *name) {
  return std::strncmp(name, kSystemNamespace, sizeof kSystemNamespace - 1) == 0 &&
         !isAccessList(name);
}

// Leaves the owning group and all others what every group and all others had: members of the old
// group are now among the others, and members of any may be in the new one. False for a list of
// another form.
bool narrowList(unsigned char *list, size_t size, mode_t *common) {
  const size_t header = sizeof kListVersion;
  if (size < header || std::memcmp(list, kListVersion, header) != 0) return false;
  if ((size - header) % kEntrySize != 0) return false;
  unsigned char rights = kOtherBits;
  constexpr unsigned char kOfGroups = kOwningGroup | kNamedGroup | kMask | kOther;
  for (size_t at = header; at < size; at += kEntrySize) {
    if ((list[at] & kOfGroups) != 0) rights &= list[at + kRightsOffset];
  }
  for (size_t at = header; at < size; at += kEntrySize) {
    if ((list[at] & (kOwningGroup | kOther)) != 0) list[at + kRightsOffset] = rights;
  }
  *common = rights;
  return true;
}

// The attributes of an old file, on their way to a new one. The access control list goes last, so
// that the new file stays private until then.
class Attributes {
 public:
  Attributes(int file, const char *oldPath, bool isGroupKept, Purpose purpose)
      : file_(file), oldPath_(oldPath), isGroupKept_(isGroupKept), purpose_(purpose) {}

  Transfer transfer() {
    const ssize_t size = llistxattr(oldPath_, nullptr, 0);
    if (size < 0 && !isUnsupported(errno)) return afterFailedRead();
    if (size <= 0) return dropList();
    const HookMemory names(static_cast<size_t>(size) + 1);
    if (names.bytes() == nullptr) return Transfer::noMemory;
    const ssize_t length = llistxattr(oldPath_, names.bytes(), static_cast<size_t>(size));
    if (length < 0) return afterFailedRead();
    names.bytes()[length] = '\0';
    return transferNamed(names.bytes(), names.bytes() + length);
  }

  bool hasList() const { return hasList_; }
  mode_t commonRights() const { return common_; }  // when the group is lost and there is a list

 private:
  template <typename Visit>
  static Transfer forEach(const char *names, const char *end, Visit visit) {
    for (const char *name = names; name < end; name += std::strlen(name) + 1) {
      if (isOfOldContent(name)) continue;
      const Transfer transfer = visit(name);
      if (transfer != Transfer::done) return transfer;
    }
    return Transfer::done;
  }

  Transfer transferNamed(const char *names, const char *end) {
    const Transfer measured =
        forEach(names, end, [this](const char *name) { return measure(name); });
    if (measured != Transfer::done) return measured;
    const HookMemory memory(2 * capacity_);
    if (memory.bytes() == nullptr) return Transfer::noMemory;
    value_ = memory.bytes();
    const Transfer transferred = forEach(names, end, [this](const char *name) {
      return isAccessList(name) ? Transfer::done : transferOne(name);
    });
    if (transferred != Transfer::done) return transferred;
    return hasList_ ? transferOne(kAccessList) : dropList();
  }

  Transfer measure(const char *name) {
    const ssize_t size = lgetxattr(oldPath_, name, nullptr, 0);
    if (size < 0) return afterFailedRead();
    capacity_ = std::max(capacity_, static_cast<size_t>(size));
    hasList_ |= isAccessList(name);
    return !isGroupKept_ && isForeignList(name) ? Transfer::refused : Transfer::done;
  }

  Transfer transferOne(const char *name) {
    const ssize_t got = lgetxattr(oldPath_, name, value_, capacity_);
    if (got < 0) return afterFailedRead();
    const size_t size = static_cast<size_t>(got);
    if (!isGroupKept_ && isAccessList(name) &&
        !narrowList(reinterpret_cast<unsigned char *>(value_), size, &common_)) {
      return Transfer::refused;
    }
    char *present = value_ + capacity_;
    if (fgetxattr(file_, name, present, capacity_) == got &&
        std::memcmp(present, value_, size) == 0) {
      return Transfer::done;
    }
    if (purpose_ == Purpose::compare) return Transfer::changed;
    return fsetxattr(file_, name, value_, size, 0) == 0 ? Transfer::done : Transfer::refused;
  }

  // The new file may have a list by default of its folder.
  Transfer dropList() const {
    if (purpose_ == Purpose::compare) {
      return fgetxattr(file_, kAccessList, nullptr, 0) < 0 ? Transfer::done : Transfer::changed;
    }
    const bool isGone =
        fremovexattr(file_, kAccessList) == 0 || errno == ENODATA || isUnsupported(errno);
    return isGone ? Transfer::done : Transfer::refused;
  }

  int file_;
  const char *oldPath_;
  bool isGroupKept_;
  Purpose purpose_;
  bool hasList_ = false;
  mode_t common_ = 0;
  size_t capacity_ = 1;    // of a value; the hooks never get a size of 0
  char *value_ = nullptr;  // of the old file, and behind it the new file's
};

#else

class Attributes {
 public:
  Attributes(int /*file*/, const char * /*oldPath*/, bool /*isGroupKept*/, Purpose /*purpose*/) {}
  Transfer transfer() { return Transfer::done; }
  bool hasList() const { return false; }
  mode_t commonRights() const { return 0; }
};

#endif

// The group bits of a file with a list are the list's mask.
mode_t withoutGroup(mode_t mode, const Attributes &attributes) {
  if (attributes.hasList()) return (mode & ~kOtherBits) | attributes.commonRights();
  const mode_t common = commonRights(mode);
  return (mode & ~(kGroupBits | kOtherBits)) | (common << kGroupShift) | common;
}

Transfer transferRest(int file, const char *oldPath, const struct stat &old, Purpose purpose) {
  struct stat now = {};
  if (fstat(file, &now) != 0) return Transfer::refused;
  const bool isGroupKept = now.st_gid == old.st_gid;
  Attributes attributes(file, oldPath, isGroupKept, purpose);
  const Transfer transfer = attributes.transfer();
  if (transfer != Transfer::done) return transfer;
  mode_t mode = old.st_mode & kPermissionBits;
  if (!isGroupKept || now.st_uid != old.st_uid) mode &= kPlainPermissionBits;
  if (!isGroupKept) mode = withoutGroup(mode, attributes);
  if (purpose == Purpose::change) {
    return fchmod(file, mode) == 0 ? Transfer::done : Transfer::refused;
  }
  return (now.st_mode & kPermissionBits) == mode ? Transfer::done : Transfer::changed;
}

}  // namespace

Transfer takeOverRights(int file, const char *oldPath, const struct stat &old) {
  // The rest depends on the result, which the new file's status shows.
  [[maybe_unused]] const bool isGroupGiven =
      fchown(file, old.st_uid, old.st_gid) == 0 || fchown(file, kSameOwner, old.st_gid) == 0;
  return transferRest(file, oldPath, old, Purpose::change);
}

bool hasRightsOf(int file, const char *oldPath, const struct stat &old) {
  return transferRest(file, oldPath, old, Purpose::compare) == Transfer::done;
}

}  // namespace neb::platform

#endif
