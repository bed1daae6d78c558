#include "formats/result_writer.h"

#include "formats/json_writer.h"
#include "formats/row_writer.h"

namespace nebxml {
namespace {

constexpr const char *kJson = "json";

}  // namespace

std::vector<std::string> resultFormatNames() {
  std::vector<std::string> names;
  for (const RowStyle &style : rowStyles()) names.emplace_back(style.name);
  names.emplace_back(kJson);
  return names;
}

bool hasColumns(const std::string &formatName) {
  return formatName == kJson || hasHeader(formatName);
}

bool hasHeader(const std::string &formatName) {
  return formatName != kJson && rowStyle(formatName).hasHeader;
}

std::unique_ptr<ResultWriter> makeResultWriter(const Document &document,
                                               const ResultFormat &format) {
  if (format.name == kJson) return std::make_unique<JsonWriter>(format);
  return std::make_unique<RowWriter>(document, format);
}

}  // namespace nebxml
