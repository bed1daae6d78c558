// One function for each command. They throw CommandError.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "command_error.h"
#include "comparison/tolerance.h"
#include "saving.h"

namespace nebxml {

// What a command reads or changes: a file, a node of it, or an attribute of that node.
struct Target {
  std::string fileName;
  Reading reading = Reading::strict;
  std::string path;
  std::optional<std::string> attribute;  // "name" or "prefix:name"
  std::optional<std::string> valueType;  // of the value read or written; without it, any value
};

// The file to compare with, or the node that import copies. It is read as the target is.
struct Source {
  std::string fileName;
  std::string path;
};

// Reports each failure on standard error. Returns the most severe status.
ExitStatus checkFiles(const std::vector<std::string> &fileNames, Reading reading);

void formatDocument(const Target &target, const Destination &destination);
void printValue(const Target &target);
void setValue(const Target &target, const std::string &value, const Destination &destination);
void importNode(const Target &target, const Source &source, const Destination &destination);
void removeTarget(const Target &target, const Destination &destination);
void printTree(const Target &target);
void printStatistics(const Target &target);

// Prints every difference. Returns notFound if there is one, else done. Of a document that is not
// well-formed, the status is that of wrong usage.
ExitStatus compareFiles(const Target &target, const Source &source, const Tolerance &tolerance);

}  // namespace nebxml
