// The form of the help.
#pragma once

#include <array>
#include <string>

#include <CLI/CLI.hpp>

namespace nebxml {

// Shows what an option takes as its type name says, and no more: "--type TYPE:{bool,int8}".
class HelpFormatter : public CLI::Formatter {
 public:
  // examples  the help begins with them; may be empty
  explicit HelpFormatter(std::array<std::string, 2> examples) : examples_(std::move(examples)) {}

  std::string make_help(const CLI::App *app, std::string name,
                        CLI::AppFormatMode mode) const override;
  std::string make_option_opts(const CLI::Option *option) const override;

 private:
  std::array<std::string, 2> examples_;
};

}  // namespace nebxml
