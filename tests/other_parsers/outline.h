// What a parser reads in a document, to be compared: names, attributes and values in their order.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "neb_xml.h"

namespace other_parsers {

class Outline {
 public:
  void start(std::string_view name);
  void attribute(std::string_view name, std::string_view value);
  void text(std::string_view part);  // of the innermost open element
  void end();

  // No string holds a NUL, so different documents have different outlines. White space beside
  // children is layout and not in it.
  const std::string &whole() const { return whole_; }

 private:
  struct Element {
    std::string text;
    bool hasChildren;
  };

  void add(std::string_view string) { whole_.append(string).append(1, '\0'); }

  std::string whole_;
  std::vector<Element> open_;
};

// Of a tree, without the siblings of its topmost node.
std::string outlineOf(const XmlNode *top);

struct OtherParser {
  const char *name;
  bool (*read)(const std::string &document, Outline *outline);  // false if it is refused
  bool knowsFifthEdition;  // what names may be beyond ASCII; the fourth allowed less
};

extern const OtherParser kPugixml, kLibxml2, kExpat;
// All three, or none where the system does not have them; then nothing may read by one.
extern const std::vector<const OtherParser *> kOtherParsers;

// The outline that a parser makes; "refused" if it makes none.
std::string outlineBy(const OtherParser &parser, const std::string &document);

}  // namespace other_parsers
