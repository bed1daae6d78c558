// The encoding of a file, from which the library gets UTF-8 and to which edits return.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "documents/encoder.h"
#include "documents/xml_declaration.h"

namespace nebxml {

class Encoding {
 public:
  // UTF-8, as it is.
  Encoding() = default;

  // Turns the bytes of a file into UTF-8. The declaration then names no encoding: spaces stand
  // there, so that all offsets stay. Bytes that no other encoding is known of are left to the
  // library. Throws CommandError if the encoding is not known, or not that of the bytes.
  //
  // wanted  the encoding; empty: as the mark, the first bytes or the declaration show
  // bytes   receives UTF-8
  Encoding(const std::string &fileName, const std::string &wanted, std::string &bytes);

  // For a declaration that the file gets. Behind a byte order mark it names no byte order.
  std::string nameToDeclare() const;

  // Whether the file can hold these characters. In a value, a reference can stand for one that it
  // cannot hold. In a name, a comment or markup, it must be refused.
  bool canEncode(std::string_view text) const;

  // The UTF-8 of the document, with the declaration as the file has it.
  std::string asInFile(std::string text) const;

  // The bytes of the file for a document that was made from its UTF-8 by edits. A document that
  // begins in another way, such as a printed tree, stays in UTF-8. Throws CommandError if the
  // encoding cannot be written, or if the file itself would not come back byte for byte.
  //
  // original  the UTF-8 that was made from the file
  std::string encode(const std::string &fileName, std::string_view original,
                     std::string text) const;

 private:
  void decodeAsShown(const std::string &fileName, const std::string &shown, std::string &bytes);
  void decodeAsDeclared(const std::string &fileName, std::string &bytes);
  void decode(const std::string &fileName, const std::string &encoding, std::string &bytes);
  void hide(const std::optional<DeclaredEncoding> &declared, std::string &text);

  std::string name_ = kUtf8;          // as the user, the declaration or the first bytes name it
  std::string fileBytes_;             // empty if they are in UTF-8
  std::string fileHead_;              // up to the end of the declared encoding
  std::string head_;                  // the same, as the library gets it
  std::unique_ptr<Encoder> encoder_;  // null for UTF-8, and where the system can only read
};

}  // namespace nebxml
