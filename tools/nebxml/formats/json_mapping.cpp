#include "formats/json_mapping.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "documents/node_reading.h"

namespace nebxml {
namespace {

// A child, and which of the names of its siblings it has.
struct Child {
  const XmlNode *node;
  size_t name;
};

// Those of one name follow each other.
std::vector<Child> groupedChildren(const XmlNode *element) {
  std::vector<Child> children;
  // Not a hash table: a document could choose names that collide.
  std::map<std::string, size_t> names;
  const XmlNode *child = NEB_XML_GetNodeFirstChild(element);
  for (; child != nullptr; child = NEB_XML_GetNodeNextSibling(child)) {
    const auto known = names.try_emplace(nodeStrings(child).qualifiedName(), names.size()).first;
    children.push_back({child, known->second});
  }
  std::stable_sort(children.begin(), children.end(),
                   [](const Child &one, const Child &other) { return one.name < other.name; });
  return children;
}

// An object that has been begun.
struct Level {
  std::vector<Child> children;
  size_t next = 0;

  // Whether the child at an index has the name of the one before it.
  bool repeats(size_t index) const {
    return index > 0 && index < children.size() && children[index].name == children[index - 1].name;
  }
};

class Mapping {
 public:
  explicit Mapping(JsonStream &json) : json_(json) {}

  void write(const XmlNode *node) {
    begin(node);
    while (!levels_.empty()) advance();
  }

 private:
  // All that came before the next child of the innermost object has been written.
  void advance() {
    Level &level = levels_.back();
    const size_t index = level.next++;
    if (!level.repeats(index)) {
      if (level.repeats(index - 1)) json_.endArray();
      if (index == level.children.size()) return endObject();
      json_.writeKey(nodeStrings(level.children[index].node).qualifiedName());
      if (level.repeats(index + 1)) json_.beginArray();
    }
    begin(level.children[index].node);
  }

  void begin(const XmlNode *node) {
    const std::string_view value = nodeStrings(node).value;
    std::vector<Child> children = groupedChildren(node);
    const bool isString = children.empty() && nextAttribute(node, nullptr) == nullptr;
    if (isString) return json_.writeString(value);
    json_.beginObject();
    writeAttributes(node);
    if (!value.empty()) json_.writeMember("#text", value);
    levels_.push_back({std::move(children)});
  }

  void writeAttributes(const XmlNode *element) {
    for (const XmlNode *attribute : attributesAt(element)) {
      const NodeStrings strings = nodeStrings(attribute);
      json_.writeMember("@" + strings.qualifiedName(), strings.value);
    }
  }

  void endObject() {
    json_.endObject();
    levels_.pop_back();
  }

  JsonStream &json_;
  std::vector<Level> levels_;
};

}  // namespace

void writeMapping(JsonStream &json, const XmlNode *node) { Mapping(json).write(node); }

}  // namespace nebxml
