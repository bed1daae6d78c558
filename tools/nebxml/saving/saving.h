// Where the result of a command goes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "documents/document.h"

namespace nebxml {

struct Destination {
  std::string fileName{kStandardStream};
  bool inPlace = false;
  std::optional<std::string> backupSuffix;  // in place only: the old file is kept with it
  bool isDryRun = false;                    // only shows what would change
};

// Writes the new text of a document to its destination, in the encoding of the file.
//
// text  in UTF-8
void save(const Document &document, std::string text, const Destination &destination);

}  // namespace nebxml
