/*
 * What keeps a document from being written.
 */
#ifndef NEBXML_UNWRITABLE_H
#define NEBXML_UNWRITABLE_H

#include <string>

#include "document.h"

namespace nebxml {

/** Names the first element or attribute that the printer refuses. Linear in the document. */
std::string firstUnwritable(const Document &document);

}  // namespace nebxml

#endif
