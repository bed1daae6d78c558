// A line on the terminal that shows how far the tool is, while that takes longer than a second.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

namespace nebxml {

// Appears after one second, is redrawn as its text changes, at most ten times a second, and is
// erased by the destructor. There is one note at a time: inside the life of another, it shows
// nothing.
class ProgressNote {
 public:
  using Text = std::function<std::string(std::chrono::milliseconds elapsed)>;

  // text      makes the note, printable, on a thread of its own
  // isWanted  else there is no note, and the life of this one hides no other
  ProgressNote(Text text, bool isWanted);

  ~ProgressNote();
  ProgressNote(const ProgressNote &) = delete;
  ProgressNote &operator=(const ProgressNote &) = delete;

  // Calls write with the note erased, so that lines can be written in its place.
  void writeAbove(const std::function<void()> &write);

 private:
  void redraw(const std::stop_token &stop);
  void draw(const std::string &text);

  Text text_;
  bool isOnly_;
  std::mutex mutex_;
  std::condition_variable_any stopped_;
  std::string drawn_;
  std::jthread thread_;
};

}  // namespace nebxml
