// Why a pattern finds nothing.
#pragma once

#include <string>

#include "documents/document.h"

namespace nebxml {

// Names the first step of the pattern that nothing matches, and what is there instead.
std::string missingStep(const Document &document, const std::string &pattern);

}  // namespace nebxml
