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
constexpr char kForeignSeparator = '/';
constexpr char kConditionStart = '[';
constexpr std::string_view kDigits = "0123456789";

// The distinct names of a node's children, or of its attributes, in document order.
class NameList {
 public:
  void add(const XmlNode *node) {
    const std::string mark = isAttribute(node) ? std::string(1, kAttributeMark) : "";
    const std::string name = mark + nodeStrings(node).qualifiedName();
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

struct MissingStep {
  std::string_view found;  // the pattern before it, which finds something; empty for the first step
  std::string_view pattern;
  std::string_view step;
};

// How many nodes the step finds without its number or its conditions. Nothing if it has neither, or
// finds nothing without them either.
std::string foundWithoutLimit(const Document &document, const MissingStep &missing) {
  const std::string_view step = missing.step;
  const bool isNumber = step.find_first_not_of(kDigits) == std::string_view::npos;
  const size_t limit = isNumber ? 0 : findOutsideBrackets(step, kConditionStart);
  if (limit == std::string_view::npos) return "";
  const size_t widerSize = missing.pattern.size() - step.size() + limit;
  const std::string wider(isNumber ? missing.found : missing.pattern.substr(0, widerSize));
  const size_t count = selectAll(document, wider).size();
  if (count == 0) return "";
  return "'" + wider + "' finds " + std::to_string(count) + (count == 1 ? " node" : " nodes") +
         ", but none with " + (isNumber ? "number " : "") + std::string(step.substr(limit));
}

std::string causeOf(const Document &document, const MissingStep &missing) {
  const std::string step(missing.step);
  if (findOutsideBrackets(step, kForeignSeparator) != std::string::npos) {
    return "the steps of a path have '.' between them, not '/'";
  }
  std::string limited = foundWithoutLimit(document, missing);
  if (!limited.empty()) return limited;
  if (missing.found.empty()) {
    return "the root element is '" + shortened(nodeStrings(document.root()).qualifiedName()) + "'";
  }
  if (missing.found.ends_with(kAnyDepth)) return "there is no '" + step + "' at any depth";
  const std::string found(missing.found);
  const XmlNode *node = firstMatch(document.root(), found);
  return "'" + found + "' has no '" + step + "'; " +
         (step.front() == kAttributeMark ? attributesOf(node) : childrenOf(node));
}

}  // namespace

std::string missingStep(const Document &document, const std::string &pattern) {
  const std::vector<std::string_view> steps = patternsOfSteps(pattern);
  const auto finds = [&document](std::string_view step) {
    return firstMatch(document.root(), std::string(step)) != nullptr;
  };
  const auto missing = std::partition_point(steps.begin(), steps.end(), finds);
  if (missing == steps.end()) return "";
  const std::string_view found = missing == steps.begin() ? "" : *(missing - 1);
  const size_t begin = found.empty() ? 0 : missing->find_first_not_of(kStepSeparator, found.size());
  return causeOf(document, {found, *missing, missing->substr(begin)});
}

}  // namespace nebxml
