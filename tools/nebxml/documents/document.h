// A document with its file name and its bytes, as the commands use it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "documents/encoding.h"
#include "documents/input.h"
#include "documents/loading.h"
#include "neb_xml.h"

namespace nebxml {

class Document {
 public:
  Document(std::string fileName, const ReadingOptions &options);

  XmlNode *root() const { return root_.get(); }
  const std::string &fileName() const { return fileName_; }
  Reading reading() const { return reading_; }

  // In UTF-8, whatever the file is in. Offsets and lines are those of these bytes.
  const std::string &bytes() const { return bytes_; }

  const Encoding &encoding() const { return encoding_; }

  // The document node and, of lenient reading, the further top-level elements, in order.
  const std::vector<XmlNode *> &topLevelNodes() const { return topLevelNodes_; }

 private:
  std::string fileName_;
  Reading reading_;
  std::string bytes_;
  Encoding encoding_;
  Tree root_;
  std::vector<XmlNode *> topLevelNodes_;
};

}  // namespace nebxml
