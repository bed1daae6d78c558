// The forms in which check reports what is wrong with files.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "checking/summary.h"
#include "terminal/command_error.h"

namespace nebxml {

class Report {
 public:
  Report() = default;
  virtual ~Report() = default;
  Report(const Report &) = delete;
  Report &operator=(const Report &) = delete;

  // fileName  as the system knows it
  virtual void add(const std::string &fileName, const CommandError &error) = 0;

  // After the last file.
  virtual void end(const Summary & /*summary*/) {}
};

// The first one is the default.
std::vector<std::string> reportFormats();

std::unique_ptr<Report> makeReport(const std::string &format);

// One line of a format for each failure: those of compilers, and the annotations of GitHub.
std::unique_ptr<Report> makeGccReport();
std::unique_ptr<Report> makeGithubReport();

// An array with an object for each failure.
std::unique_ptr<Report> makeJsonReport();

// What a kind of failure is called.
struct Kind {
  std::string status;  // for programs
  std::string title;   // for people
};

Kind kindOf(const CommandError &error);

}  // namespace nebxml
