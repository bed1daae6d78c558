#include "source/content.h"

#include <algorithm>

#include "source/layout.h"

namespace neb::xml::internal {

namespace {

// Behind a section, or behind characters.
const char *behindText(const char *position) {
  if (begins(position, kCdataBegin)) return find(position, kCdataEnd) + lengthOf(kCdataEnd);
  return std::strchr(position, '<');
}

bool isWhitespaceOnly(const char *begin, const char *end) {
  return std::all_of(begin, end, [](char byte) { return isWhitespace(byte); });
}

}  // namespace

TextRange findText(const char *content, const char *contentEnd) {
  TextRange text = {contentEnd, contentEnd, true};
  for (const char *next = content; next < contentEnd;) {
    const char *from = next;
    next = behindMisc(from);
    if (next != from) continue;
    next = behindText(from);
    text.begin = std::min(text.begin, from);
    text.end = next;
    text.isLayout = text.isLayout && isWhitespaceOnly(from, next);
  }
  return text;
}

const char *behindCommentsOfLine(const char *position) {
  const char *end = position;
  for (const char *next = skipBlanks(end); begins(next, kCommentBegin); next = skipBlanks(end)) {
    end = behindMisc(next);
    if (std::any_of(next, end, isLineEnd)) return position;
  }
  return isLineEnd(*skipBlanks(end)) ? end : position;
}

}  // namespace neb::xml::internal
