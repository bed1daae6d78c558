// A command of the tool, as the command line knows it.
#pragma once

#include <array>
#include <string>

#include <CLI/CLI.hpp>

namespace nebxml {

struct CommandText {
  std::string name;
  std::string purpose;
  std::array<std::string, 2> examples;  // the help begins with them
};

CLI::App *addCommand(CLI::App &app, const CommandText &text);

}  // namespace nebxml
