// The document that a tree was read from.
#pragma once

#include "parser/parser.h"
#include "source/target.h"

namespace neb::xml::internal {

class SourceDocument {
 public:
  SourceDocument(const char *bytes, size_t length) : bytes_(bytes), length_(length) {}

  // Reads the document strictly, compares it with a tree and finds the targets in it. Returns
  // NEB_XML_OK, NEB_XML_ERR_SYNTAX, NEB_XML_ERR_NO_MEMORY, or NEB_XML_ERR_NOT_FOUND if tree and
  // document differ or a target is not in the tree. Locations are in a copy of the bytes.
  uint32_t match(const XmlNode *root, Targets *targets);

  // All bytes of the copy, a byte order mark included; terminated.
  const char *begin() const { return copy_.text(); }
  const char *end() const { return copy_.text() + length_; }

  size_t offsetOf(const char *position) const { return static_cast<size_t>(position - begin()); }

  // Whether the document says that it holds ASCII only.
  bool isAscii() const { return isAscii_; }

 private:
  uint32_t read(const XmlNode *root, Targets *targets);

  const char *bytes_;
  size_t length_;
  LoadedDocument copy_;
  bool isAscii_ = false;
};

}  // namespace neb::xml::internal
