#include "checking/file_search.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "documents/document.h"
#include "system/paths.h"

namespace nebxml {
namespace {

namespace fs = std::filesystem;

struct Entry {
  std::string name;
  bool isFolder;
};

bool namesFolder(const std::string &name) {
  std::error_code ignored;
  return name != kStandardStream && fs::is_directory(pathOf(name), ignored);
}

bool isHidden(const std::string &name) { return name.front() == '.'; }

bool matches(const std::string &name, const std::vector<std::string> &patterns) {
  return std::any_of(patterns.begin(), patterns.end(),
                     [&name](const std::string &pattern) { return matchesPattern(name, pattern); });
}

// Whether it is a regular file or a link to one. A link that leads nowhere counts, so that it is
// reported.
bool isFile(const fs::directory_entry &entry) {
  std::error_code error;
  const fs::file_status target = entry.status(error);
  return error || !fs::exists(target) || fs::is_regular_file(target);
}

// Adds the folders and the matching files in a folder, the first name last. Returns why the folder
// cannot be read to its end.
std::error_code addEntries(const std::string &folder, const std::vector<std::string> &patterns,
                           std::vector<Entry> &pending) {
  const auto first = static_cast<std::ptrdiff_t>(pending.size());
  std::error_code error;
  std::error_code ignored;
  for (fs::directory_iterator each(pathOf(folder), error), end; !error && each != end;
       each.increment(error)) {
    const std::string name = nameOf(each->path().filename());
    const fs::file_status status = each->symlink_status(ignored);
    const bool isFolder = fs::is_directory(status);
    // What cannot be told, as its path is too long, is taken for a file, so that it is reported.
    const bool isUnknown = !fs::status_known(status);
    const bool isWanted = isFolder ? !isHidden(name) : matches(name, patterns) && isFile(*each);
    if (isUnknown || isWanted) pending.push_back({nameOf(each->path()), isFolder});
  }
  std::sort(pending.begin() + first, pending.end(),
            [](const Entry &one, const Entry &other) { return one.name > other.name; });
  return error;
}

std::string withoutMatch(const std::vector<std::string> &patterns) {
  std::string trouble = "no file in it matches ";
  for (const std::string &pattern : patterns) {
    if (&pattern != &patterns.front()) trouble += " or ";
    trouble += pattern;
  }
  return trouble;
}

void searchFolder(const std::string &folder, const std::vector<std::string> &patterns,
                  std::vector<FoundFile> &found) {
  const size_t before = found.size();
  std::vector<Entry> pending{{folder, true}};
  while (!pending.empty()) {
    const Entry entry = std::move(pending.back());
    pending.pop_back();
    if (!entry.isFolder) {
      found.push_back({entry.name, ""});
    } else if (const std::error_code error = addEntries(entry.name, patterns, pending)) {
      found.push_back({entry.name, "cannot search: " + error.message()});
    }
  }
  if (found.size() == before) found.push_back({folder, withoutMatch(patterns)});
}

}  // namespace

std::vector<FoundFile> findFiles(const std::vector<std::string> &names,
                                 const std::vector<std::string> &patterns) {
  std::vector<FoundFile> found;
  for (const std::string &name : names) {
    if (namesFolder(name)) {
      searchFolder(name, patterns, found);
    } else {
      found.push_back({name, ""});
    }
  }
  return found;
}

}  // namespace nebxml
