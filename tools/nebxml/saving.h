/*
 * From a document to a file or standard output.
 */
#ifndef NEBXML_SAVING_H
#define NEBXML_SAVING_H

#include <cstdint>
#include <string>

#include "document.h"

namespace nebxml {

/** Where a document goes, and how it is laid out there. */
struct Destination {
  std::string fileName{standardStream};
  bool inPlace = false;
  bool hasDeclaration = false;  ///< Not in place.
  std::uint32_t indent = 0;     ///< Spaces for each level.
};

/**
 * Writes a document whose text, parsed again, gives the same document; refuses any other before
 * something is written.
 */
void save(const Document &document, const Destination &destination);

}  // namespace nebxml

#endif
