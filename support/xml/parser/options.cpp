#include "parser/options.h"

#include <algorithm>
#include <cstring>

namespace neb::xml::internal {

namespace {

// The limit that a field names.
size_t limitOf(size_t field) { return field == 0 ? SIZE_MAX : field; }

bool isZero(const char *begin, const char *end) {
  return std::all_of(begin, end, [](char byte) { return byte == 0; });
}

// Copies the fields that the record has. Those of later versions must not be used.
bool copyKnown(const NEB_XML_READ_OPTIONS *options, NEB_XML_READ_OPTIONS *known) {
  const auto *bytes = reinterpret_cast<const char *>(options);
  const size_t size = options->size;
  if (size == 0) return isZero(bytes, bytes + sizeof *options);
  if (size < sizeof *options) return false;  // smaller than the first version
  std::memcpy(known, options, sizeof *known);
  return isZero(bytes + sizeof *options, bytes + size);
}

}  // namespace

bool readOptions(const NEB_XML_READ_OPTIONS *options, ReadRequest *request, MemoryLimit *limit) {
  request->isStrict = true;
  request->withSession = true;
  if (options == nullptr) return true;
  NEB_XML_READ_OPTIONS known = {};
  if (!copyKnown(options, &known)) return false;
  request->message = known.message;
  request->messageSize = known.messageSize;
  request->refusesDoctype = (known.flags & NEB_XML_PARSE_NO_DOCTYPE) != 0;
  request->limits = {limitOf(known.maxDepth), limitOf(known.maxNodes)};
  request->allocator = {known.allocate, known.release, known.context, nullptr};
  if (known.maxBytes != 0) {
    *limit = MemoryLimit(known.maxBytes);
    request->allocator.limit = limit;
  }
  const bool isAllocatorWhole = (known.allocate == nullptr) == (known.release == nullptr);
  return (known.flags & ~uint32_t{NEB_XML_PARSE_NO_DOCTYPE}) == 0 && isAllocatorWhole;
}

}  // namespace neb::xml::internal
