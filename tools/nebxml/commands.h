// One function for each command. They throw CommandError.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "command_error.h"
#include "documents/saving.h"

namespace nebxml {

// What a command reads or changes: a file, a node of it, or an attribute of that node.
struct Target {
  std::string fileName;
  ReadingOptions reading;
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
ExitStatus checkFiles(const std::vector<std::string> &fileNames, const ReadingOptions &reading);

void formatDocument(const Target &target, const Destination &destination);
void printValue(const Target &target);
void setValue(const Target &target, const std::string &value, const Destination &destination);
void importNode(const Target &target, const Source &source, const Destination &destination);
void removeTarget(const Target &target, const Destination &destination);
void printTree(const Target &target);
void printStatistics(const Target &target);

// Prints the first difference. Returns notFound if there is one, else done.
ExitStatus compareFiles(const Target &target, const Source &source);

}  // namespace nebxml
