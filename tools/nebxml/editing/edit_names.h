// The names that an edit brings into a document.
#pragma once

#include "documents/encoding.h"
#include "neb_xml.h"

namespace nebxml {

// Whether the document's encoding has the characters of all new names. No reference can stand for
// one that it lacks.
bool canEncodeNames(const Encoding &encoding, const NEB_XML_EDIT &edit);

}  // namespace nebxml
