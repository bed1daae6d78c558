// The growable text buffer.
#include <algorithm>
#include <cstring>

#include "memory/hooks.h"
#include "memory/terminator.h"
#include "platform/bounded_memory.h"

namespace neb::xml::internal {

static_assert(offsetof(XmlMemBuf, data) == 0);
static_assert(offsetof(XmlMemBuf, length) == sizeof(void *));
static_assert(offsetof(XmlMemBuf, capacity) == sizeof(void *) + 4);
static_assert(offsetof(XmlMemBuf, growStep) == sizeof(void *) + 8);
static_assert(sizeof(XmlMemBuf) == 2 * sizeof(void *) + 8);

namespace {

constexpr uint32_t kGrowStep = 1024;
constexpr XmlMemBuf kEmptyBuffer = {nullptr, 0, 0, kGrowStep};

bool fits32Bits(uint64_t length) { return length <= UINT32_MAX; }

// The capacity to reallocate to; the present one when the buffer is neither too small nor too
// large for the wanted length. May pass 32 bits.
uint64_t capacityFor(const XmlMemBuf &buffer, uint32_t wanted) {
  if (wanted >= buffer.length) {
    if (buffer.capacity >= wanted) return buffer.capacity;
    return uint64_t{buffer.capacity} + std::max(wanted - buffer.length, buffer.growStep);
  }
  if (buffer.capacity - wanted <= buffer.growStep) return buffer.capacity;
  return uint64_t{wanted} + buffer.growStep;
}

char *allocateData(uint64_t capacity) {
  if (!fits32Bits(capacity)) return nullptr;
  return static_cast<char *>(allocateOnHeap(sumOf(static_cast<size_t>(capacity), kTerminator)));
}

// Makes room for a wanted length; the content is kept when that is not below the present length.
uint32_t XML_MembufSetSize(XmlMemBuf *buffer, uint32_t wanted) {
  uint64_t capacity = capacityFor(*buffer, wanted);
  if (capacity == buffer->capacity) return NEB_XML_OK;
  char *data = allocateData(capacity);
  if (data == nullptr) {
    capacity = wanted;
    data = allocateData(capacity);
  }
  if (data == nullptr) return NEB_XML_ERR_NO_MEMORY;
  if (buffer->data != nullptr) {
    const bool keepsContent = wanted >= buffer->length;
    if (keepsContent) {
      platform::memcpy_s(data, static_cast<size_t>(capacity) + kTerminator, buffer->data,
                         buffer->capacity + kTerminator);
    }
    freeOnHeap(buffer->data);
  }
  buffer->data = data;
  buffer->capacity = static_cast<uint32_t>(capacity);
  return NEB_XML_OK;
}

uint32_t assign(XmlMemBuf *buffer, const char *bytes, size_t count) {
  if (!fits32Bits(count)) return NEB_XML_ERR_NO_MEMORY;
  const uint32_t result = XML_MembufSetSize(buffer, static_cast<uint32_t>(count));
  if (result != NEB_XML_OK) return result;
  if (buffer->data == nullptr) return NEB_XML_OK;  // nothing assigned to a buffer without data
  platform::memcpy_s(buffer->data, buffer->capacity, bytes, count);
  buffer->data[count] = '\0';
  buffer->length = static_cast<uint32_t>(count);
  return NEB_XML_OK;
}

uint32_t insert(XmlMemBuf *buffer, const char *bytes, size_t count, uint32_t position) {
  const uint32_t length = buffer->length;
  if (!fits32Bits(length + uint64_t{count})) return NEB_XML_ERR_NO_MEMORY;
  const uint32_t result = XML_MembufSetSize(buffer, static_cast<uint32_t>(length + count));
  if (result != NEB_XML_OK) return result;
  char *gap = buffer->data + position;
  const size_t room = buffer->capacity - position;
  platform::memmove_s(gap + count, room - count, gap, length - position);
  platform::memcpy_s(gap, room, bytes, count);
  buffer->length = static_cast<uint32_t>(length + count);
  buffer->data[buffer->length] = '\0';
  return NEB_XML_OK;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

void XML_MembufInit(XmlMemBuf *buffer) {
  if (buffer != nullptr) *buffer = kEmptyBuffer;
}

void XML_MembufDestroy(XmlMemBuf *buffer) {
  if (buffer == nullptr) return;
  freeOnHeap(buffer->data);
  *buffer = kEmptyBuffer;
}

uint32_t XML_MemBufAssign(XmlMemBuf *buffer, const char *bytes, uint32_t count) {
  if (buffer == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (bytes == nullptr) {
    XML_MembufDestroy(buffer);
    return NEB_XML_OK;
  }
  return assign(buffer, bytes, count);
}

uint32_t XML_MemBufAssignStr(XmlMemBuf *buffer, const char *text) {
  if (buffer == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (text == nullptr) {
    XML_MembufDestroy(buffer);
    return NEB_XML_OK;
  }
  return assign(buffer, text, std::strlen(text));
}

uint32_t XML_MemBufAppend(XmlMemBuf *buffer, const char *character) {
  if (buffer == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (character == nullptr) return NEB_XML_OK;
  return insert(buffer, character, 1, buffer->length);
}

uint32_t XML_MemBufInsert(XmlMemBuf *buffer, const char *bytes, uint32_t count, uint32_t position) {
  if (buffer == nullptr || position > buffer->length) return NEB_XML_ERR_INVALID_PARAM;
  if (bytes == nullptr || count == 0) return NEB_XML_OK;
  return insert(buffer, bytes, count, position);
}

uint32_t XML_MemBufAppendStr(XmlMemBuf *buffer, const char *text) {
  if (buffer == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (text == nullptr || *text == '\0') return NEB_XML_OK;
  return insert(buffer, text, std::strlen(text), buffer->length);
}
