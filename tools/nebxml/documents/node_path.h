// The shortest path of a node.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "neb_xml.h"

namespace nebxml {

// The paths of a document's nodes, computed during one walk in document order.
class NodePaths {
 public:
  // root  the node where every lookup starts
  explicit NodePaths(const XmlNode *root) : root_(root) {}

  // Moves to the next node of the walk and returns its path, if it has one. The path is valid until
  // the next call.
  std::optional<std::string_view> enter(const XmlNode *node, size_t depth);
  // The same for the next attribute of the current node.
  std::optional<std::string> enterAttribute(const XmlNode *attribute);

 private:
  // How many siblings each segment has matched so far. Not a hash table: a document could choose
  // names that collide.
  using Matches = std::map<std::string, uint32_t>;

  // An ancestor of the current node, or the node itself.
  struct Level {
    size_t pathLength = 0;
    Matches matches;
  };

  std::optional<std::string_view> extend(const std::string &segment, uint32_t index);

  const XmlNode *root_;
  // Ends early at a node without a path, whose descendants have none either.
  std::vector<Level> levels_;
  std::string path_;
  Matches attributeMatches_;  // of the current node
  bool canContinue_ = false;  // whether a path can lead beyond the current node
};

// The paths of nodes, computed in one walk.
//
// wanted  in document order; a node may occur several times
std::vector<std::optional<std::string>> pathsOf(const std::vector<XmlNode *> &topLevelNodes,
                                                const std::vector<const XmlNode *> &wanted);

// Printed after the name of a node that has no path.
inline constexpr std::string_view kNoPath = " (no path)";

}  // namespace nebxml
