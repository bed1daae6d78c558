#include "judge.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace {

constexpr double kLongEnough = 0.1;     // seconds; shorter works are repeated
constexpr double kTooLong = 0.5;        // seconds; larger sizes are left out
constexpr double kSmallestRatio = 1.7;  // of what grows; below it only n was disturbed
constexpr int kMostRuns = 8;            // while the ratio is not an expected one
constexpr size_t kMostRounds = 4096;
constexpr size_t kFirstSize = 1000;
constexpr size_t kStep = 4;  // from one size to the next
constexpr double kMillisecond = 1e-3;
constexpr long kKiBPerMiB = 1024;

// CPU time of one round, not a number where the process has died; and the memory it has taken.
struct Measure {
  double seconds = std::numeric_limits<double>::infinity();
  long mebibytes = 0;
};

// Memory that is freed stays with the process, so that the first touch of a page is not measured
// again and again. Besides, changing a parameter joins the pieces that are free, so that each round
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

double secondsOfRound(const Work &work) {
  const double begin = cpuSeconds();
  work.run();
  const double seconds = cpuSeconds() - begin;
  levelHeap();
  work.reset();
  levelHeap();
  return seconds;
}

// The mean of as many rounds as take long enough. The first round finds the heap cold. Zero where a
// work takes no time that could grow.
double secondsOf(const Work &work) {
  double seconds = secondsOfRound(work);
  if (seconds > kTooLong) return seconds;
  seconds = 0;
  size_t rounds = 0;
  for (; seconds < kLongEnough && rounds < kMostRounds; ++rounds) seconds += secondsOfRound(work);
  return seconds < kLongEnough ? 0 : seconds / static_cast<double>(rounds);
}

// In a process of its own: works of two sizes that shared a heap would find it as the other one
// left it, and both would take the time of the larger one.
Measure measure(const Case &subject, size_t size) {
  int answer[2];
  std::fflush(stdout);
  const pid_t process = pipe(answer) == 0 ? fork() : -1;
  if (process < 0) {
    std::perror("starting a process");
    std::exit(EXIT_FAILURE);
  }
  double seconds = 0;
  if (process == 0) {
    levelHeap();
    seconds = secondsOf(subject.prepare(size));
    _exit(write(answer[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  close(answer[1]);
  if (read(answer[0], &seconds, sizeof seconds) != sizeof seconds) seconds = std::nan("");
  close(answer[0]);
  rusage usage = {};
  wait4(process, nullptr, 0, &usage);
  return {seconds, usage.ru_maxrss / kKiBPerMiB};
}

// The largest size, or the first one where a round takes long.
size_t largestSizeOf(const Case &subject) {
  size_t size = kFirstSize;
  while (size < subject.largestSize && measure(subject, size).seconds < kTooLong) {
    size = std::min(kStep * size, subject.largestSize);
  }
  return size;
}

// The ratio of the least of some runs at n and at 2n; not a number where nothing was measured.
double ratioAt(const Case &subject, size_t size) {
  Measure once, twice;
  double ratio = 0;
  for (int run = 1; run <= kMostRuns; ++run) {
    const auto addTo = [&](Measure &least, size_t n) {
      const Measure next = measure(subject, n);
      if (!(next.seconds >= least.seconds)) least = next;
    };
    addTo(once, size);
    addTo(twice, 2 * size);
    ratio = once.seconds > 0 ? twice.seconds / once.seconds : std::nan("");
    const bool isExpected = kSmallestRatio <= ratio && ratio <= kLargestRatio;
    if (isExpected || std::isnan(ratio)) break;
  }
  const char *verdict = std::isnan(ratio)        ? "  not measured"
                        : ratio <= kLargestRatio ? ""
                                                 : "  too large";
  std::printf("%-44s %10zu %9.3f %9.3f %6ld %6.2f%s\n", subject.name.c_str(), size,
              once.seconds / kMillisecond, twice.seconds / kMillisecond, twice.mebibytes, ratio,
              verdict);
  return ratio;
}

}  // namespace

// A cost that grows faster than the size is met again at twice the size. The end of a cache, a heap
// that happens to lie well at one size, or a disturbance, is not.
bool judge(const Case &subject) {
  const size_t size = largestSizeOf(subject);
  const double ratio = ratioAt(subject, size);
  return ratio <= kLargestRatio ||
         (ratio > kLargestRatio && ratioAt(subject, 2 * size) <= kLargestRatio);
}
