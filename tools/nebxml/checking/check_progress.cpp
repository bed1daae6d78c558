#include "checking/check_progress.h"

#include <array>
#include <filesystem>
#include <iomanip>
#include <sstream>
#include <system_error>

#include "system/paths.h"

namespace nebxml {
namespace {

constexpr size_t kBarWidth = 20;

std::string bar(size_t done, size_t all) {
  const size_t width = kBarWidth * done / all;
  return '[' + std::string(width, '#') + std::string(kBarWidth - width, '-') + ']';
}

std::string bytes(double count) {
  constexpr double kStep = 1000;
  constexpr std::array<const char *, 5> kUnits{"B", "kB", "MB", "GB", "TB"};
  const auto *unit = kUnits.begin();
  for (; count >= kStep && unit + 1 < kUnits.end(); ++unit) count /= kStep;
  std::ostringstream text;
  text << std::fixed << std::setprecision(unit == kUnits.begin() ? 0 : 1) << count << ' ' << *unit;
  return text.str();
}

std::string minutes(double seconds) {
  constexpr size_t kMinute = 60;
  const auto whole = static_cast<size_t>(seconds);
  std::ostringstream text;
  text << whole / kMinute << ':' << std::setw(2) << std::setfill('0') << whole % kMinute;
  return text.str();
}

}  // namespace

void CheckProgress::addFile(const std::string &fileName) {
  std::error_code error;
  const auto size = std::filesystem::file_size(pathOf(fileName), error);
  const std::lock_guard lock(mutex_);
  if (!error) byteCount_ += size;
  ++doneCount_;
}

std::string CheckProgress::line(std::chrono::milliseconds elapsed) const {
  const double seconds = std::chrono::duration<double>(elapsed).count();
  const std::lock_guard lock(mutex_);
  const size_t done = doneCount_;
  const auto byteCount = static_cast<double>(byteCount_);
  std::ostringstream text;
  text << "nebxml: " << bar(done, fileCount_) << ' ' << done << " of " << fileCount_ << " files, "
       << bytes(byteCount) << ", " << bytes(byteCount / seconds) << "/s";
  if (done > 0) {
    const auto left = static_cast<double>(fileCount_ - done);
    text << ", " << minutes(seconds / static_cast<double>(done) * left) << " left";
  }
  return text.str();
}

}  // namespace nebxml
