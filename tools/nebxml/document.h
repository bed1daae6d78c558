/*
 * A document as the commands see it: loaded from a file or from standard input, searched, saved.
 */
#ifndef NEBXML_DOCUMENT_H
#define NEBXML_DOCUMENT_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "neb_xml.h"

namespace nebxml {

/** The FILE argument that stands for standard input, or standard output for -o. */
inline constexpr std::string_view standardStream = "-";

/** Where a document goes, and how it is laid out there. */
struct Destination {
  std::string fileName{standardStream};
  bool inPlace = false;
  bool hasDeclaration = false;  ///< Not in place.
  std::uint32_t indent = 0;     ///< Spaces for each level.
};

class Document {
 public:
  explicit Document(std::string fileName);

  [[nodiscard]] XmlNode *root() const { return root_.get(); }
  [[nodiscard]] const std::string &fileName() const { return fileName_; }

  /** The document node and the further top-level elements, in order. */
  [[nodiscard]] const std::vector<XmlNode *> &topLevelNodes() const { return topLevelNodes_; }

  /** The node that a path finds; its absence is an error. */
  [[nodiscard]] XmlNode *find(const std::string &path) const;

  /** Writes the document, which is prepared for the printer and of no further use then. */
  void save(const Destination &destination) &&;

 private:
  struct Release {
    void operator()(XmlNode *node) const { NEB_XML_FreeNode(node); }
  };

  void protectTree(XmlNode *top);
  std::string print(const Destination &destination);
  void saveInPlace(std::uint32_t indent);

  std::string fileName_;
  std::unique_ptr<XmlNode, Release> root_;
  std::vector<XmlNode *> topLevelNodes_;
};

}  // namespace nebxml

#endif
