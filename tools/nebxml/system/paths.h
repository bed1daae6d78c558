// Names of files, as the tool reads and prints them.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "system/system.h"

namespace nebxml {

// What stands between the name of a file and that of its folder or disk.
#if defined(NEBXML_WINDOWS)
inline constexpr std::string_view kFolderMarks = "/\\:";
#else
inline constexpr std::string_view kFolderMarks = "/";
#endif

// name  in UTF-8 on Windows, elsewhere any bytes
std::filesystem::path pathOf(const std::string &name);

// With '/' between its parts on every system.
std::string nameOf(const std::filesystem::path &path);

// Whether a file's name, without its folder, matches a pattern of fnmatch(3), which has to name a
// leading dot. The case of letters counts on every system.
bool matchesPattern(const std::string &name, const std::string &pattern);

}  // namespace nebxml
