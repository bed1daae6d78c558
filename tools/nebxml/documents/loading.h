// Reading a document from a file, a pipe or standard input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "documents/encoding.h"
#include "documents/tree.h"

namespace nebxml {

// How documents are read: as XML 1.0 requires, or with all that the older parse functions accept.
enum class Reading { strict, lenient };

struct ReadingOptions {
  Reading language = Reading::strict;
  std::string encoding;   // of the file; empty: as its mark or its declaration says
  uint32_t maxDepth = 0;  // of elements inside each other, in strict reading; 0: no limit
  uint64_t maxBytes = 0;  // of the file; 0: no limit
};

// Throws CommandError.
//
// bytes     receives the content of the file in UTF-8. It ends soon after the first NUL byte, which
//           no document may contain, unless the encoding has such bytes.
// encoding  receives what the file is encoded in
Tree loadDocument(const std::string &fileName, const ReadingOptions &options, std::string &bytes,
                  Encoding &encoding);

}  // namespace nebxml
