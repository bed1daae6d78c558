/*
 * How a command fails: an exit status and one line that names the file and the cause.
 */
#ifndef NEBXML_COMMAND_ERROR_H
#define NEBXML_COMMAND_ERROR_H

#include <stdexcept>
#include <string>

namespace nebxml {

/** Exit statuses, in order of severity. */
enum class ExitStatus : int {
  done = 0,
  notFound = 1,  ///< Or not well-formed, or a change that the document does not allow.
  wrongUsage = 2,
  fileTrouble = 3
};

class CommandError : public std::runtime_error {
 public:
  CommandError(ExitStatus status, const std::string &subject, const std::string &cause)
      : std::runtime_error(subject + ": " + cause), status_(status) {}

  [[nodiscard]] ExitStatus status() const noexcept { return status_; }

 private:
  ExitStatus status_;
};

}  // namespace nebxml

#endif
