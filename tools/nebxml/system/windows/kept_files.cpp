#include "system/kept_files.h"

#include "system/system.h"

#if defined(NEBXML_WINDOWS)

#include <filesystem>
#include <system_error>

#include <windows.h>

#include "system/paths.h"
#include "system/windows/wide.h"

namespace nebxml {
namespace {

bool isDone(BOOL result) {
  if (result == 0) takeLastError();
  return result != 0;
}

// A hard link to a symbolic link would lead to the new file later.
bool isLink(const std::wstring &name) {
  const DWORD attributes = ::GetFileAttributesW(name.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

}  // namespace

bool isRegularFile(const std::string &name) {
  std::error_code ignored;
  return std::filesystem::is_regular_file(pathOf(name), ignored);
}

bool linkOrCopy(const std::string &name, const std::string &newName) {
  const std::wstring from = wideOf(name);
  const std::wstring to = wideOf(newName);
  const bool isLinked = !isLink(from) && ::CreateHardLinkW(to.c_str(), from.c_str(), nullptr) != 0;
  return isLinked || isDone(::CopyFileW(from.c_str(), to.c_str(), TRUE));
}

bool renameFile(const std::string &name, const std::string &newName) {
  return isDone(::MoveFileExW(wideOf(name).c_str(), wideOf(newName).c_str(),
                              MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
}

void removeFile(const std::string &name) { ::DeleteFileW(wideOf(name).c_str()); }

}  // namespace nebxml

#endif
