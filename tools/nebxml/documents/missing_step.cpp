#include "documents/missing_step.h"

#include <algorithm>
#include <set>
#include <vector>

#include "documents/node_reading.h"
#include "documents/pattern_text.h"
#include "documents/selection.h"
#include "terminal/excerpt.h"

namespace nebxml {
namespace {

constexpr size_t kMostNames = 8;
constexpr char kSeparator = '.';

// The distinct names of a node's children, or of its attributes, in document order.
class NameList {
 public:
  void add(const XmlNode *node) {
    const std::string name = nodeStrings(node).qualifiedName();
    if (!seen_.insert(name).second) return;
    if (seen_.size() <= kMostNames) text_ += (text_.empty() ? "'" : ", '") + shortened(name) + "'";
  }
  bool isEmpty() const { return seen_.empty(); }
  std::string text() const {
    return seen_.size() <= kMostNames
               ? text_
               : text_ + " and " + std::to_string(seen_.size() - kMostNames) + " more";
  }

 private:
  std::set<std::string> seen_;
  std::string text_;
};

std::string childrenOf(const XmlNode *element) {
  NameList names;
  const XmlNode *child = NEB_XML_GetNodeFirstChild(element);
  for (; child != nullptr; child = NEB_XML_GetNodeNextSibling(child)) names.add(child);
  return names.isEmpty() ? "it has no children" : "it has " + names.text();
}

std::string attributesOf(const XmlNode *element) {
  NameList names;
  XmlNode *attribute = nextAttribute(element, nullptr);
  for (; attribute != nullptr; attribute = nextAttribute(element, attribute)) names.add(attribute);
  return names.isEmpty() ? "it has no attributes" : "it has " + names.text();
}

}  // namespace

std::string missingStep(const Document &document, const std::string &pattern) {
  const std::vector<std::string_view> steps = patternsOfSteps(pattern);
  const auto finds = [&document](std::string_view step) {
    return firstMatch(document.root(), std::string(step)) != nullptr;
  };
  const auto missing = std::partition_point(steps.begin(), steps.end(), finds);
  if (missing == steps.begin()) {
    const std::string name = nodeStrings(document.root()).qualifiedName();
    return "the root element is '" + shortened(name) + "'";
  }
  if (missing == steps.end()) return "";
  const std::string_view found = *(missing - 1);
  const std::string step(missing->substr(missing->find_first_not_of(kSeparator, found.size())));
  const XmlNode *node = firstMatch(document.root(), std::string(found));
  const bool isAttribute = step.front() == '@';
  return "'" + std::string(found) + "' has no '" + step + "'; " +
         (isAttribute ? attributesOf(node) : childrenOf(node));
}

}  // namespace nebxml
