// The benchmarks, named operation/document/library/mode.
//
//   neb_xml_bench [--corpus=FOLDER] [--large] [GOOGLE BENCHMARK ARGS]
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string_view>

#include "check.h"
#include "corpus.h"
#include "floor.h"
#include "library.h"

namespace {

using namespace bench;
using benchmark::State;

constexpr size_t kEdits = 10000;
constexpr const char *kLogAttribute = "host";
constexpr size_t kOrders = 60;  // of those in 64 KiB

// Freed memory stays with the process, so that no benchmark pays for page faults.
void keepHeapWarm() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, 2000 * 1024 * 1024);
  mallopt(M_TOP_PAD, 64 * 1024 * 1024);
}

struct Release {
  void (*release)(Document);
  void operator()(void *document) const { release(document); }
};
using Held = std::unique_ptr<void, Release>;

Held parse(const Corpus &corpus, const Subject &subject) {
  return Held(subject.parse(corpus.input), {subject.release});
}

void countBytes(State &state, const Corpus &corpus) {
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(corpus.input.size()));
}

// Every run begins in the same state, whatever ran before: the free memory is one chunk again, and
// the memory that one parse of the document takes has been touched.
void levelHeap(const Corpus &corpus, const Subject &subject) {
  malloc_trim(0);
  parse(corpus, subject);
}

// Each of these measures one operation, and fails the run if the result is wrong.
using Operation = void (*)(State &, const Corpus &, const Subject &);

void runParse(State &state, const Corpus &corpus, const Subject &subject) {
  while (state.KeepRunning()) {
    Document document = subject.parse(corpus.input);
    benchmark::DoNotOptimize(document);
    subject.release(document);
  }
}

// Includes the work that some libraries postpone until a string is read.
void runRead(State &state, const Corpus &corpus, const Subject &subject) {
  while (state.KeepRunning()) {
    Document document = subject.parse(corpus.input);
    benchmark::DoNotOptimize(subject.walk(document));
    subject.release(document);
  }
}

void runWalk(State &state, const Corpus &corpus, const Subject &subject) {
  const Held document = parse(corpus, subject);
  while (state.KeepRunning()) benchmark::DoNotOptimize(subject.walk(document.get()));
}

void runPrint(State &state, const Corpus &corpus, const Subject &subject) {
  const Held document = parse(corpus, subject);
  Corpus printed{corpus.name, ""};
  subject.print(document.get(), &printed.input);
  const Held again = parse(printed, subject);
  if (!again || !(subject.inspect(again.get()) == subject.inspect(document.get()))) {
    return state.SkipWithError("the printed document does not parse to the same tree");
  }
  while (state.KeepRunning()) benchmark::DoNotOptimize(subject.print(document.get(), nullptr));
}

void runClone(State &state, const Corpus &corpus, const Subject &subject) {
  const Held document = parse(corpus, subject);
  const Held copy(subject.clone(document.get()), {subject.release});
  if (!copy || !(subject.inspect(copy.get()) == subject.inspect(document.get()))) {
    return state.SkipWithError("the copy is not the same tree");
  }
  while (state.KeepRunning()) subject.release(subject.clone(document.get()));
}

void runFind(State &state, const Corpus &corpus, const Subject &subject) {
  const std::vector<Path> paths = orderPaths(kOrders);
  const Held document = parse(corpus, subject);
  const Held expected = parse(corpus, subjects().front());
  for (const Path &path : paths) {
    const char *found = subject.find(document.get(), path);
    const char *right = subjects().front().find(expected.get(), path);
    if (!found || !right || std::string_view(found) != right) {
      return state.SkipWithError("a path leads elsewhere");
    }
  }
  while (state.KeepRunning()) {
    for (const Path &path : paths) benchmark::DoNotOptimize(subject.find(document.get(), path));
  }
}

void runAttribute(State &state, const Corpus &corpus, const Subject &subject) {
  const Held document = parse(corpus, subject);
  const Held expected = parse(corpus, subjects().front());
  const size_t right = subjects().front().readAttribute(expected.get(), kLogAttribute);
  if (right == 0 || subject.readAttribute(document.get(), kLogAttribute) != right) {
    return state.SkipWithError("another sum");
  }
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(subject.readAttribute(document.get(), kLogAttribute));
  }
}

void runNumbers(State &state, const Corpus &corpus, const Subject &subject) {
  const Held document = parse(corpus, subject);
  const Held expected = parse(corpus, subjects().front());
  if (subject.addNumbers(document.get()) != subjects().front().addNumbers(expected.get())) {
    return state.SkipWithError("another sum");
  }
  while (state.KeepRunning()) benchmark::DoNotOptimize(subject.addNumbers(document.get()));
}

void runEdit(State &state, const Corpus &expected, const Subject &subject) {
  const Held edited(subject.edit(kEdits), {subject.release});
  const Held right = parse(expected, subjects().front());
  if (!(subject.inspect(edited.get()) == subjects().front().inspect(right.get()))) {
    return state.SkipWithError("another document");
  }
  while (state.KeepRunning()) subject.release(subject.edit(kEdits));
}

// The document that edit() must build.
Corpus editedCorpus() {
  std::string xml = std::string("<") + kListName + ">";
  for (size_t i = 0; i < kEdits; ++i) {
    xml.append("<").append(kItemName).append(" ").append(kItemAttribute).append("=\"");
    xml.append(kItemNewState).append("\">").append(std::to_string(i));
    xml.append("</").append(kItemName).append(">");
  }
  return {"list-10000", xml.append("</").append(kListName).append(">")};
}

void add(const char *name, const Corpus &corpus, const Subject &subject, Operation operation) {
  const std::string fullName = std::string(name) + "/" + corpus.name + "/" + subject.id();
  // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the library keeps it
  benchmark::RegisterBenchmark(fullName.c_str(), [&corpus, &subject, operation](State &state) {
    const Verdict &verdict = check(corpus, subject);
    if (!verdict.refusal.empty()) return state.SkipWithError(verdict.refusal.c_str());
    levelHeap(corpus, subject);
    operation(state, corpus, subject);
    countBytes(state, corpus);
    state.SetLabel(verdict.note);
  });
}

void addFloor(const Corpus &corpus) {
  const std::string name = "parse/" + corpus.name + "/floor/allocate";
  // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the library keeps it
  benchmark::RegisterBenchmark(name.c_str(), [&corpus](State &state) {
    const Floor floor(corpus.input);
    if (floor.empty()) return state.SkipWithError("NEB XML does not accept the document");
    malloc_trim(0);
    floor.allocate();
    while (state.KeepRunning()) benchmark::DoNotOptimize(floor.allocate());
    countBytes(state, corpus);
  });
}

struct Kind {
  const char *name;
  bool (*offered)(const Subject &);
  Operation operation;
  std::vector<std::string> documents;  // empty: all
};

const std::vector<Kind> &kinds() {
  static const std::vector<std::string> bodies = {"orders-1M", "freedesktop.org.xml"};
  static const std::vector<Kind> list = {
      {"parse", [](const Subject &s) { return !s.isWrapper; }, runParse, {}},
      {"read", [](const Subject &s) { return s.walk && s.print; }, runRead, bodies},
      {"walk", [](const Subject &s) { return s.walk != nullptr; }, runWalk, bodies},
      {"print", [](const Subject &s) { return s.print != nullptr; }, runPrint, bodies},
      {"clone", [](const Subject &s) { return s.clone != nullptr; }, runClone, bodies},
      {"find", [](const Subject &s) { return s.find != nullptr; }, runFind, {"orders-64K"}},
      {"attribute",
       [](const Subject &s) { return s.readAttribute != nullptr; },
       runAttribute,
       {"logs-64K"}},
      {"numbers",
       [](const Subject &s) { return s.addNumbers != nullptr; },
       runNumbers,
       {"numbers-128K"}},
      {"edit", [](const Subject &s) { return s.edit != nullptr; }, runEdit, {"list-10000"}},
  };
  return list;
}

void addAll(const std::vector<Corpus> &corpora) {
  static const Corpus edited = editedCorpus();
  for (const Kind &kind : kinds()) {
    std::vector<const Corpus *> documents;
    for (const std::string &name : kind.documents) {
      const Corpus *corpus = name == edited.name ? &edited : findCorpus(corpora, name);
      if (corpus) documents.push_back(corpus);
    }
    if (kind.documents.empty()) {
      for (const Corpus &corpus : corpora) documents.push_back(&corpus);
    }
    for (const Corpus *corpus : documents) {
      if (kind.operation == runParse) addFloor(*corpus);
      for (const Subject &subject : subjects()) {
        if (kind.offered(subject)) add(kind.name, *corpus, subject, kind.operation);
      }
    }
  }
}

// For the report: the versions of the libraries, and the lengths of the documents.
void describe(const std::vector<Corpus> &corpora) {
  std::set<std::string> described;
  for (const Subject &subject : subjects()) {
    if (described.insert(subject.library).second) {
      benchmark::AddCustomContext("version " + subject.library, subject.version);
    }
  }
  for (const Corpus &corpus : corpora) {
    benchmark::AddCustomContext("bytes " + corpus.name, std::to_string(corpus.input.size()));
  }
}

// Reported once, instead of at every benchmark of the document.
bool isRefused(const Corpus &corpus) {
  const std::string &reason = check(corpus, subjects().front()).refusal;
  if (!reason.empty()) benchmark::AddCustomContext("skipped " + corpus.name, reason);
  return !reason.empty();
}

}  // namespace

int main(int argc, char **argv) {
  keepHeapWarm();
  benchmark::Initialize(&argc, argv);
  bool large = false;
  std::string folder;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--large") {
      large = true;
    } else if (argument.starts_with("--corpus=")) {
      folder = argument.substr(std::string_view("--corpus=").size());
    } else {
      std::fprintf(stderr, "unknown argument: %s\n", argv[i]);
      return 2;
    }
  }
  std::vector<Corpus> corpora = generatedCorpora(large);
  for (Corpus &corpus : realCorpora(folder)) corpora.push_back(std::move(corpus));
  describe(corpora);
  std::erase_if(corpora, isRefused);
  addAll(corpora);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
