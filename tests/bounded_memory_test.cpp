// Copies into memory whose capacity is known.
#include "platform/bounded_memory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace platform = neb::platform;

namespace {

constexpr char kSource[] = "0123456789";
constexpr size_t kLength = sizeof kSource - 1;

// Copies into memory of known capacity fail rather than overrun it, and then change nothing.
TEST(BoundedMemory, EachCallStaysWithinItsCapacity) {
  for (size_t capacity = 0; capacity <= kLength + 2; ++capacity) {
    for (size_t count = 0; count <= kLength; ++count) {
      SCOPED_TRACE(testing::Message() << count << " into " << capacity);
      const std::string before(kLength + 2, '.');
      const std::string bytes = std::string(kSource, count) + before.substr(count);
      const std::string text = std::string(kSource, count) + '\0' + before.substr(count + 1);
      const auto expect = [&](auto call, bool isDone, const std::string &after) {
        std::string area = before;
        EXPECT_EQ(call(area.data()), isDone ? 0 : ERANGE);
        EXPECT_EQ(area, isDone ? after : before);
      };
      expect([&](char *to) { return platform::memcpy_s(to, capacity, kSource, count); },
             count <= capacity, bytes);
      expect([&](char *to) { return platform::memmove_s(to, capacity, kSource, count); },
             count <= capacity, bytes);
      expect([&](char *to) { return platform::memset_s(to, capacity, '#', count); },
             count <= capacity, std::string(count, '#') + before.substr(count));
      expect([&](char *to) { return platform::strncpy_s(to, capacity, kSource, count); },
             count < capacity, text);
    }
  }
}

}  // namespace
