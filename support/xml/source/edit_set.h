// The edits of one call.
#pragma once

#include "source/target.h"
#include "source/whole_name.h"

namespace neb::xml::internal {

// An edit whose node has been found in the tree. Attributes that are named are nodes now: to set or
// remove one has become to set the value of its node, or to remove it. NEB_XML_EDIT_SET_ATTR
// remains for the new ones.
struct PlannedEdit {
  const NEB_XML_EDIT *given;
  const XmlNode *node;
  uint32_t kind;
  size_t index;
  Target *target;
  const PlannedEdit *nextNew;  // new attribute of the same element
};

inline WholeName nameOfNew(const PlannedEdit &edit) {
  return {measured(edit.given->prefix), measured(edit.given->name)};
}

// What a node will be called.
inline WholeName finalName(const Target &target) {
  WholeName name = wholeNameOf(target.node);
  const NEB_XML_EDIT *rename = target.rename;
  if (rename != nullptr && rename->prefix != nullptr) name.prefix = measured(rename->prefix);
  if (rename != nullptr && rename->name != nullptr) name.local = measured(rename->name);
  return name;
}

class EditSet {
 public:
  // Finds the targets of edits, of which there is one at least, and refuses what the tree shows to
  // be wrong. Returns a result code.
  uint32_t make(const NEB_XML_EDIT *edits, size_t count);

  const XmlNode *root() const { return root_; }
  Targets &targets() { return targets_; }
  size_t size() const { return edits_.size(); }

  // Puts the edits in the order of their nodes in the document, once these have been found there.
  // Returns NEB_XML_ERR_INVALID_PARAM if one is in a removed node.
  uint32_t sortByLocation();

  PlannedEdit *begin() { return edits_.begin(); }
  PlannedEdit *end() { return edits_.end(); }

 private:
  uint32_t resolveNames();
  uint32_t resolveNames(PlannedEdit *begin, PlannedEdit *end);
  uint32_t addTargets();
  bool addTo(Target *target, Target *parent, PlannedEdit *edit);
  uint32_t checkNewNames();
  uint32_t checkNewNames(const Target &element);
  bool fillIndex(const XmlNode *element);

  const XmlNode *root_ = nullptr;
  HeapArray<PlannedEdit> edits_;
  Targets targets_;
  NameIndex names_;
};

}  // namespace neb::xml::internal
