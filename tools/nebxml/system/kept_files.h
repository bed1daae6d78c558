// Files that are kept under another name. What fails says why in errno.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace nebxml {

// Whether it is a regular file or a link to one.
bool isRegularFile(const std::string &name);

// Makes a file available under a new name: by a hard link, or, where the file system has none, by a
// copy with all that belongs to it. Nobody gets more rights to the copy than to the file: if its
// owner or its group cannot be kept, only the owner of the copy gets any. False if that fails; the
// copy may then exist in part.
bool linkOrCopy(const std::string &name, const std::string &newName);

// Renames a file. One of the new name is replaced atomically. False if that fails.
bool renameFile(const std::string &name, const std::string &newName);

// Does nothing if there is no such file.
void removeFile(const std::string &name);

// Fills bytes with what nobody can guess. False if that fails.
bool fillRandomly(std::span<unsigned char> bytes);

}  // namespace nebxml
