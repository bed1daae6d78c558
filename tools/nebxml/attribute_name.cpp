#include "attribute_name.h"

#include <algorithm>

namespace nebxml {
namespace {

constexpr unsigned char firstBeyondAscii = 0x80;

bool isIn(char character, char first, char last) { return character >= first && character <= last; }

bool beginsName(char character) {
  return isIn(character, 'a', 'z') || isIn(character, 'A', 'Z') || character == '_' ||
         static_cast<unsigned char>(character) >= firstBeyondAscii;
}

bool goesOnInName(char character) {
  return beginsName(character) || isIn(character, '0', '9') || character == '-' || character == '.';
}

/** Tells whether XML has a name like this, without a prefix. */
bool isName(const std::string &text) {
  return !text.empty() && beginsName(text.front()) &&
         std::all_of(text.begin(), text.end(), goesOnInName);
}

}  // namespace

AttributeName::AttributeName(const std::string &qualifiedName) {
  const std::size_t mark = qualifiedName.find(':');
  const bool hasPrefix = mark != std::string::npos && mark > 0;
  if (hasPrefix) {
    prefix_ = qualifiedName.substr(0, mark);
  }
  name_ = hasPrefix ? qualifiedName.substr(mark + 1) : qualifiedName;
}

bool AttributeName::isWellFormed() const {
  return isName(name_) && (!prefix_ || isName(*prefix_));
}

}  // namespace nebxml
