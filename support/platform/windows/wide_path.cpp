#include "platform/windows/wide_path.h"

#include "platform/system.h"

#if defined(NEB_XML_WINDOWS)

#include <cerrno>
#include <cwchar>
#include <string_view>

#include "platform/windows/system_calls.h"

namespace neb::platform {

namespace {

using namespace std::string_view_literals;

constexpr std::wstring_view kDevice = LR"(\\.\)"sv;
constexpr std::wstring_view kLongPath = LR"(\\?\)"sv;
constexpr std::wstring_view kLongShare = LR"(\\?\UNC\)"sv;
constexpr std::wstring_view kShare = LR"(\\)"sv;
constexpr size_t kPrefixRoom = kLongShare.size();

bool failAsTooLong() {
  errno = ENAMETOOLONG;
  return false;
}

bool beginsWith(const wchar_t *path, std::wstring_view begin) {
  return std::wcsncmp(path, begin.data(), begin.size()) == 0;
}

// The path stands behind room for a prefix, and moves up to it.
void prepend(std::wstring_view prefix, WidePath &path, const wchar_t *rest) {
  std::wmemmove(path + prefix.size(), rest, std::wcslen(rest) + 1);
  prefix.copy(path, prefix.size());
}

}  // namespace

bool makeWide(const char *path, WidePath &wide) {
  if (path[0] == '\0') {
    errno = ENOENT;
    return false;
  }
  WidePath given;
  if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, given, kWidePathCapacity) == 0) {
    return failWithLastError();
  }
  constexpr DWORD kRoom = kWidePathCapacity - kPrefixRoom;
  wchar_t *full = wide + kPrefixRoom;
  const DWORD length = GetFullPathNameW(given, kRoom, full, nullptr);
  if (length == 0) return failWithLastError();
  if (length >= kRoom) return failAsTooLong();
  if (beginsWith(full, kDevice) || beginsWith(full, kLongPath)) {
    prepend({}, wide, full);
  } else if (beginsWith(full, kShare)) {
    prepend(kLongShare, wide, full + kShare.size());
  } else {
    prepend(kLongPath, wide, full);
  }
  return true;
}

bool isDevice(const WidePath &path) { return beginsWith(path, kDevice); }

bool followLinks(WidePath &path) {
  const HANDLE file = CreateFileW(path, FILE_READ_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return failWithLastError();
  const DWORD length =
      GetFinalPathNameByHandleW(file, path, kWidePathCapacity, FILE_NAME_NORMALIZED);
  const DWORD error = GetLastError();
  CloseHandle(file);
  if (length >= kWidePathCapacity) return failAsTooLong();
  if (length == 0) errno = errnoOf(error);
  return length != 0;
}

}  // namespace neb::platform

#endif
