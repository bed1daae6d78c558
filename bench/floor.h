// The least that any parse into a tree of these records costs: it only allocates and fills them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

class Floor {
 public:
  // Takes the sizes of all allocations, and the strings, from a parse of the document.
  explicit Floor(const std::string &input);

  bool empty() const { return allocations_.empty(); }

  // Allocates all of them from blocks as a session does, fills them, and frees the blocks. Returns
  // the number of bytes.
  size_t allocate() const;

 private:
  struct Allocation {
    uint32_t size;
    bool isString;  // its bytes are the next ones of strings_
  };

  void addString(const char *string);

  std::vector<Allocation> allocations_;
  std::string strings_;
};

}  // namespace bench
