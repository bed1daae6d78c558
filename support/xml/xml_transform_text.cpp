#include "xml_transform_text.h"

#include "neb_xml.h"

namespace {

constexpr size_t kFirstCapacity = 1024;
constexpr size_t kLargestCapacity = UINT32_MAX;

}  // namespace

PrintedText::~PrintedText() { XML_Free(nullptr, text_); }

bool PrintedText::grow(size_t count) {
  if (hasFailed_) return false;
  const size_t held = length();
  size_t capacity = text_ == nullptr ? kFirstCapacity : 2 * static_cast<size_t>(end_ - text_);
  if (capacity - held < count) capacity = held + count;
  if (capacity > kLargestCapacity) capacity = kLargestCapacity;
  char *text = nullptr;
  if (capacity - held >= count) text = static_cast<char *>(XML_Malloc(nullptr, capacity));
  if (text == nullptr) {
    hasFailed_ = true;
    return false;
  }
  if (text_ != nullptr) std::memcpy(text, text_, held);
  XML_Free(nullptr, text_);
  text_ = text;
  place_ = text + held;
  end_ = text + capacity;
  return true;
}

char *PrintedText::handOut() const {
  const size_t held = length();
  if (hasFailed_) return nullptr;
  auto *text = static_cast<char *>(XML_Malloc(nullptr, held + 1));
  if (text == nullptr) return nullptr;
  std::memcpy(text, text_, held);
  text[held] = '\0';
  return text;
}
