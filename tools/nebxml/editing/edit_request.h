// One of many edits, as an option or a line of a script asks for it.
#pragma once

#include <string>
#include <vector>

#include "editing/editor.h"
#include "editing/new_element.h"

namespace nebxml {

// Makes edits of one document. Keeps the new elements for as long as the edits need them.
struct EditSession {
  const Document &document;
  Editor editor;
  std::vector<Tree> elements;
};

struct EditRequest;

// A kind of edit: "set" of the option --set and of the line "set PATH=VALUE".
struct EditVerb {
  const char *name;
  const char *operand;
  const char *purpose;
  bool (*parse)(EditRequest &request, const std::string &operand);  // false if it is malformed
  void (*apply)(EditSession &session, const EditRequest &request);
};

struct EditRequest {
  const EditVerb *verb;
  Selection selection;
  std::string name;  // of an attribute, or a new one
  std::string value;
};

const std::vector<EditVerb> &editVerbs();

// Throws CommandError for a wrong operand.
//
// source  for messages: an option, or a file with a line
EditRequest parseRequest(const EditVerb &verb, const std::string &operand,
                         const std::string &source);

}  // namespace nebxml
