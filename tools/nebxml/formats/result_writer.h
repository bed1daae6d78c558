// How a command writes what it has found.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "documents/document.h"

namespace nebxml {

// Writes matches to standard output, one after the other, each by one of the functions.
class ResultWriter {
 public:
  virtual ~ResultWriter() = default;

  // A match with all that is in it.
  virtual void writeNode(const XmlNode *match) = 0;
  virtual void writeValue(std::string_view value) = 0;
  // The names and values of the match's attributes.
  virtual void writeAttributes(const XmlNode *match) = 0;
  // The columns of the match. A missing one has no value.
  virtual void writeRow(const std::vector<std::optional<std::string_view>> &values) = 0;
  // After the last match.
  virtual void end() = 0;
};

struct ResultFormat {
  std::string name;
  std::vector<std::string> columns;  // their names
  bool hasHeader;                    // in the formats that know one
  bool isList;                       // any number of matches, not one
};

inline constexpr const char *kDefaultResultFormat = "lines";
std::vector<std::string> resultFormatNames();

// Whether the format has rows of columns, and a line with their names.
bool hasColumns(const std::string &formatName);
bool hasHeader(const std::string &formatName);

// The document outlives the writer.
std::unique_ptr<ResultWriter> makeResultWriter(const Document &document,
                                               const ResultFormat &format);

}  // namespace nebxml
