// Whether a library does the work that is measured: it must build the same tree.
#pragma once

#include <string>

#include "corpus.h"
#include "library.h"

namespace bench {

struct Verdict {
  std::string refusal;  // why the library is not measured; empty if it is
  std::string note;     // what the library sees differently, if little
};

// Parses the document with the subject and with the first of all subjects, and compares the trees.
// Elements must be equal in number. Attributes and characters may differ by one percent.
const Verdict &check(const Corpus &corpus, const Subject &subject);

// As text, for the notes.
std::string difference(const Census &expected, const Census &seen);

}  // namespace bench
