// The two languages that the parser reads.
#pragma once

#include "parser/strict_tokenizer.h"
#include "parser/tokenizer.h"

namespace neb::xml::internal {

// What the library has always accepted.
struct LenientLanguage {
  static constexpr bool kIsStrict = false;
  template <typename Builder>
  using TokenizerOf = Tokenizer<Builder>;
};

// What XML 1.0 calls well-formed.
struct StrictLanguage {
  static constexpr bool kIsStrict = true;
  template <typename Builder>
  using TokenizerOf = StrictTokenizer<Builder>;
};

}  // namespace neb::xml::internal
