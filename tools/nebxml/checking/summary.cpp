#include "checking/summary.h"

#include <algorithm>

namespace nebxml {
namespace {

std::string counted(size_t count, const std::string &kind) {
  return count == 0 ? "" : ", " + std::to_string(count) + kind;
}

// In the order of the codes, but that a document which is no XML is worse than an unsupported one.
bool isLessSevere(ExitStatus status, ExitStatus other) {
  const auto severity = [](ExitStatus each) {
    return each == ExitStatus::unsupported ? 1 : 2 * static_cast<int>(each);
  };
  return severity(status) < severity(other);
}

}  // namespace

void Summary::add(const Failure &failure) {
  if (!failure) {
    ++wellFormed_;
    return;
  }
  const ExitStatus status = failure->status();
  ++(status == ExitStatus::notFound      ? malformed_
     : status == ExitStatus::unsupported ? unsupported_
                                         : unread_);
  worst_ = std::max(worst_, status, isLessSevere);
}

std::string Summary::sentence() const {
  return std::to_string(fileCount()) + " files: " + std::to_string(wellFormed_) + " well-formed" +
         counted(malformed_, " not") + counted(unsupported_, " not supported") +
         counted(unread_, " not read");
}

}  // namespace nebxml
