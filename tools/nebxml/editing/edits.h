// Edits of one document, which are made together: all of them or none.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "documents/document.h"
#include "documents/qualified_name.h"

namespace nebxml {

// Where a new element is inserted, as seen from a node.
enum class Position : uint32_t {
  first = NEB_XML_EDIT_INSERT_FIRST,
  last = NEB_XML_EDIT_INSERT_LAST,
  before = NEB_XML_EDIT_INSERT_BEFORE,
  after = NEB_XML_EDIT_INSERT_AFTER
};

// All edits are about the document as it is: none sees what another one changes.
class Edits {
 public:
  // Of an element or attribute.
  void setValue(const XmlNode *node, const std::string &value);
  void remove(const XmlNode *node);
  // The whole name, with the prefix if it has one.
  void rename(const XmlNode *node, const std::string &qualifiedName);
  // The element lacks the attribute so far.
  void addAttribute(const XmlNode *element, const QualifiedName &name, const std::string &value);
  // The content outlives the edits.
  void insert(Position position, const XmlNode *node, const XmlNode *content);

  const std::vector<NEB_XML_EDIT> &records() const { return records_; }
  size_t count() const { return records_.size(); }

 private:
  NEB_XML_EDIT &append(uint32_t kind, const XmlNode *node);
  const char *keep(const std::string &text) { return strings_.emplace_back(text).c_str(); }

  std::vector<NEB_XML_EDIT> records_;
  std::deque<std::string> strings_;  // a deque never moves what it holds
};

// Why edits are not made.
struct Refusal {
  uint32_t code;  // of the library
  size_t edit;    // the index of the edit that it is about
};

// The document's bytes with the edits made. Those of a document that was read strictly keep all
// other bytes. One that was read leniently is edited as a tree, and printed. The edits must not
// conflict.
//
// bytes  receives the result
std::optional<Refusal> applyEdits(const Document &document, const Edits &edits, std::string &bytes);

}  // namespace nebxml
