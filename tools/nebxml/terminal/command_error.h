// How a command fails: an exit status and a report.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "terminal/printable.h"

namespace nebxml {

enum class ExitStatus : int {
  done = 0,
  notFound = 1,  // or not well-formed, different, or not allowed by the document
  wrongUsage = 2,
  fileTrouble = 3,
  unsupported = 4  // what the library does not read, but XML may allow
};

// What is wrong with a file, for programs.
struct Finding {
  std::string sentence;  // printable; the file's name is not in it
  size_t line = 0;       // 0 if it is about the whole file
  size_t column = 0;     // in bytes, from 1
  bool isLimit = false;  // a limit that the user has set is exceeded
};

// what() is the whole report: printable, one or more lines, without the last line break.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitStatus status, const std::string &report, Finding finding)
      : std::runtime_error(report), status_(status), finding_(std::move(finding)) {}
  CommandError(ExitStatus status, const std::string &report)
      : CommandError(status, report, Finding{report}) {}
  CommandError(ExitStatus status, const std::string &subject, const std::string &cause)
      : CommandError(status, printable("nebxml: " + subject + ": " + cause),
                     Finding{printable(cause)}) {}

  ExitStatus status() const noexcept { return status_; }
  const Finding &finding() const noexcept { return finding_; }

 private:
  ExitStatus status_;
  Finding finding_;
};

inline CommandError noMemory(const std::string &fileName) {
  return {ExitStatus::fileTrouble, fileName, "does not fit into memory"};
}

// With the system's message for an error number, unless the number is 0.
inline CommandError systemError(const std::string &subject, const std::string &cause,
                                int errorNumber) {
  const std::string message = std::generic_category().message(errorNumber);
  return {ExitStatus::fileTrouble, subject, errorNumber == 0 ? cause : cause + ": " + message};
}

[[noreturn]] inline void failWriting(const std::string &subject, int errorNumber) {
  throw systemError(subject, "cannot write", errorNumber);
}

}  // namespace nebxml
