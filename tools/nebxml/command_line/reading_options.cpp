#include "command_line/reading_options.h"

namespace nebxml {

void addReadingOptions(CLI::App *command, ReadingOptions &options) {
  command->add_flag_callback(
      "--lenient", [&options] { options.language = Reading::lenient; },
      "accept some documents that are not well-formed");
}

}  // namespace nebxml
