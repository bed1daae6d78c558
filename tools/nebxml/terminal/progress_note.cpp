#include "terminal/progress_note.h"

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include "system/open_file.h"
#include "system/process.h"

namespace nebxml {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kFirstDelay{1000};
constexpr milliseconds kShortestInterval{100};
constexpr const char *kEraseLine = "\r\x1b[K";
// A note that is wider than the terminal is cut. If it were wrapped, it could not be erased.
constexpr const char *kStopWrapping = "\x1b[?7l";
constexpr const char *kWrapAgain = "\x1b[?7h";

std::atomic_flag g_isOneAlive;

// A dumb terminal, such as that of an editor, cannot erase a line.
bool canErase() {
  const char *terminal = std::getenv("TERM");
  return takesEscapes(kStandardErrors) &&
         (terminal == nullptr || std::string_view(terminal) != "dumb");
}

}  // namespace

ProgressNote::ProgressNote(Text text, bool isWanted)
    : text_(std::move(text)), isOnly_(isWanted && !g_isOneAlive.test_and_set()) {
  if (!isOnly_ || !canErase()) return;
  try {
    thread_ = std::jthread([this](const std::stop_token &stop) { redraw(stop); });
  } catch (const std::system_error &) {
    // Without a thread, the work goes on without a note.
  }
}

ProgressNote::~ProgressNote() {
  thread_ = {};
  if (isOnly_) g_isOneAlive.clear();
}

void ProgressNote::writeAbove(const std::function<void()> &write) {
  const std::lock_guard lock(mutex_);
  draw("");
  write();
}

// If memory runs out, only the note ends.
void ProgressNote::redraw(const std::stop_token &stop) try {
  const auto start = steady_clock::now();
  std::unique_lock lock(mutex_);
  const auto isStopped = [&stop] { return stop.stop_requested(); };
  for (milliseconds delay = kFirstDelay; !stopped_.wait_for(lock, stop, delay, isStopped);
       delay = kShortestInterval) {
    draw(text_(duration_cast<milliseconds>(steady_clock::now() - start)));
  }
  draw("");
} catch (const std::bad_alloc &) {
}

void ProgressNote::draw(const std::string &text) {
  if (text == drawn_) return;
  std::cerr << kEraseLine + (text.empty() ? "" : kStopWrapping + text + kWrapAgain) << std::flush;
  drawn_ = text;
}

}  // namespace nebxml
