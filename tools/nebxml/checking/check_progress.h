// How far a check of many files is, as a line for the terminal.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

namespace nebxml {

class CheckProgress {
 public:
  explicit CheckProgress(size_t fileCount) : fileCount_(fileCount) {}

  // From any thread.
  void addFile(const std::string &fileName);

  std::string line(std::chrono::milliseconds elapsed) const;

 private:
  const size_t fileCount_;
  std::atomic<size_t> doneCount_ = 0;
  std::atomic<size_t> byteCount_ = 0;
};

}  // namespace nebxml
