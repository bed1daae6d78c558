#include "parser/options.h"

#include "record/options.h"

namespace neb::xml::internal {

namespace {

// The limit that a field names.
size_t limitOf(size_t field) { return field == 0 ? SIZE_MAX : field; }

}  // namespace

bool readOptions(const NEB_XML_READ_OPTIONS *options, ReadRequest *request, MemoryLimit *limit) {
  request->withSession = true;
  NEB_XML_READ_OPTIONS known;
  if (!takeOptions(options, &known)) return false;
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
