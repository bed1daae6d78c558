#include "documents/node_path.h"

#include <algorithm>

#include "documents/node_reading.h"
#include "documents/pattern_text.h"
#include "documents/qualified_name.h"

namespace nebxml {
namespace {

constexpr size_t kLongestPath = 511;
constexpr uint32_t kLargestIndex = 999'999'999;

bool isDigit(char character) { return character >= '0' && character <= '9'; }

// A path takes digits alone for an index.
bool isName(const std::string &segment) {
  return !std::all_of(segment.begin(), segment.end(), isDigit);
}

void appendEscaped(std::string &path, const std::string &segment) {
  constexpr std::string_view kSpecial = ".*[]@";  // of patterns
  for (const char character : segment) {
    if (kSpecial.find(character) != std::string_view::npos) path += kEscape;
    path += character;
  }
}

// Counts the node for each segment that matches it. Returns its index for the given segment.
uint32_t countMatch(std::map<std::string, uint32_t> &matches, const XmlNode *node,
                    const std::string &segment) {
  const NodeStrings strings = nodeStrings(node);
  // A segment without a prefix matches any prefix, so a prefixed node also counts for its local
  // name.
  if (!strings.prefix.empty() && strings.name.find(kPrefixMark) == std::string_view::npos) {
    ++matches[std::string(strings.name)];
  }
  return ++matches[segment];
}

}  // namespace

std::optional<std::string_view> NodePaths::enter(const XmlNode *node, size_t depth) {
  canContinue_ = false;
  attributeMatches_.clear();
  if (levels_.size() > depth) levels_.resize(depth);
  if (levels_.size() < depth || (depth == 0 && node != root_)) return std::nullopt;
  const std::string segment = nodeStrings(node).qualifiedName();
  const uint32_t index = depth == 0 ? 1 : countMatch(levels_.back().matches, node, segment);
  path_.resize(depth == 0 ? 0 : levels_.back().pathLength);
  return isName(segment) ? extend(segment, index) : std::nullopt;
}

std::optional<std::string_view> NodePaths::extend(const std::string &segment, uint32_t index) {
  if (!path_.empty()) path_ += kStepSeparator;
  appendEscaped(path_, segment);
  // A backslash at the end would escape the separator after it.
  const bool isClosed = segment.back() != kEscape;
  if (index > 1) path_ += kStepSeparator + std::to_string(index);
  if (path_.size() > kLongestPath || index > kLargestIndex || (index > 1 && !isClosed)) {
    return std::nullopt;
  }
  canContinue_ = isClosed;
  if (canContinue_) levels_.push_back({path_.size(), {}});
  return path_;
}

// A pattern has no index for attributes: it finds the first one that matches.
std::optional<std::string> NodePaths::enterAttribute(const XmlNode *attribute) {
  const std::string segment = nodeStrings(attribute).qualifiedName();
  if (!canContinue_ || countMatch(attributeMatches_, attribute, segment) > 1) return std::nullopt;
  std::string path = path_ + kStepSeparator + kAttributeMark;
  appendEscaped(path, segment);
  return path.size() > kLongestPath ? std::nullopt : std::optional(path);
}

std::vector<std::optional<std::string>> pathsOf(const std::vector<XmlNode *> &topLevelNodes,
                                                const std::vector<const XmlNode *> &wanted) {
  std::vector<std::optional<std::string>> result;
  NodePaths paths(topLevelNodes.front());
  for (const XmlNode *root : topLevelNodes) {
    size_t depth = 0;
    for (const XmlNode *node = root; node != nullptr; node = nextInSubtree(node, root, depth)) {
      if (result.size() == wanted.size()) return result;
      const auto path = paths.enter(node, depth);
      while (result.size() < wanted.size() && wanted[result.size()] == node) {
        result.emplace_back(path);
      }
    }
  }
  return result;
}

}  // namespace nebxml
