// What is between the tags of an element, in a document that has been read strictly.
#pragma once

#include "parser/markup.h"

namespace neb::xml::internal {

// Behind a comment or a processing instruction; the position itself if none begins there.
inline const char *behindMisc(const char *position) {
  if (begins(position, kCommentBegin)) {
    return find(position + lengthOf(kCommentBegin), kCommentEnd) + lengthOf(kCommentEnd);
  }
  if (!begins(position, kInstructionBegin)) return position;
  return find(position, kInstructionEnd) + lengthOf(kInstructionEnd);
}

inline const char *skipWhitespaceBack(const char *position, const char *begin) {
  while (position > begin && isWhitespace(position[-1])) --position;
  return position;
}

// The text of an element without children.
struct TextRange {
  const char *begin;  // behind the comments that are before it
  const char *end;    // before those that are behind it
  bool isLayout;      // nothing but white space, as it is
};

TextRange findText(const char *content, const char *contentEnd);

// Behind the comments that end the line; the position itself if something else is on it.
const char *behindCommentsOfLine(const char *position);

}  // namespace neb::xml::internal
