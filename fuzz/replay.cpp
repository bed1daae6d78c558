// Runs a target as a test: on the files named and those in the folders named, and then on random
// inputs, whose number is the first argument.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "support/require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

void run(const std::string &bytes) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

size_t runAt(const std::filesystem::path &path) {
  size_t files = 0;
  if (std::filesystem::is_directory(path)) {
    for (const auto &entry : std::filesystem::directory_iterator(path)) files += runAt(entry);
    return files;
  }
  std::ifstream file(path, std::ios::binary);
  require(file.is_open());
  run({std::istreambuf_iterator<char>(file), {}});
  return 1;
}

void runRandom(unsigned long count) {
  constexpr size_t kLongest = 400;
  std::mt19937 random;  // the same programs each time
  for (; count > 0; --count) {
    std::string bytes(random() % kLongest, '\0');
    for (char &byte : bytes) byte = static_cast<char>(random());
    run(bytes);
  }
}

}  // namespace

int main(int count, char **arguments) {
  size_t files = 0;
  for (int i = 2; i < count; ++i) files += runAt(arguments[i]);
  if (count > 1) runRandom(std::stoul(arguments[1]));
  std::printf("%zu files replayed\n", files);
  constexpr int kWithoutPaths = 2;
  return files == 0 && count != kWithoutPaths ? 1 : 0;
}
