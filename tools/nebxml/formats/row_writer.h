// The formats that have a line for each match.
#pragma once

#include <array>
#include <initializer_list>

#include "formats/result_writer.h"
#include "terminal/buffered_output.h"

namespace nebxml {

struct RowStyle {
  std::string_view name;
  bool hasHeader;
  char separator;
  char end;
  void (*append)(std::string &line, std::string_view value);
};

const std::array<RowStyle, 4> &rowStyles();
const RowStyle &rowStyle(std::string_view name);

class RowWriter : public ResultWriter {
 public:
  RowWriter(const Document &document, const ResultFormat &format);

  void writeNode(const XmlNode *match) override;
  void writeValue(std::string_view value) override;
  void writeAttributes(const XmlNode *match) override;
  void writeRow(const std::vector<std::optional<std::string_view>> &values) override;
  void end() override;

 private:
  void writeHeader(const std::vector<std::string> &names);
  void appendField(std::string_view value);
  void endRow();

  const Document &document_;
  const RowStyle &style_;
  BufferedOutput output_;
  bool isRowBegun_ = false;
};

}  // namespace nebxml
