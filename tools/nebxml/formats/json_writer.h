// Matches as JSON: an array of all of them, or one.
#pragma once

#include "formats/json_stream.h"
#include "formats/result_writer.h"

namespace nebxml {

class JsonWriter : public ResultWriter {
 public:
  explicit JsonWriter(const ResultFormat &format);

  void writeNode(const XmlNode *match) override;
  void writeValue(std::string_view value) override;
  void writeAttributes(const XmlNode *match) override;
  void writeRow(const std::vector<std::optional<std::string_view>> &values) override;
  void end() override;

 private:
  JsonStream json_;
  std::vector<std::string> columns_;
  bool isList_;
};

}  // namespace nebxml
