// How far a check of many files is, as a line for the terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
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
  // The bytes of many files: 64 bits, which not every processor adds atomically.
  mutable std::mutex mutex_;
  size_t doneCount_ = 0;
  uint64_t byteCount_ = 0;
};

}  // namespace nebxml
