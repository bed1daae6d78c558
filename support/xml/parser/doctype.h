// Skipping a document type declaration in strict reading.
#pragma once

namespace neb::xml::internal {

struct DoctypeEnd {
  const char *at;      // behind the declaration, or where it is wrong
  const char *reason;  // null if it is not wrong
};

// Of the declaration that begins here. Quotes, comments, processing instructions and the internal
// subset are recognised, so that what is in them ends nothing. Nothing else in them is checked.
DoctypeEnd findDoctypeEnd(const char *doctype);

}  // namespace neb::xml::internal
