/*
 * A document as the commands see it: loaded from a file or from standard input, searched.
 */
#ifndef NEBXML_DOCUMENT_H
#define NEBXML_DOCUMENT_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "neb_xml.h"

namespace nebxml {

/** The FILE argument that stands for standard input, or standard output for -o. */
inline constexpr std::string_view standardStream = "-";

class Document {
 public:
  explicit Document(const std::string &fileName);

  /** Takes over a document node that was parsed in a session. */
  Document(std::string fileName, XmlNode *top);

  [[nodiscard]] XmlNode *root() const { return root_.get(); }
  [[nodiscard]] const std::string &fileName() const { return fileName_; }

  /** The document node and the further top-level elements, in order. */
  [[nodiscard]] const std::vector<XmlNode *> &topLevelNodes() const { return topLevelNodes_; }

  /** The node that a path finds; its absence is an error. */
  [[nodiscard]] XmlNode *find(const std::string &path) const;

 private:
  struct Release {
    void operator()(XmlNode *node) const { NEB_XML_FreeNode(node); }
  };

  std::string fileName_;
  std::unique_ptr<XmlNode, Release> root_;
  std::vector<XmlNode *> topLevelNodes_;
};

}  // namespace nebxml

#endif
