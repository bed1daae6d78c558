#include "formats/row_writer.h"

#include <algorithm>

#include "documents/node_reading.h"
#include "documents/printing.h"
#include "formats/csv.h"
#include "formats/tsv.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

constexpr uint32_t kIndent = 2;

void appendUnchanged(std::string &line, std::string_view value) { line += value; }

}  // namespace

const std::array<RowStyle, 4> &rowStyles() {
  // An attribute in lines is NAME=VALUE.
  static constexpr std::array<RowStyle, 4> kStyles{
      {{kDefaultResultFormat, false, '=', '\n', appendUnchanged},
       {"nul", false, '=', '\0', appendUnchanged},
       {"csv", true, ',', '\n', appendCsv},
       {"tsv", true, '\t', '\n', appendTsv}}};
  return kStyles;
}

const RowStyle &rowStyle(std::string_view name) {
  return *std::find_if(rowStyles().begin(), rowStyles().end(),
                       [name](const RowStyle &style) { return style.name == name; });
}

RowWriter::RowWriter(const Document &document, const ResultFormat &format)
    : document_(document), style_(rowStyle(format.name)), output_(writeStandardOutput) {
  if (style_.hasHeader && format.hasHeader) writeHeader(format.columns);
}

void RowWriter::writeHeader(const std::vector<std::string> &names) {
  for (const std::string &name : names) appendField(name);
  endRow();
}

void RowWriter::writeNode(const XmlNode *match) {
  if (NEB_XML_GetNodeFirstChild(match) == nullptr) {
    writeValue(nodeStrings(match).value);
  } else {
    writeValue(printElement(document_, match, kIndent));
  }
}

void RowWriter::writeValue(std::string_view value) {
  appendField(value);
  endRow();
}

void RowWriter::writeAttributes(const XmlNode *match) {
  for (const XmlNode *attribute : attributesAt(match)) {
    const NodeStrings strings = nodeStrings(attribute);
    appendField(strings.qualifiedName());
    appendField(strings.value);
    endRow();
  }
}

void RowWriter::writeRow(const std::vector<std::optional<std::string_view>> &values) {
  for (const auto &value : values) appendField(value.value_or(""));
  endRow();
}

void RowWriter::end() { output_.flush(); }

void RowWriter::appendField(std::string_view value) {
  if (isRowBegun_) output_.text() += style_.separator;
  isRowBegun_ = true;
  style_.append(output_.text(), value);
}

void RowWriter::endRow() {
  output_.text() += style_.end;
  isRowBegun_ = false;
  output_.flushIfLarge();
}

}  // namespace nebxml
