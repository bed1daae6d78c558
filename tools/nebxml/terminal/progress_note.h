// A progress line on the terminal while a large file is read.
#pragma once

#include <string>
#include <thread>

namespace nebxml {

// Appears after one second, counts the seconds, and is erased by the destructor.
class ProgressNote {
 public:
  // Shows nothing without a terminal, or while the user types the document there.
  explicit ProgressNote(const std::string &fileName);

 private:
  std::jthread thread_;
};

}  // namespace nebxml
