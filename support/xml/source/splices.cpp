#include "source/splices.h"

#include <algorithm>
#include <tuple>

namespace neb::xml::internal {

namespace {

constexpr size_t kLongestPart = size_t{16} * 1024;

bool beginsBefore(const Splice &a, const Splice &b) {
  return std::tuple(a.begin, a.rank, a.order) < std::tuple(b.begin, b.rank, b.order);
}

}  // namespace

uint32_t passOn(const char *begin, const char *end, NEB_XML_SINK sink, void *context) {
  while (begin < end) {
    const size_t length = std::min(static_cast<size_t>(end - begin), kLongestPart);
    const uint32_t result = sink(context, begin, length);
    if (result != NEB_XML_OK) return result;
    begin += length;
  }
  return NEB_XML_OK;
}

uint32_t Splices::write(const SourceDocument &document, const char *text, NEB_XML_SINK sink,
                        void *context) {
  std::sort(splices_.begin(), splices_.end(), beginsBefore);
  const char *kept = document.begin();
  for (const Splice &splice : splices_) {
    uint32_t result = passOn(kept, std::max(kept, splice.begin), sink, context);
    if (result == NEB_XML_OK) {
      result = passOn(text + splice.text, text + splice.textEnd, sink, context);
    }
    if (result != NEB_XML_OK) return result;
    kept = std::max(kept, splice.end);
  }
  return passOn(kept, document.end(), sink, context);
}

}  // namespace neb::xml::internal
