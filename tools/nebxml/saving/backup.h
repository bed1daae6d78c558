// Keeping a file before it is replaced.
#pragma once

#include <string>

namespace nebxml {

// Makes a file available under its name with a suffix, complete with owner, rights, access control
// list and extended attributes. An older file of that name is replaced atomically. Where the file
// system has no hard links, it is a copy. Throws CommandError.
void keepBackup(const std::string &fileName, const std::string &suffix);

}  // namespace nebxml
