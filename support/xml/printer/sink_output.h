// What is being printed, on its way to a function of the caller.
#pragma once

#include <cstddef>
#include <cstdint>

#include "neb_xml.h"
#include "platform/compiler.h"
#include "printer/output.h"

namespace neb::xml::internal {

// The same as Output to the printer: a cursor with room behind it. When there is no room left, the
// function gets what has been written, and the room is used again. So nothing is allocated but for
// a name that is longer than the room, which the printer writes as a whole.
class SinkOutput {
 public:
  SinkOutput(NEB_XML_SINK sink, void *context) : sink_(sink), context_(context) {}
  ~SinkOutput();
  SinkOutput(const SinkOutput &) = delete;
  SinkOutput &operator=(const SinkOutput &) = delete;

  static constexpr size_t kSlack = Output::kSlack;
  static constexpr size_t kLongestChunk = size_t{platform::kIsSmall ? 1 : 16} * 1024;

  char *begin() { return begin_; }

  bool hasRoom(const char *cursor, uint64_t count) const {
    return static_cast<int64_t>(count) <= wideEnd_ - cursor;
  }

  char *withRoom(char *cursor, uint64_t count) {
    return hasRoom(cursor, count) ? cursor : addRoom(cursor, count);
  }

  char *refuse(uint32_t result) {
    if (result_ == NEB_XML_OK) result_ = result;
    return nullptr;
  }

  // Passes on the rest, unless there was a failure.
  void end(const char *cursor);

  uint32_t result() const { return result_; }

 private:
  static constexpr size_t kRoom = kLongestChunk - kSlack;

  NEB_XML_NOINLINE char *addRoom(char *cursor, uint64_t count);
  bool enlarge(uint64_t room);

  const NEB_XML_SINK sink_;
  void *const context_;
  uint32_t result_ = NEB_XML_OK;
  char *enlarged_ = nullptr;  // on the heap
  char small_[kLongestChunk];
  char *begin_ = small_;
  char *wideEnd_ = small_ + kRoom;  // without the slack
};

}  // namespace neb::xml::internal
