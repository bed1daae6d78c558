// Copying a file with all that belongs to it.
#pragma once

#include <string>

namespace nebxml {

// Creates the copy. Nobody gets more rights to it than to the file: if its owner or its group
// cannot be kept, only the owner of the copy gets any. Returns false and sets errno on failure; the
// copy may then exist in part.
bool copyFile(const std::string &fileName, const std::string &copyName);

}  // namespace nebxml
