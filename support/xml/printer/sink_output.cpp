#include "printer/sink_output.h"

#include <algorithm>

#include "memory/sizes.h"

namespace neb::xml::internal {

SinkOutput::~SinkOutput() { XML_Free(nullptr, enlarged_); }

char *SinkOutput::addRoom(char *cursor, uint64_t count) {
  end(cursor);
  if (result_ != NEB_XML_OK) return nullptr;
  return count <= static_cast<size_t>(wideEnd_ - begin_) || enlarge(count) ? begin_ : nullptr;
}

bool SinkOutput::enlarge(uint64_t room) {
  XML_Free(nullptr, enlarged_);
  enlarged_ = nullptr;
  if (room <= kLargestObject - kSlack) {
    enlarged_ = static_cast<char *>(XML_Malloc(nullptr, static_cast<size_t>(room) + kSlack));
  }
  if (enlarged_ == nullptr) return refuse(NEB_XML_ERR_NO_MEMORY) != nullptr;
  begin_ = enlarged_;
  wideEnd_ = enlarged_ + room;
  return true;
}

void SinkOutput::end(const char *cursor) {
  if (result_ != NEB_XML_OK) return;
  for (const char *from = begin_; from != cursor && result_ == NEB_XML_OK;) {
    const size_t length = std::min(static_cast<size_t>(cursor - from), kLongestChunk);
    result_ = sink_(context_, from, length);
    from += length;
  }
}

}  // namespace neb::xml::internal
