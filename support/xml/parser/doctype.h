// Skipping a document type declaration in strict reading.
#pragma once

namespace neb::xml::internal {

struct DoctypeEnd {
  const char *at;      // behind the declaration, or where it is wrong
  const char *reason;  // null if it is not wrong
};

// Of the declaration that begins here. Its name, external identifier and brackets are checked, and
// that only declarations, references, comments and processing instructions are in the internal
// subset. What is inside of these is not checked.
DoctypeEnd findDoctypeEnd(const char *doctype);

}  // namespace neb::xml::internal
