#include "source/edit_set.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "source/content.h"

namespace neb::xml::internal {

namespace {

// What the fields of one kind of edit must be.
enum class Field : uint8_t { absent, optional, required };
enum class NodeKind : uint8_t { element, elementBelowRoot, node, nodeBelowRoot };

struct Rule {
  NodeKind node;
  Field prefix = Field::absent;
  Field name = Field::absent;
  Field value = Field::absent;
  Field content = Field::absent;
};

constexpr Rule kInside = {NodeKind::element, {}, {}, {}, Field::required};
constexpr Rule kBeside = {NodeKind::elementBelowRoot, {}, {}, {}, Field::required};

// From the first kind on.
constexpr Rule kRules[] = {
    {NodeKind::node, {}, {}, Field::required},                               // SET_VALUE
    {NodeKind::element, Field::optional, Field::required, Field::required},  // SET_ATTR
    {NodeKind::element, Field::optional, Field::required},                   // REMOVE_ATTR
    {NodeKind::node, Field::optional, Field::optional},                      // RENAME
    {NodeKind::nodeBelowRoot},                                               // REMOVE
    kInside,                                                                 // INSERT_FIRST
    kInside,                                                                 // INSERT_LAST
    kBeside,                                                                 // INSERT_BEFORE
    kBeside,                                                                 // INSERT_AFTER
};

bool allows(Field field, const void *given) {
  return field == Field::optional || (field == Field::required) == (given != nullptr);
}

bool allows(NodeKind kind, const XmlNode *node) {
  if (node == nullptr) return false;
  const bool mayBeAttribute = kind == NodeKind::node || kind == NodeKind::nodeBelowRoot;
  const bool mayBeRoot = kind == NodeKind::node || kind == NodeKind::element;
  return isAttribute(node) ? mayBeAttribute : mayBeRoot || node->parent != nullptr;
}

bool isAllowed(const NEB_XML_EDIT &edit) {
  const uint32_t at = edit.kind - NEB_XML_EDIT_SET_VALUE;
  if (at >= std::size(kRules) || edit.flags != 0) return false;
  if (edit.reserved[0] != 0 || edit.reserved[1] != 0) return false;
  const Rule &rule = kRules[at];
  const bool changesName = edit.prefix != nullptr || edit.name != nullptr;
  if (edit.kind == NEB_XML_EDIT_RENAME && !changesName) return false;
  if (edit.name != nullptr && isMissing(edit.name)) return false;
  if (edit.content != nullptr && isAttribute(edit.content)) return false;
  return allows(rule.node, edit.node) && allows(rule.prefix, edit.prefix) &&
         allows(rule.name, edit.name) && allows(rule.value, edit.value) &&
         allows(rule.content, edit.content);
}

bool namesAttribute(const PlannedEdit &edit) {
  return edit.kind == NEB_XML_EDIT_SET_ATTR || edit.kind == NEB_XML_EDIT_REMOVE_ATTR;
}

// What the edits of one node do to each other, and to what it has.
uint32_t checkTarget(const Target &target) {
  const bool isElement = !isAttribute(target.node);
  if (target.isRemoved && target.edits > 1) return NEB_XML_ERR_INVALID_PARAM;
  if (isElement && target.value != nullptr && target.newChildren != 0) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  if (!isElement) return NEB_XML_OK;
  const bool getsValue = target.value != nullptr && !isMissing(target.value->value);
  if (getsValue && target.node->firstChild != nullptr) return NEB_XML_ERR_UNWRITABLE;
  const bool isMixed = target.newChildren != 0 && isText(target.node->value);
  return isMixed ? NEB_XML_ERR_UNWRITABLE : NEB_XML_OK;
}

bool hasChildren(const XmlNode *node, size_t count) {
  size_t children = 0;
  for (const XmlNode *each = node->firstChild; each != nullptr; each = each->next) ++children;
  return children == count;
}

}  // namespace

uint32_t EditSet::make(const NEB_XML_EDIT *edits, size_t count) {
  constexpr size_t kTargetsForEach = 2;
  if (!std::all_of(edits, edits + count, isAllowed)) return NEB_XML_ERR_INVALID_PARAM;
  root_ = topmostNode(edits[0].node);
  if (root_ == nullptr) return NEB_XML_ERR_NOT_FOUND;
  if (!edits_.make(count) || !targets_.make(productOf(kTargetsForEach, count))) {
    return NEB_XML_ERR_NO_MEMORY;
  }
  for (size_t i = 0; i < count; ++i) {
    edits_.add({&edits[i], edits[i].node, edits[i].kind, i, nullptr, nullptr});
  }
  uint32_t result = resolveNames();
  if (result == NEB_XML_OK) result = addTargets();
  return result == NEB_XML_OK ? checkNewNames() : result;
}

uint32_t EditSet::resolveNames() {
  const auto isBefore = [](const PlannedEdit &a, const PlannedEdit &b) {
    return std::tuple(a.node, a.index) < std::tuple(b.node, b.index);
  };
  PlannedEdit *named =
      std::partition(begin(), end(), [](const PlannedEdit &edit) { return !namesAttribute(edit); });
  std::sort(named, end(), isBefore);
  while (named != end()) {
    const XmlNode *element = named->node;
    PlannedEdit *next = std::find_if(
        named, end(), [element](const PlannedEdit &edit) { return edit.node != element; });
    const uint32_t result = resolveNames(named, next);
    if (result != NEB_XML_OK) return result;
    named = next;
  }
  return NEB_XML_OK;
}

// Those of one element.
uint32_t EditSet::resolveNames(PlannedEdit *begin, PlannedEdit *end) {
  if (!fillIndex(begin->node)) return NEB_XML_ERR_NO_MEMORY;
  for (PlannedEdit *edit = begin; edit != end; ++edit) {
    const XmlNode *attribute = names_.find(nameOfNew(*edit));
    const bool isRemoval = edit->kind == NEB_XML_EDIT_REMOVE_ATTR;
    if (attribute == nullptr && isRemoval) return NEB_XML_ERR_NOT_FOUND;
    if (attribute == nullptr) continue;
    edit->kind = isRemoval ? NEB_XML_EDIT_REMOVE : NEB_XML_EDIT_SET_VALUE;
    edit->node = attribute;
  }
  return NEB_XML_OK;
}

bool EditSet::fillIndex(const XmlNode *element) {
  size_t count = 0;
  for (const XmlNode *each = element->firstAttr; each != nullptr; each = each->next) ++count;
  if (!names_.make(count)) return false;
  for (const XmlNode *each = element->firstAttr; each != nullptr; each = each->next) {
    names_.add(wholeNameOf(each), each);
  }
  names_.sort();
  return true;
}

uint32_t EditSet::addTargets() {
  for (PlannedEdit &edit : edits_) {
    edit.target = targets_.add(edit.node);
    const XmlNode *parent = edit.node->parent;
    if (!addTo(edit.target, parent != nullptr ? targets_.add(parent) : nullptr, &edit)) {
      return NEB_XML_ERR_INVALID_PARAM;
    }
  }
  for (Target &target : targets_) {
    const uint32_t result = checkTarget(target);
    if (result != NEB_XML_OK) return result;
    target.isEmptied = target.lostChildren != 0 && target.newChildren == 0 &&
                       hasChildren(target.node, target.lostChildren);
  }
  return NEB_XML_OK;
}

// False for a second edit of the same.
bool EditSet::addTo(Target *target, Target *parent, PlannedEdit *edit) {
  const bool isOfAttribute = isAttribute(target->node);
  ++target->edits;
  switch (edit->kind) {
    case NEB_XML_EDIT_SET_VALUE:
      return std::exchange(target->value, edit->given) == nullptr;
    case NEB_XML_EDIT_SET_ATTR:
      edit->nextNew = std::exchange(target->newAttributes, edit);
      target->hasNewNames = true;
      return true;
    case NEB_XML_EDIT_RENAME:
      if (isOfAttribute) parent->hasNewNames = true;
      return std::exchange(target->rename, edit->given) == nullptr;
    case NEB_XML_EDIT_REMOVE:
      if (!isOfAttribute) ++parent->lostChildren;
      return !std::exchange(target->isRemoved, true);
    case NEB_XML_EDIT_INSERT_FIRST:
    case NEB_XML_EDIT_INSERT_LAST:
      ++target->newChildren;
      return true;
    default:
      ++parent->newChildren;
      return true;
  }
}

uint32_t EditSet::checkNewNames() {
  for (const Target &target : targets_) {
    const uint32_t result = target.hasNewNames ? checkNewNames(target) : uint32_t{NEB_XML_OK};
    if (result != NEB_XML_OK) return result;
  }
  return NEB_XML_OK;
}

// What the attributes of an element will be called.
uint32_t EditSet::checkNewNames(const Target &element) {
  size_t count = 0;
  const XmlNode *first = element.node->firstAttr;
  for (const XmlNode *each = first; each != nullptr; each = each->next) ++count;
  for (const PlannedEdit *each = element.newAttributes; each != nullptr; each = each->nextNew) {
    ++count;
  }
  if (!names_.make(count)) return NEB_XML_ERR_NO_MEMORY;
  for (const XmlNode *each = first; each != nullptr; each = each->next) {
    const Target *target = targets_.find(each);
    if (target == nullptr) {
      names_.add(wholeNameOf(each), each);
    } else if (!target->isRemoved) {
      names_.add(finalName(*target), each);
    }
  }
  for (const PlannedEdit *each = element.newAttributes; each != nullptr; each = each->nextNew) {
    names_.add(nameOfNew(*each), nullptr);
  }
  names_.sort();
  return names_.hasDuplicates() ? NEB_XML_ERR_ALREADY_EXISTS : NEB_XML_OK;
}

uint32_t EditSet::sortByLocation() {
  std::sort(begin(), end(), [](const PlannedEdit &a, const PlannedEdit &b) {
    return std::tuple(a.target->at.begin, a.index) < std::tuple(b.target->at.begin, b.index);
  });
  const char *removedEnd = nullptr;
  for (const PlannedEdit &edit : edits_) {
    const Location &at = edit.target->at;
    if (removedEnd != nullptr && at.begin < removedEnd) return NEB_XML_ERR_INVALID_PARAM;
    if (edit.kind == NEB_XML_EDIT_REMOVE) removedEnd = at.end;
  }
  return NEB_XML_OK;
}

}  // namespace neb::xml::internal
