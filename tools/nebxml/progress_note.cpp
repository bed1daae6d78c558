#include "progress_note.h"

#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <new>
#include <stop_token>
#include <system_error>

#include <unistd.h>

#include "documents/document.h"
#include "excerpt.h"

namespace nebxml {
namespace {

constexpr const char *kEraseLine = "\r\x1b[K";

bool isWanted(const std::string &fileName) {
  const bool isTyped = fileName == kStandardStream && ::isatty(STDIN_FILENO) == 1;
  return ::isatty(STDERR_FILENO) == 1 && !isTyped;
}

// If memory runs out, only the note ends.
void countSeconds(const std::stop_token &stop, const std::string &fileName) try {
  std::mutex mutex;
  std::condition_variable_any condition;
  std::unique_lock lock(mutex);
  const auto isStopped = [&stop] { return stop.stop_requested(); };
  for (int seconds = 1;; ++seconds) {
    if (condition.wait_for(lock, stop, std::chrono::seconds(1), isStopped)) {
      std::cerr << (seconds > 1 ? kEraseLine : "") << std::flush;
      return;
    }
    std::cerr << kEraseLine << "nebxml: reading " << fileName << ", " << seconds << " s"
              << std::flush;
  }
} catch (const std::bad_alloc &) {
}

}  // namespace

ProgressNote::ProgressNote(const std::string &fileName) {
  if (!isWanted(fileName)) return;
  try {
    thread_ = std::jthread(countSeconds, shortened(fileName));
  } catch (const std::system_error &) {
    // Without a thread, the file is read without a note.
  }
}

}  // namespace nebxml
