// The quickest way through a text: markup that is so short that one look into the maps shows it
// whole.
#pragma once

#include "memory/session_allocator.h"
#include "parser/map.h"
#include "parser/names.h"
#include "record/node.h"

namespace neb::xml::internal {

// Where the parser stands between two tokens, or in a start tag behind a name or a value.
struct ShortForms {
  const char *place;
  XmlNode *open;     // the innermost element whose end tag has not come; not null
  XmlNode *last;     // its last child; null while there is none
  XmlNode *pending;  // the record of the next element, its bytes not set
  Name leafName;     // of the open element, if it has no child
  bool isContent;    // behind a start tag and perhaps end tags
  XmlMemSession *session;
  ArenaCursor carving;
  uint32_t handle;

  // In a start tag, whose element is open and has no record pending behind it.
  bool isInTag;
  XmlNode *lastAttribute;
  size_t attributes;

  bool hasFailed;  // since memory has run out
};

// Takes short tokens of a session's tree until another one comes, which is left as it stands. The
// record is not zeroed, and the text not at its end.
void takeShortForms(ShortForms *forms, const MarkupMap *map, NamesSeen *names);

using TakeShortForms = void (*)(ShortForms *forms, const MarkupMap *map, NamesSeen *names);

// The same for machines whose maps are made with vectors.
void takeShortFormsWide(ShortForms *forms, const MarkupMap *map, NamesSeen *names);

}  // namespace neb::xml::internal
