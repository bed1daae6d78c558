// Edits of the nodes that patterns find, with reports of what the document does not allow.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "documents/selection.h"
#include "editing/edits.h"
#include "saving/saving.h"

namespace nebxml {

// Collects edits, and makes them all at once. All functions throw CommandError. The selections and
// the content outlive the editor.
class Editor {
 public:
  explicit Editor(const Document &document) : document_(document) {}

  void setValue(const Selection &selection, const std::string &value);
  // Adds the attribute where it is missing.
  void setAttribute(const Selection &selection, const std::string &name, const std::string &value);
  void rename(const Selection &selection, const std::string &name);
  // Of matches inside each other, the outer ones.
  void remove(const Selection &selection);
  // Of all matches, those that have the attribute.
  void removeAttribute(const Selection &selection, const std::string &name);
  // Copies of the elements, in their order, at each match.
  void insert(const Selection &selection, Position position, std::vector<const XmlNode *> elements);

  // Writes the edited document. Where all matches were wanted, standard error gets their number.
  void save(const Destination &destination) const;

 private:
  // How many nodes edits of one kind are about.
  struct Count {
    std::string_view verb;
    size_t nodes = 0;
  };

  template <typename Action>
  void forEach(const std::vector<XmlNode *> &nodes, const Selection &selection, Count &count,
               Action action);
  void requirePlace(const Selection &selection, Position position, const XmlNode *node) const;
  void requireNoConflict() const;
  CommandError inWords(const Refusal &refusal) const;
  void reportCounts(bool isDryRun) const;
  std::string heading(const Selection &selection) const { return headingOf(document_, selection); }

  const Document &document_;
  Edits edits_;
  std::vector<const Selection *> selections_;  // of each edit
  bool takesAll_ = false;
  Count changed_{"changed"};
  Count added_{"added"};
  Count renamed_{"renamed"};
  Count removed_{"deleted"};
};

}  // namespace nebxml
