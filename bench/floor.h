// The floor under every parse into a tree of these records: carving and filling them, and nothing
// else.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

class Floor {
 public:
  // Takes the sizes of all pieces, and the strings, from a parse of the text.
  explicit Floor(const std::string &text);

  bool empty() const { return pieces_.empty(); }

  // Carves all pieces from blocks as a session does, fills them, and frees the blocks. The bytes.
  size_t carve() const;

 private:
  struct Piece {
    uint32_t size;
    bool isString;  // its bytes are the next ones of strings_
  };

  void addString(const char *text);

  std::vector<Piece> pieces_;
  std::string strings_;
};

}  // namespace bench
