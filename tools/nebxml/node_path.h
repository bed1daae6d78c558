/*
 * The shortest path by which the library's path lookup finds a node.
 */
#ifndef NEBXML_NODE_PATH_H
#define NEBXML_NODE_PATH_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "neb_xml.h"

namespace nebxml {

/** Gives the paths of a document's nodes during one walk in document order. */
class NodePaths {
 public:
  /** root  the node where every lookup starts. */
  explicit NodePaths(const XmlNode *root) : root_(root) {}

  /**
   * Steps to the next node of the walk. The path is valid until the next step, and absent when no
   * path leads to the node.
   */
  std::optional<std::string_view> enter(const XmlNode *node, std::size_t depth);

 private:
  /** An ancestor on the way to the current node. */
  struct Level {
    std::size_t pathLength = 0;
    /** How many of its children so far each segment has matched. No hash: a file chooses the names,
     *  and could choose colliding ones. */
    std::map<std::string, std::uint32_t> matches;
  };

  std::uint32_t countMatch(const XmlNode *node, const std::string &segment);
  std::optional<std::string_view> extend(const std::string &segment, std::uint32_t index);

  const XmlNode *root_;
  /** Ends where no path can go on: nothing below has one. */
  std::vector<Level> levels_;
  std::string path_;
};

/** The path of one node, or its name and the remark that there is no path. */
std::string pathOf(const std::vector<XmlNode *> &topLevelNodes, const XmlNode *wanted);

/** What stands behind the name of a node that no path leads to. */
inline constexpr std::string_view noPath = " (no path)";

}  // namespace nebxml

#endif
