// Writes the documents that are made by the benchmarks into a folder, for programs that read files.
//
//   neb_xml_bench_documents FOLDER
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "corpus.h"

int main(int argc, char **argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: neb_xml_bench_documents FOLDER\n");
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  std::filesystem::create_directories(folder);
  for (const bench::Corpus &corpus : bench::generatedCorpora(false)) {
    if (!(std::ofstream(folder / corpus.name, std::ios::binary) << corpus.input)) {
      std::fprintf(stderr, "cannot write %s\n", corpus.name.c_str());
      return 1;
    }
  }
  return 0;
}
