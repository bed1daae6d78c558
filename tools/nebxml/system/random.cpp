#include "system/kept_files.h"

#if __has_include(<sys/random.h>)
#include <sys/random.h>
#include <unistd.h>
#else
#include <algorithm>
#include <random>
#endif

namespace nebxml {

#if __has_include(<sys/random.h>)

bool fillRandomly(std::span<unsigned char> bytes) {
  return ::getentropy(bytes.data(), bytes.size()) == 0;
}

#else

bool fillRandomly(std::span<unsigned char> bytes) {
  std::random_device device;
  std::generate(bytes.begin(), bytes.end(),
                [&device] { return static_cast<unsigned char>(device()); });
  return true;
}

#endif

}  // namespace nebxml
