#include "editing/edit_conflicts.h"

#include <map>
#include <string>
#include <tuple>

#include "editing/subtrees.h"

namespace nebxml {
namespace {

// What an edit does to a node. Each can be done once, but for the children that a node gets.
enum class Use { value, name, attribute, child, removal };

// The name is that of a new attribute, else empty.
using UseOfNode = std::tuple<const XmlNode *, Use, std::string>;

constexpr const char *kSecondValue = "a second value for the node at path";
constexpr const char *kSecondName = "a second name for the node at path";
constexpr const char *kSecondAttribute = "a second value for one attribute of the node at path";
constexpr const char *kSecondRemoval = "a second deletion of the node at path";
constexpr const char *kValueAndChild = "both a value and a child for the node at path";
constexpr const char *kRemoved = "an edit of what another edit deletes, at path";

const XmlNode *parentOf(const NEB_XML_EDIT &edit) { return NEB_XML_GetNodeParent(edit.node); }

std::string nameOfNew(const NEB_XML_EDIT &edit) {
  return std::string(edit.prefix == nullptr ? "" : edit.prefix) + ':' + edit.name;
}

class ConflictSearch {
 public:
  explicit ConflictSearch(const std::vector<NEB_XML_EDIT> &edits) : edits_(edits) {}

  std::optional<Conflict> run() {
    for (size_t index = 0; index < edits_.size(); ++index) {
      if (const auto conflict = add(index)) return conflict;
    }
    for (size_t index = 0; index < edits_.size(); ++index) {
      const NEB_XML_EDIT &edit = edits_[index];
      const bool isRemoval = edit.kind == NEB_XML_EDIT_REMOVE;
      const auto removal = removed_.labelOf(isRemoval ? parentOf(edit) : edit.node);
      if (removal) return Conflict{index, *removal, kRemoved};
    }
    return std::nullopt;
  }

 private:
  std::optional<Conflict> add(size_t index) {
    const NEB_XML_EDIT &edit = edits_[index];
    switch (edit.kind) {
      case NEB_XML_EDIT_SET_VALUE:
        return addValue(index);
      case NEB_XML_EDIT_RENAME:
        return addSingle(index, {edit.node, Use::name, ""}, kSecondName);
      case NEB_XML_EDIT_SET_ATTR:
        return addSingle(index, {edit.node, Use::attribute, nameOfNew(edit)}, kSecondAttribute);
      case NEB_XML_EDIT_REMOVE:
        removed_.add(edit.node, index);
        return addSingle(index, {edit.node, Use::removal, ""}, kSecondRemoval);
      case NEB_XML_EDIT_INSERT_FIRST:
      case NEB_XML_EDIT_INSERT_LAST:
        return addChild(index, edit.node);
      default:
        return addChild(index, parentOf(edit));
    }
  }

  std::optional<Conflict> addSingle(size_t index, const UseOfNode &use, const char *cause) {
    const auto [earlier, isNew] = uses_.try_emplace(use, index);
    if (isNew) return std::nullopt;
    return Conflict{index, earlier->second, cause};
  }

  std::optional<Conflict> addValue(size_t index) {
    const XmlNode *node = edits_[index].node;
    const auto conflict = addSingle(index, {node, Use::value, ""}, kSecondValue);
    return conflict ? conflict : conflictWith({node, Use::child, ""}, index);
  }

  std::optional<Conflict> addChild(size_t index, const XmlNode *parent) {
    uses_.try_emplace({parent, Use::child, ""}, index);
    return conflictWith({parent, Use::value, ""}, index);
  }

  std::optional<Conflict> conflictWith(const UseOfNode &use, size_t index) const {
    const auto earlier = uses_.find(use);
    if (earlier == uses_.end()) return std::nullopt;
    return Conflict{index, earlier->second, kValueAndChild};
  }

  const std::vector<NEB_XML_EDIT> &edits_;
  std::map<UseOfNode, size_t> uses_;
  Subtrees removed_;
};

}  // namespace

std::optional<Conflict> findConflict(const std::vector<NEB_XML_EDIT> &edits) {
  return ConflictSearch(edits).run();
}

}  // namespace nebxml
