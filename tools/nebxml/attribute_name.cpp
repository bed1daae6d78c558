#include "attribute_name.h"

#include <algorithm>

namespace nebxml {
namespace {

constexpr unsigned char kFirstBeyondAscii = 0x80;
constexpr char kPrefixMark = ':';

bool isIn(char character, char first, char last) { return character >= first && character <= last; }

bool beginsName(char character) {
  return isIn(character, 'a', 'z') || isIn(character, 'A', 'Z') || character == '_' ||
         static_cast<unsigned char>(character) >= kFirstBeyondAscii;
}

bool continuesName(char character) {
  return beginsName(character) || isIn(character, '0', '9') || character == '-' || character == '.';
}

}  // namespace

AttributeName::AttributeName(const std::string &qualifiedName) {
  const size_t mark = qualifiedName.find(kPrefixMark);
  const bool hasPrefix = mark != std::string::npos && mark > 0;
  if (hasPrefix) prefix_ = qualifiedName.substr(0, mark);
  name_ = hasPrefix ? qualifiedName.substr(mark + 1) : qualifiedName;
}

bool AttributeName::isWellFormed() const {
  const bool isSplit = name_.find(kPrefixMark) == std::string::npos && !name_.empty();
  return isSplit && beginsName(prefix_.value_or(name_).front()) &&
         std::all_of(name_.begin(), name_.end(), continuesName) &&
         (!prefix_ || std::all_of(prefix_->begin(), prefix_->end(), continuesName));
}

}  // namespace nebxml
