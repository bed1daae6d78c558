// Output that is collected, since a system call for each line would take most of the time.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

class BufferedOutput {
 public:
  using Writing = void (*)(std::string_view);

  // write  writeStandardOutput or writeReport
  explicit BufferedOutput(Writing write) : write_(write) {}

  // What has not been written yet, to append to.
  std::string &text() { return text_; }

  // After each value or line: never inside a character, which a terminal has to see whole.
  void flushIfLarge();
  void flush();

 private:
  Writing write_;
  std::string text_;
};

}  // namespace nebxml
