#include "judge.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <utility>

namespace {

constexpr double kLongEnough = 0.1;  // seconds; shorter works are repeated
constexpr double kTooLong = 0.5;     // seconds; larger sizes are left out, as where a cost explodes
constexpr double kSmallestRatio = 1.7;  // of what grows; below it only n was disturbed
constexpr double kHopelessRatio = 3.0;  // which more runs will not mend
constexpr int kFewestRuns = 2;
constexpr int kMostRuns = 12;  // while the ratio is not an expected one
constexpr size_t kFirstSize = 1000;
constexpr size_t kStep = 2;  // from one size to the next
constexpr size_t kLongStep = 4;
constexpr double kSquare = kLongStep * kLongStep;
constexpr size_t kMostRounds = 4096;
constexpr double kMillisecond = 1e-3;
constexpr long kKiBPerMiB = 1024;

// Memory that is freed stays with the process, so that the first touch of a page is not measured
// again and again. Besides, changing a parameter joins the pieces that are free, so that each run
// finds the heap as the one before found it.
void levelHeap() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

double cpuSeconds() {
  timespec time;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

double measure(const Work &work, size_t rounds) {
  double seconds = 0;
  for (size_t round = 0; round < rounds; ++round) {
    const double begin = cpuSeconds();
    work.run();
    seconds += cpuSeconds() - begin;
    levelHeap();
    work.reset();
    levelHeap();
  }
  return seconds;
}

// A process that measures a case at one size when it is asked to. Works of two sizes that shared a
// heap would find it as the other one left it, and both would take the time of the larger one.
class Worker {
 public:
  Worker(const Case &subject, size_t size) {
    if (pipe(requests_) != 0 || pipe(answers_) != 0 || (process_ = fork()) < 0) {
      std::perror("starting a process");
      std::exit(EXIT_FAILURE);
    }
    if (process_ == 0) serve(subject, size);
    close(requests_[0]);
    close(answers_[1]);
  }
  ~Worker() { stop(); }
  Worker(const Worker &) = delete;
  Worker &operator=(const Worker &) = delete;

  // Not a number where the process has died.
  double seconds(size_t rounds) const {
    double seconds = 0;
    const bool isAnswered = write(requests_[1], &rounds, sizeof(rounds)) == sizeof(rounds) &&
                            read(answers_[0], &seconds, sizeof(seconds)) == sizeof(seconds);
    return isAnswered ? seconds : std::nan("");
  }

  // Ends the process, and tells how much memory it has taken.
  long stop() {
    if (process_ == 0) return 0;
    close(requests_[1]);
    close(answers_[0]);
    kill(process_, SIGKILL);
    rusage usage = {};
    wait4(process_, nullptr, 0, &usage);
    process_ = 0;
    return usage.ru_maxrss / kKiBPerMiB;
  }

 private:
  [[noreturn]] void serve(const Case &subject, size_t size) {
    close(requests_[1]);
    close(answers_[0]);
    levelHeap();
    const Work work = subject.prepare(size);
    size_t rounds = 0;
    while (read(requests_[0], &rounds, sizeof(rounds)) == sizeof(rounds)) {
      const double seconds = measure(work, rounds);
      if (write(answers_[1], &seconds, sizeof(seconds)) != sizeof(seconds)) break;
    }
    _exit(EXIT_SUCCESS);
  }

  int requests_[2];
  int answers_[2];
  pid_t process_ = 0;
};

// The least of some runs, the first of which finds the heap cold. Not a number where one is none.
class Least {
 public:
  void add(double seconds) {
    if (!(seconds >= seconds_)) seconds_ = seconds;
  }
  double seconds() const { return seconds_; }

 private:
  double seconds_ = std::numeric_limits<double>::infinity();
};

struct Sized {
  size_t size;
  std::unique_ptr<Worker> worker;
};

// A worker at the largest size, or at the first one where a run takes long. A step is a long one
// where even a cost that grows with the square of the size would not become too long.
Sized grown(const Case &subject) {
  size_t size = kFirstSize;
  for (;;) {
    auto worker = std::make_unique<Worker>(subject, size);
    const double cold = worker->seconds(1);
    const bool isMore = cold < kTooLong && size < subject.largestSize;
    if (!isMore) return {size, std::move(worker)};
    const bool isShort = cold * kSquare < kTooLong;
    size = std::min((isShort ? kLongStep : kStep) * size, subject.largestSize);
  }
}

enum class Verdict { small, tooLarge, notMeasured };

Verdict compare(const Case &subject, const Sized &single) {
  const double once = single.worker->seconds(1);
  size_t rounds = 1;
  while (static_cast<double>(rounds) * once < kLongEnough && rounds < kMostRounds) {
    ++rounds;
  }
  Worker twice(subject, 2 * single.size);
  twice.seconds(1);
  Least atSize;
  Least atTwice;
  double ratio = 0;
  for (int run = 1; run <= kMostRuns; ++run) {
    atSize.add(single.worker->seconds(rounds));
    atTwice.add(twice.seconds(rounds));
    ratio = atTwice.seconds() / atSize.seconds();
    if (atSize.seconds() < kLongEnough && rounds < kMostRounds && run < kMostRuns) {
      rounds += rounds / 4 + 1;
      atSize = Least();
      atTwice = Least();
      continue;
    }
    const bool isExpected = kSmallestRatio <= ratio && ratio <= kLargestRatio;
    if (run >= kFewestRuns && (isExpected || ratio > kHopelessRatio)) break;
  }
  // Not a number where a process has died; short where a work takes no time that could grow.
  const bool isMeasured = atSize.seconds() >= kLongEnough && !std::isnan(ratio);
  const Verdict verdict = !isMeasured              ? Verdict::notMeasured
                          : ratio <= kLargestRatio ? Verdict::small
                                                   : Verdict::tooLarge;
  constexpr const char *kWords[] = {"", "  too large", "  not measured"};
  std::printf("%-44s %10zu %5zu %8.1f %8.1f %6ld %6.2f%s\n", subject.name.c_str(), single.size,
              rounds, atSize.seconds() / kMillisecond, atTwice.seconds() / kMillisecond,
              twice.stop(), ratio, kWords[static_cast<size_t>(verdict)]);
  std::fflush(stdout);
  return verdict;
}

}  // namespace

void printHeading() {
  std::printf("%-44s %10s %5s %8s %8s %6s %6s\n", "CPU time, the least of some runs", "n", "times",
              "ms at n", "at 2n", "MiB", "ratio");
}

// A cost that grows faster than the size is met again at twice the size. The end of a cache, a heap
// that happens to lie well at one size, or a disturbance, is not.
bool judge(const Case &subject) {
  // A process whose asker is gone is told so by what it writes to.
  std::signal(SIGPIPE, SIG_IGN);
  std::fflush(stdout);
  Sized single = grown(subject);
  const Verdict verdict = compare(subject, single);
  if (verdict != Verdict::tooLarge) return verdict == Verdict::small;
  single.worker = nullptr;
  single.size *= 2;
  single.worker = std::make_unique<Worker>(subject, single.size);
  single.worker->seconds(1);
  return compare(subject, single) == Verdict::small;
}
