// An open file that is closed at the end of its scope.
#pragma once

#include <utility>

#include <unistd.h>

namespace nebxml {

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  // Negative, with errno set, if the file could not be opened.
  int number() const { return number_; }
  // Some file systems report a failed write only here. Returns false and sets errno on failure.
  bool close() { return ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

}  // namespace nebxml
