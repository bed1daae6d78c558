#include "checking/in_order.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace nebxml {
namespace {

constexpr size_t kResultsPerThread = 16;

// The results between the next one to be reported and the last one that is worked on.
class Window {
 public:
  Window(size_t count, size_t size) : count_(count), results_(size) {}

  // The next index to work on; none if there are no more. Waits until its result has room.
  std::optional<size_t> claim() {
    std::unique_lock lock(mutex_);
    roomMade_.wait(lock, [this] { return isClosed_ || claimed_ - taken_ < results_.size(); });
    if (isClosed_ || claimed_ == count_) return std::nullopt;
    return claimed_++;
  }

  void put(size_t index, Failure failure) {
    const std::lock_guard lock(mutex_);
    resultAt(index).emplace(std::move(failure));
    if (index == taken_) nextIsThere_.notify_one();
  }

  // The next result in order. Waits for it.
  Failure take() {
    std::unique_lock lock(mutex_);
    nextIsThere_.wait(lock, [this] { return resultAt(taken_).has_value(); });
    Failure failure = *std::exchange(resultAt(taken_), std::nullopt);
    ++taken_;
    roomMade_.notify_one();
    return failure;
  }

  // No further index is claimed.
  void close() {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
    roomMade_.notify_all();
  }

 private:
  std::optional<Failure> &resultAt(size_t index) { return results_[index % results_.size()]; }

  const size_t count_;
  size_t claimed_ = 0;
  size_t taken_ = 0;
  bool isClosed_ = false;
  std::vector<std::optional<Failure>> results_;
  std::mutex mutex_;
  std::condition_variable roomMade_;
  std::condition_variable nextIsThere_;
};

// Fill a window until it is closed or nothing is left to do.
class Workers {
 public:
  Workers(size_t count, Window &window, const std::function<Failure(size_t)> &work)
      : window_(window) {
    threads_.reserve(count);
    try {
      while (threads_.size() < count) threads_.emplace_back([&] { run(window, work); });
    } catch (const std::system_error &) {
      // Those that there are do the work.
    }
  }
  ~Workers() { window_.close(); }
  Workers(const Workers &) = delete;
  Workers &operator=(const Workers &) = delete;

  bool areNone() const { return threads_.empty(); }

 private:
  static void run(Window &window, const std::function<Failure(size_t)> &work) {
    while (const auto index = window.claim()) window.put(*index, work(*index));
  }

  Window &window_;
  std::vector<std::jthread> threads_;
};

}  // namespace

void inOrder(size_t count, size_t jobs, const std::function<Failure(size_t)> &work,
             const std::function<void(size_t, const Failure &)> &report) {
  const size_t threadCount = std::min(jobs, count);
  Window window(count, threadCount * kResultsPerThread);
  const Workers workers(threadCount > 1 ? threadCount : 0, window, work);
  for (size_t index = 0; index < count; ++index) {
    report(index, workers.areNone() ? work(index) : window.take());
  }
}

}  // namespace nebxml
