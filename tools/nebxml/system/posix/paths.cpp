#include "system/paths.h"

#if defined(NEBXML_POSIX)

#include <fnmatch.h>

namespace nebxml {

std::filesystem::path pathOf(const std::string &name) { return name; }

std::string nameOf(const std::filesystem::path &path) { return path.string(); }

bool matchesPattern(const std::string &name, const std::string &pattern) {
  return ::fnmatch(pattern.c_str(), name.c_str(), FNM_PERIOD) == 0;
}

}  // namespace nebxml

#endif
