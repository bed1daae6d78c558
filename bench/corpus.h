// The documents that are measured: generated ones, the same in every run, and real files.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "library.h"

namespace bench {

struct Corpus {
  std::string name;
  std::string input;
  size_t depth = 0;  // of its deepest element, if that is large
};

// In the order of the report. large adds one of 300 MB.
std::vector<Corpus> generatedCorpora(bool large);

// The files of a folder, by name; none if there is no such folder.
std::vector<Corpus> realCorpora(const std::string &folder);

// The corpus of that name; null if there is none.
const Corpus *findCorpus(const std::vector<Corpus> &corpora, const std::string &name);

// For any document of orders that has at least that many.
std::vector<Path> orderPaths(size_t orders);

}  // namespace bench
