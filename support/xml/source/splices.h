// A new document from an old one: which parts are replaced by what.
#pragma once

#include <cstddef>
#include <cstdint>

#include "source/heap_array.h"
#include "source/source_document.h"

namespace neb::xml::internal {

// What follows what if several splices begin at one position.
enum class SpliceRank : uint8_t {
  behind,  // what is inserted behind a node, the last one first
  before,
  other,
};

// Replaces the bytes between two positions, or inserts there. One may lie in the bytes that another
// one removes: it then comes behind these.
struct Splice {
  const char *begin;
  const char *end;
  SpliceRank rank;
  size_t order;  // within the rank
  size_t text;   // where the new bytes begin, in all that is inserted
  size_t textEnd;
};

class Splices {
 public:
  bool make(size_t most) { return splices_.make(most); }
  void add(const Splice &splice) { splices_.add(splice); }

  // Passes on the new document. Returns what the sink returns.
  uint32_t write(const SourceDocument &document, const char *text, NEB_XML_SINK sink,
                 void *context);

 private:
  HeapArray<Splice> splices_;
};

// Passes bytes on in parts that are not too long.
uint32_t passOn(const char *begin, const char *end, NEB_XML_SINK sink, void *context);

}  // namespace neb::xml::internal
