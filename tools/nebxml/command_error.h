// How a command fails: an exit status and a report.
#pragma once

#include <stdexcept>
#include <string>
#include <system_error>

#include "printable.h"

namespace nebxml {

// Exit statuses, in order of severity.
enum class ExitStatus : int {
  done = 0,
  notFound = 1,  // or not well-formed, different, or not allowed by the document
  wrongUsage = 2,
  fileTrouble = 3
};

// what() is the whole report: printable, one or more lines, without the last line break.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitStatus status, const std::string &report)
      : std::runtime_error(report), status_(status) {}
  CommandError(ExitStatus status, const std::string &subject, const std::string &cause)
      : CommandError(status, printable("nebxml: " + subject + ": " + cause)) {}

  ExitStatus status() const noexcept { return status_; }

 private:
  ExitStatus status_;
};

inline CommandError noMemory(const std::string &fileName) {
  return {ExitStatus::fileTrouble, fileName, "does not fit into memory"};
}

// Appends the system's message for an error number, unless the number is 0.
inline std::string withSystemCause(const std::string &cause, int errorNumber) {
  return errorNumber == 0 ? cause : cause + ": " + std::generic_category().message(errorNumber);
}

}  // namespace nebxml
