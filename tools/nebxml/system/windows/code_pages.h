// The encodings of Windows, which have numbers, by the names that documents declare.
#pragma once

#include <string_view>

namespace nebxml {

// Whether a name is another one, which is in upper case, but for the case of letters.
bool isName(std::string_view name, std::string_view other);

// A code page that Windows converts in both directions without guessing; 0 if there is none.
unsigned codePageNamed(std::string_view name);

}  // namespace nebxml
