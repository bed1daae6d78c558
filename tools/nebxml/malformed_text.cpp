#include "malformed_text.h"

#include <algorithm>
#include <cstdlib>

#include <unistd.h>

#include "printable.h"
#include "text_window.h"

namespace nebxml {
namespace {

constexpr std::string_view boldStyle = "\x1b[1m";
constexpr std::string_view alarmStyle = "\x1b[1;31m";
constexpr std::string_view plainStyle = "\x1b[0m";

bool takesColour() {
  const char *refusal = std::getenv("NO_COLOR");
  return ::isatty(STDERR_FILENO) == 1 && (refusal == nullptr || *refusal == '\0');
}

std::string styled(std::string_view style, std::string_view text) {
  static const bool inColour = takesColour();
  if (!inColour) {
    return std::string(text);
  }
  return std::string(style).append(text).append(plainStyle);
}

struct Place {
  std::size_t offset;
  std::size_t line;
  std::size_t column;
};

std::size_t lineBegin(std::string_view text, std::size_t offset) {
  return offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;
}

Place placeOf(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto breaks = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  return {offset, breaks + 1, offset - lineBegin(text, offset) + 1};
}

/** The line of the place, and a caret under it. */
std::string excerpt(std::string_view text, std::size_t offset) {
  const std::size_t begin = lineBegin(text, offset);
  const std::size_t end = std::min(text.find('\n', offset), text.size());
  if (begin == end) {
    return "";
  }
  const TextWindow window = windowAround(text.substr(begin, end - begin), offset - begin);
  return '\n' + window.text + '\n' + window.lead + styled(alarmStyle, "^");
}

std::string remark(const std::string &fileName, const Place &place, const std::string &words,
                   std::string_view text) {
  const std::string where = printable(fileName) + ':' + std::to_string(place.line) + ':' +
                            std::to_string(place.column) + ':';
  const std::string view = place.offset <= text.size() ? excerpt(text, place.offset) : "";
  return styled(boldStyle, where) + ' ' + words + view;
}

}  // namespace

CommandError malformedText(const std::string &fileName, const NEB_XML_PARSE_ERROR &error,
                           std::string_view text) {
  // An empty file has no line; the place is then where the text should begin.
  const Place place{error.offset, std::max<std::size_t>(error.line, 1),
                    std::max<std::size_t>(error.column, 1)};
  std::string report = remark(fileName, place, error.reason, text);
  if (error.startNameLength > 0 && error.startNameOffset < text.size()) {
    const auto name = text.substr(error.startNameOffset, error.startNameLength);
    report += '\n' + remark(fileName, placeOf(text, error.startTagOffset),
                            "the start tag is here: <" + shortened(name) + '>', text);
  }
  return {ExitStatus::notFound, report};
}

}  // namespace nebxml
