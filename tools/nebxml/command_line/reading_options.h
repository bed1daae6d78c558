// The options that say how files are read.
#pragma once

#include <CLI/CLI.hpp>

#include "documents/loading.h"

namespace nebxml {

void addReadingOptions(CLI::App *command, ReadingOptions &options);

}  // namespace nebxml
