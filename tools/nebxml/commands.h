/*
 * One function for each verb of the command line. They throw CommandError.
 */
#ifndef NEBXML_COMMANDS_H
#define NEBXML_COMMANDS_H

#include <optional>
#include <string>
#include <vector>

#include "command_error.h"
#include "saving.h"

namespace nebxml {

/** What get, set and del work on: a node of a file, or one of its attributes. */
struct Target {
  std::string fileName;
  std::string path;
  std::optional<std::string> attribute;  ///< "name" or "prefix:name".
  std::optional<std::string> valueType;  ///< Of the value read or written; any text without.
};

/** What import copies. */
struct Source {
  std::string fileName;
  std::string path;
};

/** Reports each bad file on standard error and returns the worst outcome. */
ExitStatus checkFiles(const std::vector<std::string> &fileNames);

void formatDocument(const std::string &fileName, const Destination &destination);
void printValue(const Target &target);
void setValue(const Target &target, const std::string &value, const Destination &destination);
void importNode(const Target &target, const Source &source, const Destination &destination);
void removeTarget(const Target &target, const Destination &destination);
void printTree(const std::string &fileName);
void printStatistics(const std::string &fileName);

/** Prints the first difference, if there is one, and tells so by its status. */
ExitStatus compareFiles(const std::string &firstName, const std::string &secondName);

}  // namespace nebxml

#endif
