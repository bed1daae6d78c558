// What is inserted into a document.
#pragma once

#include <string_view>

#include "printer/names.h"
#include "printer/output.h"
#include "source/layout.h"
#include "tree/whole_names.h"

namespace neb::xml::internal {

// Everything that is inserted, one after the other. Functions that return bool return false once
// memory has run out or something cannot be written.
class NewText {
 public:
  NewText() : to_(output_.begin()) {}

  // Characters beyond ASCII are written as references from now on.
  void limitToAscii() { isAscii_ = true; }

  uint32_t result() const { return output_.result(); }

  // Of what has been written so far.
  size_t length();

  // The whole, on the heap; null if memory runs out or nothing was written.
  char *handOut();

  // Something that no document can hold, or a lack of memory. Returns false.
  bool refuse(uint32_t result) {
    to_ = output_.refuse(result);
    return false;
  }

  bool add(std::string_view bytes);
  bool addName(const WholeName &name) { return addedName(name) != nullptr; }
  bool addAttribute(const WholeName &name, const char *value);
  bool addAttributeValue(const char *value);
  bool addElementValue(const char *value);
  // Lenient reading takes "-->" for markup, wherever it is. So a space keeps hyphens apart.
  bool addTagEnd(bool isBehindHyphens) { return add(isBehindHyphens ? " >" : ">"); }
  bool addEndTag(const WholeName &name);
  // A line end and an indentation, if the layout has lines.
  bool addLine(const Layout &layout, size_t depth);
  bool addSubtree(const XmlNode *start, const Layout &layout);

 private:
  bool makeRoom(uint64_t count);
  const char *addedName(const WholeName &name);
  bool addStartTag(const XmlNode *element);
  bool addSubtreeAttribute(const XmlNode *attribute);
  bool addLeaf(const XmlNode *element);
  template <typename Value>
  bool addEscaped(std::string_view value);
  template <typename Value>
  bool addRuns(std::string_view value);
  bool addReference(uint32_t code);

  Output output_;
  char *to_;
  AttributeNames names_;
  bool isAscii_ = false;
};

}  // namespace neb::xml::internal
