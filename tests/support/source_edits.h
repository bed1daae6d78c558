// Random edits of documents by NEB_XML_EditBytes, compared with the same edits of trees, and the
// locations of the nodes that are edited. For tests and the fuzzer.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "support/calls.h"
#include "support/links.h"

namespace source_edits {

using namespace neb::xml::internal;

// A number below the given one.
using Choose = std::function<size_t(size_t)>;

inline constexpr const char *kValues[] = {"",   "v",        " a\tb\n ", "<&>\"']]>\r",
                                          "\n", "\xC3\xA9", " --",      "&#9;"};
inline constexpr const char *kNames[] = {"id", "name", "n-1", "a--", "\xC3\xA9"};
inline constexpr const char *kPrefixes[] = {nullptr, nullptr, "p", ""};
inline constexpr char kContent[] = "<new k='\t&quot;'><m> x\n</m><p:o/><q><r/></q></new>";

inline uint32_t append(void *text, const char *bytes, size_t length) {
  static_cast<std::string *>(text)->append(bytes, length);
  return length == 0 || length > 16384 ? kInvalid : kOk;
}

inline XmlNode *read(const std::string &bytes) {
  XmlNode *tree = nullptr;
  return NEB_XML_Read(bytes.data(), bytes.size(), nullptr, &tree, nullptr) == kOk ? tree : nullptr;
}

// Freed at the end of the scope.
struct Tree {
  explicit Tree(const std::string &bytes) : root(read(bytes)) {}
  ~Tree() { NEB_XML_FreeNode(root); }
  Tree(const Tree &) = delete;
  Tree &operator=(const Tree &) = delete;
  XmlNode *root;
};

inline std::string textIn(const std::string &bytes, const NEB_XML_RANGE &range) {
  return bytes.substr(range.begin, range.end - range.begin);
}

// All nodes in document order; each element is followed by its attributes.
inline std::vector<XmlNode *> nodesOf(XmlNode *root) {
  std::vector<XmlNode *> nodes;
  for (XmlNode *each = root; each != nullptr; each = NEB_XML_Iterator(each)) {
    nodes.push_back(each);
    for (XmlNode *attr = each->firstAttr; attr; attr = attr->next) nodes.push_back(attr);
  }
  return nodes;
}

class Check {
 public:
  Check(const std::string &bytes, Choose choose)
      : bytes_(bytes), choose_(std::move(choose)), tree_(bytes), content_(kContent) {
    if (tree_.root == nullptr) return;
    nodes_ = nodesOf(tree_.root);
    locateAll();
  }

  bool isReadable() const { return tree_.root != nullptr; }
  size_t applied() const { return applied_; }

  // Makes so many edits by one call. Returns what was wrong; empty if nothing was.
  std::string edit(size_t count) {
    edits_.clear();
    for (size_t i = 0; i < count; ++i) edits_.push_back(anyEdit());
    out_.clear();
    const std::string before = describedAlone(tree_.root);
    const uint32_t code =
        NEB_XML_EditBytes(bytes_.data(), bytes_.size(), edits_.data(), count, append, &out_);
    expect(describedAlone(tree_.root) == before, "the tree has changed");
    expect(code == kOk || out_.empty(), "written in spite of a failure");
    if (count == 1) checkSingle(code);
    if (code == kOk) compareTrees();
    return failure_;
  }

  // Checks where a node is.
  std::string locate(size_t number) {
    checkLocation(nodes_[number]);
    return failure_;
  }

  size_t nodes() const { return nodes_.size(); }

 private:
  void expect(bool holds, const std::string &what) {
    if (holds || !failure_.empty()) return;
    failure_ = what + "\nkinds:";
    for (const NEB_XML_EDIT &edit : edits_) {
      failure_ +=
          " " + std::to_string(edit.kind) + " of " + (edit.node->name ? +edit.node->name : "");
      failure_ += std::string("=") + (edit.value ? edit.value : "-");
    }
    constexpr size_t kShown = 3000;
    if (bytes_.size() < kShown) failure_ += "\n--- document\n" + bytes_ + "\n--- result\n" + out_;
  }

  std::string describedAlone(const XmlNode *node) {
    return links::described(
        node, [&](bool holds) { expect(holds, "links"); }, true);
  }

  template <typename Table>
  auto any(Table &table) {
    return table[choose_(std::size(table))];
  }

  NEB_XML_EDIT anyEdit() {
    NEB_XML_EDIT edit = {};
    edit.kind = static_cast<uint32_t>(1 + choose_(9));
    XmlNode *node = nodes_[choose_(nodes_.size())];
    const bool mayBeAttribute = edit.kind == NEB_XML_EDIT_SET_VALUE ||
                                edit.kind == NEB_XML_EDIT_RENAME ||
                                edit.kind == NEB_XML_EDIT_REMOVE;
    edit.node = isAttribute(node) && !mayBeAttribute ? node->parent : node;
    if (edit.kind == NEB_XML_EDIT_SET_VALUE || edit.kind == NEB_XML_EDIT_SET_ATTR) {
      edit.value = any(kValues);
    }
    const bool isNamed = edit.kind >= NEB_XML_EDIT_SET_ATTR && edit.kind <= NEB_XML_EDIT_RENAME;
    if (isNamed) {
      edit.prefix = any(kPrefixes);
      edit.name = any(kNames);
    }
    if (edit.kind == NEB_XML_EDIT_REMOVE_ATTR && edit.node->firstAttr != nullptr) {
      edit.prefix = edit.node->firstAttr->prefix;
      edit.name = edit.node->firstAttr->name;
    }
    if (edit.kind >= NEB_XML_EDIT_INSERT_FIRST) edit.content = content_.root;
    return edit;
  }

  // ---- What the tree says

  static XmlNode *attributeOf(const XmlNode *element, const NEB_XML_EDIT &edit) {
    const std::string name = wholeName(edit.prefix, edit.name);
    for (XmlNode *each = element->firstAttr; each != nullptr; each = each->next) {
      if (wholeName(each->prefix, each->name) == name) return each;
    }
    return nullptr;
  }

  static std::string wholeName(const char *prefix, const char *name) {
    return prefix == nullptr || *prefix == '\0' ? name : std::string(prefix) + ":" + name;
  }

  static bool isBlank(const char *value) {
    return value == nullptr || value[std::strspn(value, " \t\r\n")] == '\0';
  }

  // What a call with one edit must return; kOk also if it may be refused for a text of white space.
  static uint32_t expectedCode(const NEB_XML_EDIT &edit) {
    const XmlNode *node = edit.node;
    const bool isRoot = node->parent == nullptr;
    switch (edit.kind) {
      case NEB_XML_EDIT_SET_VALUE: {
        const bool isMixed = !isAttribute(node) && node->firstChild != nullptr;
        return isMixed && *edit.value != '\0' ? kUnwritable : kOk;
      }
      case NEB_XML_EDIT_REMOVE_ATTR:
        return attributeOf(node, edit) != nullptr ? kOk : kNotFound;
      case NEB_XML_EDIT_RENAME: {
        if (!isAttribute(node)) return kOk;
        NEB_XML_EDIT whole = edit;
        if (whole.prefix == nullptr) whole.prefix = node->prefix;
        const XmlNode *other = attributeOf(node->parent, whole);
        return other == nullptr || other == node ? kOk : kExists;
      }
      case NEB_XML_EDIT_INSERT_FIRST:
      case NEB_XML_EDIT_INSERT_LAST:
        return isBlank(node->value) ? kOk : kUnwritable;
      case NEB_XML_EDIT_SET_ATTR:
        return kOk;
      default:
        return isRoot ? kInvalid : kOk;
    }
  }

  void checkSingle(uint32_t code) {
    const NEB_XML_EDIT &edit = edits_[0];
    checkLocation(edit.node);
    const bool isInside =
        edit.kind == NEB_XML_EDIT_INSERT_FIRST || edit.kind == NEB_XML_EDIT_INSERT_LAST;
    const uint32_t expected = expectedCode(edit);
    const bool mayBeRefused = isInside && expected == kOk && edit.node->firstChild == nullptr;
    // A document may declare that it holds ASCII only.
    const bool mayBeAscii = bytes_.find("encoding") != bytes_.npos && edit.name != nullptr &&
                            std::any_of(edit.name, edit.name + std::strlen(edit.name),
                                        [](char byte) { return (byte & 0x80) != 0; });
    expect(code == expected || ((mayBeRefused || mayBeAscii) && code == kUnwritable),
           "code " + std::to_string(code) + ", not " + std::to_string(expected));
    if (code == kOk) checkRest(edit, rangeOf(edit));
  }

  // ---- Where things are

  NEB_XML_LOCATION locationOf(const XmlNode *node) {
    NEB_XML_LOCATION location = {};
    expect(NEB_XML_Locate(node, bytes_.data(), bytes_.size(), &location) == kOk, "not located");
    return location;
  }

  // In any order, and one of them twice.
  void locateAll() {
    std::vector<const XmlNode *> nodes(nodes_.begin(), nodes_.end());
    std::shuffle(nodes.begin(), nodes.end(), std::mt19937(2026));
    nodes.push_back(nodes[0]);
    std::vector<NEB_XML_LOCATION> locations(nodes.size());
    expect(NEB_XML_LocateNodes(nodes.data(), nodes.size(), bytes_.data(), bytes_.size(),
                               locations.data()) == kOk,
           "not located at once");
    for (size_t i = 0; i < nodes.size(); ++i) {
      const auto [known, isNew] = located_.try_emplace(nodes[i], locations[i]);
      expect(isNew || isSame(known->second, locations[i]), "located twice, in two ways");
    }
  }

  static bool isSame(const NEB_XML_LOCATION &a, const NEB_XML_LOCATION &b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
  }

  void checkLocation(const XmlNode *node) {
    const NEB_XML_LOCATION at = locationOf(node);
    expect(isSame(at, located_.at(node)), "located otherwise among all nodes");
    const std::string before = bytes_.substr(0, at.whole.begin);
    const size_t line = before.rfind('\n') == before.npos ? 0 : before.rfind('\n') + 1;
    expect(at.line == 1U + static_cast<size_t>(std::count(before.begin(), before.end(), '\n')) &&
               at.column == before.size() - line + 1,
           "line or column");
    expect(textIn(bytes_, at.name) == wholeName(node->prefix, node->name), "name");
    const std::string whole = textIn(bytes_, at.whole);
    const Tree part(isAttribute(node) ? "<x " + whole + "/>" : whole);
    const XmlNode *same = part.root;
    if (same != nullptr && isAttribute(node)) same = same->firstAttr;
    expect(same != nullptr, "whole");
    if (same == nullptr) return;
    if (isAttribute(node)) {
      expect(links::qualified(same) == links::qualified(node) &&
                 links::quoted(same->value) == links::quoted(node->value),
             "whole is another attribute");
      const char quote = bytes_[at.whole.end - 1];
      expect(bytes_[at.content.begin - 1] == quote && at.content.end + 1 == at.whole.end, "quotes");
      expect(at.startTag.begin == at.whole.end && at.endTag.end == at.whole.end, "no tags");
      return;
    }
    expect(tail(describedAlone(same)) == tail(describedAlone(node)), "whole is another node");
    const bool isEmpty = at.endTag.begin == at.endTag.end;
    expect(at.startTag.begin == at.whole.begin && at.startTag.end == at.content.begin &&
               at.content.end == at.endTag.begin && at.endTag.end == at.whole.end,
           "parts of an element");
    const std::string end = textIn(bytes_, at.endTag);
    expect(isEmpty ? bytes_.compare(at.whole.end - 2, 2, "/>") == 0
                   : end.compare(0, 2 + textIn(bytes_, at.name).size(),
                                 "</" + textIn(bytes_, at.name)) == 0,
           "end tag");
  }

  // Without the type, in which the root differs.
  static std::string tail(const std::string &described) {
    return described.substr(described.find(':'));
  }

  // What one edit may touch.
  NEB_XML_RANGE rangeOf(const NEB_XML_EDIT &edit) {
    const bool isOfAttribute = isAttribute(edit.node);
    const NEB_XML_LOCATION at = locationOf(edit.node);
    const NEB_XML_RANGE inside = at.endTag.begin == at.endTag.end ? at.startTag : at.content;
    switch (edit.kind) {
      case NEB_XML_EDIT_SET_VALUE:
        return isOfAttribute ? at.content : inside;
      case NEB_XML_EDIT_SET_ATTR:
      case NEB_XML_EDIT_REMOVE_ATTR:
        return at.startTag;
      case NEB_XML_EDIT_RENAME:
        return isOfAttribute ? at.name : at.whole;
      case NEB_XML_EDIT_INSERT_FIRST:
      case NEB_XML_EDIT_INSERT_LAST:
        return inside;
      default: {
        const NEB_XML_LOCATION parent = locationOf(edit.node->parent);
        return isOfAttribute ? parent.startTag : parent.content;
      }
    }
  }

  // Every byte outside of the range is the same. What is inserted changes nothing inside either.
  void checkRest(const NEB_XML_EDIT &edit, const NEB_XML_RANGE &range) {
    const auto same = std::mismatch(bytes_.begin(), bytes_.end(), out_.begin(), out_.end());
    const auto head = static_cast<size_t>(same.first - bytes_.begin());
    const auto sameBack = std::mismatch(bytes_.rbegin(), bytes_.rend(), out_.rbegin(), out_.rend());
    const auto back = static_cast<size_t>(sameBack.first - bytes_.rbegin());
    expect(head >= range.begin && back >= bytes_.size() - range.end, "bytes outside of the edit");
    const bool isBeside = edit.kind >= NEB_XML_EDIT_INSERT_BEFORE;
    const bool isBelow = edit.kind >= NEB_XML_EDIT_INSERT_FIRST && edit.node->firstChild != nullptr;
    const bool isAdded = edit.kind == NEB_XML_EDIT_SET_ATTR && !attributeOf(edit.node, edit);
    if (isBeside || isBelow || isAdded) expect(head + back >= bytes_.size(), "bytes were replaced");
    if (edit.kind != NEB_XML_EDIT_REMOVE || isAttribute(edit.node)) return;
    const size_t removed = bytes_.size() - out_.size();
    const bool isOnlyChild = edit.node->prev == nullptr && edit.node->next == nullptr;
    if (!isOnlyChild) expect(head + back >= bytes_.size() - removed, "bytes were replaced");
  }

  // ---- The same on a tree

  // An edit, and its nodes in the other tree.
  struct Edit {
    const NEB_XML_EDIT *given;
    XmlNode *node;
    XmlNode *attribute;
    std::string name;
  };

  void compareTrees() {
    ++applied_;
    const Tree expected(bytes_);
    const Tree actual(out_);
    expect(actual.root != nullptr, "cannot be read");
    if (actual.root == nullptr) return;
    const std::vector<XmlNode *> others = nodesOf(expected.root);
    std::vector<Edit> edits;
    for (const NEB_XML_EDIT &each : edits_) {
      const auto found = std::find(nodes_.begin(), nodes_.end(), each.node);
      XmlNode *node = others[static_cast<size_t>(found - nodes_.begin())];
      const bool isOfAttribute = isAttribute(node);
      const bool isNamed =
          each.kind == NEB_XML_EDIT_SET_ATTR || each.kind == NEB_XML_EDIT_REMOVE_ATTR;
      XmlNode *attribute = isOfAttribute ? node : isNamed ? attributeOf(node, each) : nullptr;
      edits.push_back({&each, node, attribute, each.name != nullptr ? each.name : node->name});
    }
    // All refer to the tree as it was: names that go must not be in the way of new ones.
    for (const Edit &each : edits) removeAttribute(each);
    for (Edit &each : edits) renameAttribute(&each);
    for (const Edit &each : edits) apply(each);
    expect(describedAlone(expected.root) == describedAlone(actual.root), "another tree");
  }

  void removeAttribute(const Edit &edit) {
    const bool isRemoval =
        edit.given->kind == NEB_XML_EDIT_REMOVE_ATTR || edit.given->kind == NEB_XML_EDIT_REMOVE;
    if (!isRemoval || edit.attribute == nullptr) return;
    const XmlNode *gone = edit.attribute;
    expect(NEB_XML_RemoveAttr(gone->parent, gone->prefix, gone->name) == kOk, "remove");
  }

  // To a name that no other attribute has, until all of them are renamed.
  void renameAttribute(Edit *edit) {
    if (edit->given->kind != NEB_XML_EDIT_RENAME || edit->attribute == nullptr) return;
    const std::string name = "renamed" + std::to_string(++renamed_);
    expect(NEB_XML_SetNode(edit->node, nullptr, name.c_str(), nullptr) == kOk, "rename");
  }

  void apply(const Edit &edit) {
    const NEB_XML_EDIT &given = *edit.given;
    XmlNode *node = edit.node;
    uint32_t code = kOk;
    switch (given.kind) {
      case NEB_XML_EDIT_SET_VALUE:
        code = NEB_XML_SetNode(node, nullptr, nullptr, given.value);
        break;
      case NEB_XML_EDIT_SET_ATTR:
        code = edit.attribute != nullptr
                   ? NEB_XML_SetNode(edit.attribute, nullptr, nullptr, given.value)
                   : NEB_XML_AddAttr(node, given.prefix, given.name, given.value);
        break;
      case NEB_XML_EDIT_RENAME:
        code = NEB_XML_SetNode(node, given.prefix, edit.name.c_str(), nullptr);
        break;
      case NEB_XML_EDIT_REMOVE:
        if (edit.attribute == nullptr) code = NEB_XML_RemoveNode(node);
        break;
      case NEB_XML_EDIT_REMOVE_ATTR:
        break;
      default:
        insert(given.kind, node);
    }
    expect(code == kOk, "apply " + std::to_string(given.kind));
  }

  // White space in an element that gets children is layout from then on.
  void insert(uint32_t kind, XmlNode *node) {
    constexpr decltype(&NEB_XML_AppendChildNode) kInserts[] = {
        NEB_XML_AddFirstChildNode, NEB_XML_AppendChildNode, NEB_XML_AddPrevSiblingNode,
        NEB_XML_AddNextSiblingNode};
    const bool isInside = kind <= NEB_XML_EDIT_INSERT_LAST;
    if (isInside) expect(NEB_XML_SetNode(node, nullptr, nullptr, "") == kOk, "clear");
    XmlNode *copy = nullptr;
    expect(NEB_XML_ImportNode(node, content_.root, &copy) == kOk &&
               kInserts[kind - NEB_XML_EDIT_INSERT_FIRST](node, copy) == kOk,
           "insert");
  }

  const std::string &bytes_;
  Choose choose_;
  Tree tree_;
  Tree content_;
  std::vector<XmlNode *> nodes_;
  std::map<const XmlNode *, NEB_XML_LOCATION> located_;
  std::vector<NEB_XML_EDIT> edits_;
  std::string out_;
  std::string failure_;
  size_t applied_ = 0;
  size_t renamed_ = 0;
};

}  // namespace source_edits
