#include "documents/syntax_report.h"

#include <algorithm>

#include "terminal/colour.h"
#include "terminal/excerpt.h"
#include "terminal/printable.h"

namespace nebxml {
namespace {

// The rest of the document has not been read, so nobody knows whether it is well-formed.
constexpr const char *kMayBeXml = " (XML may allow it)";
constexpr const char *kDeepest = " (--max-depth)";
constexpr const char *kIsXml = "well-formed, but ";
constexpr std::string_view kMixedContent = "mixed content is not supported: ";

struct Position {
  size_t offset;
  size_t line;
  size_t column;
};

size_t lineStart(std::string_view text, size_t offset) {
  return offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;
}

Position positionOf(std::string_view text, size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto breaks = static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
  return {offset, breaks + 1, offset - lineStart(text, offset) + 1};
}

// The line at an offset, with a caret below it.
std::string markedLine(std::string_view text, size_t offset) {
  const size_t begin = lineStart(text, offset);
  const size_t end = std::min(text.find('\n', offset), text.size());
  if (begin == end) return "";
  const Excerpt excerpt = excerptAround(text.substr(begin, end - begin), offset - begin);
  return '\n' + excerpt.text + '\n' + excerpt.lead + styled(Stream::errors, Style::error, "^");
}

std::string message(const std::string &fileName, const Position &position, const std::string &words,
                    std::string_view text) {
  const std::string where = printable(fileName) + ':' + std::to_string(position.line) + ':' +
                            std::to_string(position.column) + ':';
  return styled(Stream::errors, Style::strong, where) + ' ' + words +
         markedLine(text, position.offset);
}

std::string sentenceOf(const NEB_XML_PARSE_ERROR &error, const std::string &cause) {
  std::string sentence = printable(cause);
  if (error.code == NEB_XML_ERR_LIMIT) return sentence + kDeepest;
  if (error.code != NEB_XML_ERR_UNSUPPORTED) return sentence;
  if (error.isWellFormed == 0) return sentence + kMayBeXml;
  const bool isMixed = sentence.starts_with(kMixedContent);
  return kIsXml +
         (isMixed ? "uses mixed content: " + sentence.substr(kMixedContent.size()) : sentence);
}

ExitStatus statusOf(uint32_t code) {
  if (code == NEB_XML_ERR_UNSUPPORTED) return ExitStatus::unsupported;
  return code == NEB_XML_ERR_LIMIT ? ExitStatus::fileTrouble : ExitStatus::notFound;
}

}  // namespace

CommandError syntaxReport(const std::string &fileName, const NEB_XML_PARSE_ERROR &error,
                          const std::string &cause, std::string_view text) {
  // An empty file has no line. The position is then the first byte.
  const Position position{error.offset, std::max<size_t>(error.line, 1),
                          std::max<size_t>(error.column, 1)};
  const std::string sentence = sentenceOf(error, cause);
  std::string report = message(fileName, position, sentence, text);
  if (error.startNameLength > 0) {
    const auto name = text.substr(error.startNameOffset, error.startNameLength);
    report += '\n' + message(fileName, positionOf(text, error.startTagOffset),
                             "the start tag is here: <" + shortened(name) + '>', text);
  }
  return {statusOf(error.code),
          report,
          {sentence, position.line, position.column, error.code == NEB_XML_ERR_LIMIT}};
}

CommandError syntaxReportAt(const std::string &fileName, size_t offset, uint32_t code,
                            const std::string &cause, std::string_view text) {
  const Position position = positionOf(text, offset);
  NEB_XML_PARSE_ERROR error{};
  error.code = code;
  error.offset = position.offset;
  error.line = position.line;
  error.column = position.column;
  return syntaxReport(fileName, error, cause, text);
}

}  // namespace nebxml
