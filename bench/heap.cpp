// The heap that each library takes for a parsed document. The allocator itself counts the usable
// size and the header of every chunk, for every caller. Prints JSON.
//
//   neb_xml_heap [--corpus=FOLDER]
#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <string_view>

#include "check.h"
#include "corpus.h"
#include "library.h"

// The C library's own names for its allocator.
extern "C" {
void *__libc_malloc(size_t size);                      // NOLINT(bugprone-reserved-identifier)
void *__libc_calloc(size_t count, size_t size);        // NOLINT(bugprone-reserved-identifier)
void *__libc_realloc(void *memory, size_t size);       // NOLINT(bugprone-reserved-identifier)
void *__libc_memalign(size_t alignment, size_t size);  // NOLINT(bugprone-reserved-identifier)
void __libc_free(void *memory);                        // NOLINT(bugprone-reserved-identifier)
}

namespace {

size_t live = 0;
size_t peak = 0;

size_t chunkSize(void *memory) { return memory ? malloc_usable_size(memory) + sizeof(size_t) : 0; }

void *taken(void *memory) {
  live += chunkSize(memory);
  peak = std::max(peak, live);
  return memory;
}

}  // namespace

extern "C" {

void *malloc(size_t size) { return taken(__libc_malloc(size)); }

void *calloc(size_t count, size_t size) { return taken(__libc_calloc(count, size)); }

void *realloc(void *memory, size_t size) {
  const size_t before = chunkSize(memory);
  void *moved = __libc_realloc(memory, size);
  if (moved || size == 0) live -= before;
  return taken(moved);
}

void *memalign(size_t alignment, size_t size) { return taken(__libc_memalign(alignment, size)); }

void *aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }

int posix_memalign(void **memory, size_t alignment, size_t size) {
  void *allocated = memalign(alignment, size);
  if (!allocated) return ENOMEM;
  *memory = allocated;
  return 0;
}

void free(void *memory) {
  live -= chunkSize(memory);
  __libc_free(memory);
}

}  // extern "C"

int main(int argc, char **argv) {
  using namespace bench;
  std::string folder;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument.starts_with("--corpus=")) folder = argument.substr(9);
  }
  std::vector<Corpus> corpora = generatedCorpora(false);
  for (Corpus &corpus : realCorpora(folder)) corpora.push_back(std::move(corpus));
  const char *separator = "[";
  for (const Corpus &corpus : corpora) {
    for (const Subject &subject : subjects()) {
      if (subject.isWrapper || !check(corpus, subject).refusal.empty()) continue;
      const size_t before = live;
      peak = live;
      Document document = subject.parse(corpus.input);
      const size_t held = live - before;
      const size_t most = peak - before;
      subject.release(document);
      std::printf(
          "%s\n{\"document\": \"%s\", \"subject\": \"%s\", \"bytes\": %zu, \"held\": %zu, "
          "\"peak\": %zu, \"left\": %zu}",
          separator, corpus.name.c_str(), subject.id().c_str(), corpus.input.size(), held, most,
          live - before);
      separator = ",";
    }
  }
  std::printf("\n]\n");
  return 0;
}
