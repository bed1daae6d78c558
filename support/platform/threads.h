// Threads, as far as the system has them.
#pragma once

#include <atomic>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace neb::platform {

#if defined(NEB_XML_NO_THREADS)

// A program that asks for it has one thread, perhaps on a processor without atomic instructions.
template <typename Value>
class Atomic {
 public:
  constexpr Atomic(Value value = {}) : value_(value) {}
  Atomic(const Atomic &) = delete;
  Atomic &operator=(const Atomic &) = delete;

  Value load(std::memory_order /*order*/ = {}) const { return value_; }
  void store(Value value, std::memory_order /*order*/ = {}) { value_ = value; }

  Value exchange(Value value) {
    const Value before = value_;
    value_ = value;
    return before;
  }
  Value fetch_add(Value count, std::memory_order /*order*/ = {}) {
    const Value before = value_;
    value_ += count;
    return before;
  }
  Value fetch_sub(Value count, std::memory_order /*order*/ = {}) {
    const Value before = value_;
    value_ -= count;
    return before;
  }

  bool compare_exchange_strong(Value &expected, Value value, std::memory_order /*order*/ = {}) {
    const bool isExpected = value_ == expected;
    (isExpected ? value_ : expected) = isExpected ? value : value_;
    return isExpected;
  }
  bool compare_exchange_weak(Value &expected, Value value) {
    return compare_exchange_strong(expected, value);
  }

 private:
  Value value_;
};

#else

template <typename Value>
using Atomic = std::atomic<Value>;

#endif

// True if no other thread can exist. False says nothing.
inline bool isSingleThreaded() {
#if defined(NEB_XML_NO_THREADS)
  return true;
#elif __has_include(<sys/single_threaded.h>)
  return __libc_single_threaded != 0;
#else
  return false;
#endif
}

}  // namespace neb::platform
