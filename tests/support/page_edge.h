// Memory between unreadable pages: a read beyond it ends the test, in any build.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

namespace guarded {

class PageEdge {
 public:
  PageEdge(size_t size) : size_((size + kPage - 1) / kPage * kPage) {
    void *memory = mmap(nullptr, size_ + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    begin_ = static_cast<char *>(memory) + kPage;
    if (memory == MAP_FAILED || mprotect(begin_, size_, PROT_READ | PROT_WRITE) != 0) std::abort();
  }
  ~PageEdge() { munmap(begin_ - kPage, size_ + 2 * kPage); }
  PageEdge(const PageEdge &) = delete;
  PageEdge &operator=(const PageEdge &) = delete;

  // The bytes, directly followed by an unreadable page.
  char *before(std::string_view bytes) const { return fill(begin_ + size_ - bytes.size(), bytes); }
  // The bytes, directly after an unreadable page.
  char *behind(std::string_view bytes) const { return fill(begin_, bytes); }
  // The terminator is the last byte.
  char *text(const std::string &text) const { return before({text.c_str(), text.size() + 1}); }

 private:
  static char *fill(char *to, std::string_view bytes) {
    std::copy(bytes.begin(), bytes.end(), to);
    return to;
  }
  static inline const auto kPage = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  size_t size_;
  char *begin_;
};

}  // namespace guarded
