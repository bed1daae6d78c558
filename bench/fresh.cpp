// One library as a program meets it: in a fresh process that loads no other library, with the
// default allocator. Prints JSON; times are in seconds.
//
//   neb_xml_fresh_LIBRARY MODE parse|load|repeat FILE
//
// parse   the first parse of a document in memory, and then the first print
// load    the library's own call for files, and how much the peak of resident memory grows by it
// repeat  parse and release, after the first time: the median
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>
#include <utility>

#include "library.h"

namespace {

using namespace bench;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr size_t kFewestSamples = 9;
constexpr Seconds kShortestSample{20e-6};
constexpr Seconds kShortestRepetition{0.05};
constexpr auto kMostSamples = static_cast<size_t>(kShortestRepetition / kShortestSample);

[[noreturn]] void fail(const char *reason) {
  std::fprintf(stderr, "%s\n", reason);
  std::exit(1);
}

struct Figures {
  double wallTime;
  double cpuTime;  // does not grow by what other processes do
  long faults;
};

long faults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt + usage.ru_majflt;
}

double processTime() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

template <class Work>
Figures figuresOf(Work work) {
  const long faultsBefore = faults();
  const double cpuBefore = processTime();
  const Clock::time_point begin = Clock::now();
  work();
  const Seconds wallTime = Clock::now() - begin;
  const double cpuTime = processTime() - cpuBefore;
  return {wallTime.count(), cpuTime, faults() - faultsBefore};
}

// As members of an object, without its end.
void show(const char *operation, const Figures &figures) {
  std::printf(R"("%s": {"wall": %.9f, "cpu": %.9f, "faults": %ld)", operation, figures.wallTime,
              figures.cpuTime, figures.faults);
}

// The highest resident memory so far, in bytes, read without a heap.
size_t peakMemory() {
  constexpr size_t kKiB = 1024;
  constexpr std::string_view kField = "VmHWM:";
  char status[4096] = "";
  const int file = open("/proc/self/status", O_RDONLY);
  const ssize_t size = read(file, status, sizeof status - 1);
  close(file);
  const char *field = size > 0 ? std::strstr(status, kField.data()) : nullptr;
  if (!field) fail("no VmHWM in /proc/self/status");
  return std::strtoull(field + kField.size(), nullptr, 10) * kKiB;
}

std::string readInput(const char *path) {
  const int file = open(path, O_RDONLY);
  struct stat status {};
  if (file < 0 || fstat(file, &status) != 0) fail("the file cannot be opened");
  std::string input(static_cast<size_t>(status.st_size), '\0');
  for (size_t done = 0; done < input.size();) {
    const ssize_t count = read(file, input.data() + done, input.size() - done);
    if (count <= 0) fail("the file cannot be read");
    done += static_cast<size_t>(count);
  }
  close(file);
  return input;
}

Document accepted(Document document) {
  if (!document) fail("the document is not accepted");
  return document;
}

void parseAndPrint(const Subject &subject, const char *path) {
  const std::string input = readInput(path);
  Document document = nullptr;
  const Figures parse = figuresOf([&] { document = subject.parse(input); });
  accepted(document);
  std::printf("{");
  show("first parse", parse);
  if (subject.print) {
    size_t length = 0;
    const Figures print = figuresOf([&] { length = subject.print(document, nullptr); });
    if (length == 0) fail("nothing was printed");
    std::printf("}, ");
    show("first print", print);
  }
  std::printf("}}\n");
}

void load(const Subject &subject, const char *path) {
  Document document = nullptr;
  const size_t before = peakMemory();
  const Figures figures = figuresOf([&] { document = subject.load(path); });
  const size_t peak = peakMemory() - before;
  accepted(document);
  std::printf("{");
  show("file to tree", figures);
  std::printf(", \"peak\": %zu}}\n", peak);
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void repeat(const Subject &subject, const char *path) {
  const std::string input = readInput(path);
  subject.release(accepted(subject.parse(input)));
  // Reading a clock takes time as well, so a sample of a short document is many repetitions.
  size_t count = 1;
  const auto sample = [&] {
    return figuresOf([&] {
      for (size_t i = 0; i < count; ++i) subject.release(subject.parse(input));
    });
  };
  while (sample().wallTime < kShortestSample.count()) count *= 2;
  std::vector<double> wallTimes;
  std::vector<double> cpuTimes;
  wallTimes.reserve(kMostSamples);
  cpuTimes.reserve(kMostSamples);
  const Clock::time_point begin = Clock::now();
  while (wallTimes.size() < kFewestSamples || Clock::now() - begin < kShortestRepetition) {
    const Figures figures = sample();
    wallTimes.push_back(figures.wallTime / static_cast<double>(count));
    cpuTimes.push_back(figures.cpuTime / static_cast<double>(count));
  }
  std::printf(R"({"parse again": {"wall": %.9f, "cpu": %.9f}})", median(std::move(wallTimes)),
              median(std::move(cpuTimes)));
  std::printf("\n");
}

const Subject &subjectOf(std::string_view mode) {
  for (const Subject &subject : subjects()) {
    if (subject.mode == mode) return subject;
  }
  fail("the library has no such mode");
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 4) fail("usage: neb_xml_fresh_LIBRARY MODE parse|load|repeat FILE");
  const Subject &subject = subjectOf(argv[1]);
  const std::string_view measurement = argv[2];
  figuresOf([] {});  // the first call of a clock takes longer
  if (measurement == "parse") {
    parseAndPrint(subject, argv[3]);
  } else if (measurement == "load") {
    load(subject, argv[3]);
  } else if (measurement == "repeat") {
    repeat(subject, argv[3]);
  } else {
    fail("no such measurement");
  }
  return 0;
}
