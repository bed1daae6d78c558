// Memory between unreadable pages: a read beyond it ends the test, in any build.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "support/pages.h"

namespace guarded {

class PageEdge {
 public:
  PageEdge(size_t size) : size_((size + kPage - 1) / kPage * kPage) {
    char *memory = reservePages(size_ + 2 * kPage);
    if (memory == nullptr || !makeAccessible(memory + kPage, size_)) std::abort();
    begin_ = memory + kPage;
  }
  ~PageEdge() { freePages(begin_ - kPage, size_ + 2 * kPage); }
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
  static inline const size_t kPage = pageSize();
  size_t size_;
  char *begin_;
};

}  // namespace guarded
