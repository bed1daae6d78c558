// One function for each command. They throw CommandError.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "command_error.h"
#include "saving.h"

namespace nebxml {

// What a command reads or changes: a node of a file, or an attribute of that node.
struct Target {
  std::string fileName;
  std::string path;
  std::optional<std::string> attribute;  // "name" or "prefix:name"
  std::optional<std::string> valueType;  // of the value read or written; without it, any value
};

// The node that import copies.
struct Source {
  std::string fileName;
  std::string path;
};

// Reports each failure on standard error. Returns the most severe status.
ExitStatus checkFiles(const std::vector<std::string> &fileNames);

void formatDocument(const std::string &fileName, const Destination &destination);
void printValue(const Target &target);
void setValue(const Target &target, const std::string &value, const Destination &destination);
void importNode(const Target &target, const Source &source, const Destination &destination);
void removeTarget(const Target &target, const Destination &destination);
void printTree(const std::string &fileName);
void printStatistics(const std::string &fileName);

// Prints the first difference. Returns notFound if there is one, else done.
ExitStatus compareFiles(const std::string &firstName, const std::string &secondName);

}  // namespace nebxml
