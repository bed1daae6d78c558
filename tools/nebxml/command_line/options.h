// The arguments and options that several commands have.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "documents/selection.h"
#include "saving/saving.h"

namespace nebxml {

// The file that a command is about.
struct Input {
  std::string fileName;
  ReadingOptions reading;
};

void addFile(CLI::App *command, Input &input, const std::string &label = "FILE");
void addPath(CLI::App *command, std::string &pattern);
void addAll(CLI::App *command, Selection &selection, const std::string &purpose);
void addOutput(CLI::App *command, Destination &destination);
void addType(CLI::App *command, std::optional<std::string> &type);

// For a document that cannot come from standard input, as it is replaced or read a second time.
void requireOneStandardInput(const std::vector<std::string> &fileNames);
void requireReplaceable(const Input &input, const Destination &destination);

}  // namespace nebxml
