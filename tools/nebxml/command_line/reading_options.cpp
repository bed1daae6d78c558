#include "command_line/reading_options.h"

#include <cstdint>
#include <string>

#include "documents/byte_order.h"
#include "documents/known_encoding.h"
#include "system/converter.h"

namespace nebxml {
namespace {

// A message, or nothing if the encoding is known.
std::string refuseUnknown(const std::string &name) {
  if (isKnownEncoding(inByteOrder(name, ""))) return "";
  return "the system does not know '" + name + "' (" + kEncodingsAreListed + ")";
}

// Replaces a size by its number of bytes. For an unknown unit, CLI11 throws.
bool countBytes(std::string &size) try {
  return !size.starts_with('-') && CLI::AsSizeValue(false)(size).empty() && size != "0";
} catch (const CLI::ValidationError &) {
  return false;
}

// A message, or nothing if the size has become a number of bytes.
std::string refuseNoSize(std::string &size) {
  const std::string given = size;
  return countBytes(size) ? "" : "'" + given + "' is no size, such as 4096, 64K or 2G";
}

}  // namespace

void addReadingOptions(CLI::App *command, ReadingOptions &options) {
  CLI::Option *lenient = command->add_flag_callback(
      "--lenient", [&options] { options.language = Reading::lenient; },
      "accept some documents that are not well-formed");
  command->add_option("--encoding", options.encoding, "of the files, whatever they declare")
      ->type_name("NAME")
      ->check(CLI::Validator(refuseUnknown, ""));
  command->add_option("--max-depth", options.maxDepth, "refuse elements deeper inside each other")
      ->type_name("N")
      ->check(CLI::Range(uint32_t{1}, UINT32_MAX).description(""))
      ->excludes(lenient);
  command->add_option("--max-bytes", options.maxBytes, "refuse larger files: 4096, 64K, 2G")
      ->type_name("SIZE")
      ->transform(CLI::Validator(refuseNoSize, ""));
}

}  // namespace nebxml
