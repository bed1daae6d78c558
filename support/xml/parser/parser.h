// Parsing: from a document to a tree.
//
// 1. An entry point checks its arguments, loads the file if there is one, and may open a session.
// 2. The structural index marks where names, values and texts may end, up to 4 KiB at a time.
// 3. The scanner uses these bits to recognise tokens that fit into a window of 64 bits. It finds
//    the end of long texts, values and attribute names by searching the index, and that of
//    comments, processing instructions and CDATA sections as the tokenizer does.
// 4. The tokenizer reads everything else: it alone knows the whole language.
// 5. Both report the tokens to the tree builder, which allocates all nodes but the document's
//    record, in an arena or on the heap.
// 6. The end of the document is scanned in a copy with zeros behind it, so that no window ends
//    early.
// 7. A failed parse frees what was built. In the functions that report why and where, the tokenizer
//    then reads the document once more, for the checking builder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "memory/allocator.h"
#include "parser/limits.h"
#include "record/node.h"

namespace neb::xml::internal {

// A document that was loaded or copied; freed with the object.
class LoadedDocument {
 public:
  // The allocator outlives the object.
  explicit LoadedDocument(const Allocator &allocator = kHooks) : allocator_(allocator) {}
  ~LoadedDocument() { release(); }
  LoadedDocument(const LoadedDocument &) = delete;
  LoadedDocument &operator=(const LoadedDocument &) = delete;

  // NUL-terminated; null until one of the following functions has succeeded.
  const char *text() const { return text_; }
  // Without the terminator; bytes behind a NUL are counted.
  size_t length() const { return length_; }

  // Behind NEB_XML_ERR_FILE_OPEN and NEB_XML_ERR_FILE_READ, the errno of the file call that failed;
  // else, and if it set none, 0.
  int systemError() const { return systemError_; }

  // One of the following is called, once.

  // Reads the whole file, through the file hooks if the caller has registered any. Returns
  // NEB_XML_OK, NEB_XML_ERR_FILE_OPEN, NEB_XML_ERR_FILE_READ, NEB_XML_ERR_NO_MEMORY, or
  // NEB_XML_ERR_SYNTAX for an empty file. The length must be known and fit into 32 bits.
  uint32_t load(const char *path);

  // The same for whatever can be opened, of any length: it is read to its end, in growing steps
  // where the length cannot be known.
  uint32_t loadToEnd(const char *path);

  // Copies the bytes. False if memory runs out.
  bool copy(const char *bytes, size_t length);

 private:
  template <typename File>
  uint32_t read(const File &file);
  template <typename File>
  uint32_t readKnown(const File &file, size_t length);
  template <typename File>
  uint32_t readInSteps(const File &file);
  uint32_t failWithError(uint32_t code, int systemError);
  bool grow(size_t used, size_t size);
  void setLength(size_t length);
  void release() { allocator_.release(memory_.allocation, size_); }

  const Allocator &allocator_;
  platform::LargeMemory memory_ = {};
  size_t size_ = 0;  // of the memory
  const char *text_ = nullptr;
  size_t length_ = 0;
  int systemError_ = 0;
};

// What a caller asks for.
struct ReadRequest {
  bool withSession = false;
  bool refusesDoctype = false;
  ReadLimits limits;
  Allocator allocator;      // of a document with a session, and for whatever its reading needs
  char *message = nullptr;  // of messageSize bytes; may be null
  size_t messageSize = 0;
};

// Parses a document of a language, see language.h, with a terminator behind it into a tree with a
// session of its own, or on the heap. Returns NEB_XML_OK, NEB_XML_ERR_SYNTAX, also if memory for
// the tree runs out or a limit is exceeded, or NEB_XML_ERR_NO_MEMORY if it runs out before the tree
// is begun. *document is set on success only. A limit of memory that refused something knows it:
// see MemoryLimit::wasExceeded. What a program does not call is not linked: so each language has a
// function of its own.
template <typename Language>
uint32_t parseDocument(std::string_view text, const ReadRequest &request, XmlNode **document);

}  // namespace neb::xml::internal
