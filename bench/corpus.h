// The texts that are measured: made ones, the same at every run, and real files.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "library.h"

namespace bench {

struct Corpus {
  std::string name;
  std::string text;
  size_t depth = 0;  // of its deepest element, where that is a lot
};

// In the order of the report. large adds one of 300 MB.
std::vector<Corpus> madeCorpora(bool large);

// The files of a folder, by name; none when there is no such folder.
std::vector<Corpus> realCorpora(const std::string &folder);

// The one of that name; null when there is none.
const Corpus *findCorpus(const std::vector<Corpus> &corpora, const std::string &name);

// Into any text of orders that has at least that many.
std::vector<Path> orderPaths(size_t orders);

}  // namespace bench
