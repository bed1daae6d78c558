// How a document begins: a byte order mark, or bytes of another encoding than UTF-8.
#pragma once

#include <cstddef>

namespace neb::xml::internal {

struct EncodingMark {
  size_t length;       // of the mark of UTF-8; else 0
  const char *reason;  // why the document cannot be read; null if it may be UTF-8
};

EncodingMark findEncodingMark(const char *bytes, size_t length);

}  // namespace neb::xml::internal
