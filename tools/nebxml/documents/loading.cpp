#include "documents/loading.h"

#include <chrono>
#include <new>
#include <string_view>
#include <utility>

#include "documents/input.h"
#include "documents/parsing.h"
#include "documents/syntax_report.h"
#include "terminal/command_error.h"
#include "terminal/excerpt.h"
#include "terminal/progress_note.h"

namespace nebxml {
namespace {

ProgressNote::Text aboutReading(const std::string &fileName) {
  return [name = shortened(fileName)](std::chrono::milliseconds elapsed) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    return "nebxml: reading " + name + ", " + std::to_string(seconds) + " s";
  };
}

}  // namespace

Tree loadDocument(const std::string &fileName, const ReadingOptions &options, std::string &bytes,
                  Encoding &encoding) try {
  const ProgressNote note(aboutReading(fileName), !isTypedByUser(fileName));
  bytes = readInput(fileName, options.encoding, options.maxBytes);
  encoding = Encoding(fileName, options.encoding, bytes);
  const bool isStrict = options.language == Reading::strict;
  const std::string_view whole(bytes);
  const std::string_view text = isStrict ? whole : whole.substr(0, whole.find('\0'));
  Parsed parsed = isStrict ? parseStrictly(text, options.maxDepth) : parseLeniently(text);
  if (parsed.tree) return std::move(parsed.tree);
  const std::string cause = text.empty() ? "the file is empty" : parsed.cause;
  throw syntaxReport(fileName, parsed.error, cause, encoding.asInFile(std::string(text)));
} catch (const std::bad_alloc &) {
  throw noMemory(fileName);
}

}  // namespace nebxml
