// Memory beside pages that cannot be read: a byte too far ends the test, in any build.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "neb_xml.h"
#include "support/guarded_hooks.h"

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

  // The bytes with such a page right behind them.
  char *before(std::string_view bytes) const { return fill(begin_ + size_ - bytes.size(), bytes); }
  // And with one right before them.
  char *behind(std::string_view bytes) const { return fill(begin_, bytes); }
  // The terminator is the last byte.
  char *text(const std::string &text) const { return before({text.c_str(), text.size() + 1}); }

 private:
  static char *fill(char *to, std::string_view bytes) {
    std::copy(bytes.begin(), bytes.end(), to);
    return to;
  }
  static constexpr size_t kPage = 4096;
  size_t size_;
  char *begin_;
};

// While it lives, each allocation ends at such a page, but for what aligns it. What is made meanwhile
// has to be given back meanwhile.
class PageHooks {
 public:
  PageHooks() {
    outstanding_ = 0;
    NEB_XML_RegMemFunc(
        allocate, [](size_t count, size_t size) { return allocate(count * size); }, release);
  }
  ~PageHooks() {
    registerHooks();
    EXPECT_EQ(outstanding_, 0U);
  }
  PageHooks(const PageHooks &) = delete;
  PageHooks &operator=(const PageHooks &) = delete;

 private:
  static void *allocate(size_t size) {
    ++outstanding_;
    const size_t aligned = (size + alignof(void *) - 1) / alignof(void *) * alignof(void *);
    auto *edge = new PageEdge(aligned + sizeof(PageEdge *));
    char *piece = edge->before(std::string(aligned, '\0'));
    std::memcpy(piece - sizeof edge, &edge, sizeof edge);
    return piece;
  }
  static void release(void *piece) {
    --outstanding_;
    PageEdge *edge = nullptr;
    std::memcpy(&edge, static_cast<char *>(piece) - sizeof edge, sizeof edge);
    delete edge;
  }
  static inline size_t outstanding_;
};

}  // namespace guarded
