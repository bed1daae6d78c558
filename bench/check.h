// Whether a library does the work that is to be measured: the same tree, found the same way.
#pragma once

#include <string>

#include "corpus.h"
#include "library.h"

namespace bench {

struct Verdict {
  std::string refusal;  // why there is nothing to measure; empty when there is
  std::string note;     // what the library sees differently, if little
};

// Parses the text with the subject and with the first of all subjects, and compares the trees. As
// many elements are demanded, and attributes and characters within one percent.
const Verdict &check(const Corpus &corpus, const Subject &subject);

// As text, for the notes.
std::string difference(const Census &expected, const Census &seen);

}  // namespace bench
