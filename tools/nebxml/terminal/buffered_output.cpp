#include "terminal/buffered_output.h"

namespace nebxml {
namespace {

constexpr size_t kLarge = 65536;

}  // namespace

void BufferedOutput::flushIfLarge() {
  if (text_.size() >= kLarge) flush();
}

void BufferedOutput::flush() {
  write_(text_);
  text_.clear();
}

}  // namespace nebxml
