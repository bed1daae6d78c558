// The process as a whole: its arguments, its standard streams and its console.
#pragma once

#include <string>
#include <vector>

namespace nebxml {

// Lives as long as main. The standard streams then hold bytes, without conversions of line ends.
// A write beyond the file size limit fails like any other write. Until the end, a console of
// Windows takes UTF-8 and escape sequences.
class Process {
 public:
  Process();
  ~Process();  // NOLINT(performance-trivially-destructible): it does something on Windows
  Process(const Process &) = delete;
  Process &operator=(const Process &) = delete;
};

// The arguments of the command line, without the name of the program. On Windows they are in UTF-8,
// unlike those of main.
//
// count, arguments  of main
std::vector<std::string> argumentsOf(int count, const char *const *arguments);

// Whether a terminal moves and colours by escape sequences.
bool takesEscapes(int descriptor);

}  // namespace nebxml
