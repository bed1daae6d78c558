// How many files of a check are well-formed.
#pragma once

#include <cstddef>
#include <string>

#include "checking/in_order.h"

namespace nebxml {

class Summary {
 public:
  void add(const Failure &failure);

  // The status of the worst file.
  ExitStatus worst() const { return worst_; }

  size_t fileCount() const { return wellFormed_ + malformed_ + unsupported_ + unread_; }

  // Such as "12 files: 11 well-formed, 1 not". Only the kinds that there are.
  std::string sentence() const;

 private:
  ExitStatus worst_ = ExitStatus::done;
  size_t wellFormed_ = 0;
  size_t malformed_ = 0;
  size_t unsupported_ = 0;
  size_t unread_ = 0;
};

}  // namespace nebxml
