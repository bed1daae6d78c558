#include "formats/tsv.h"

namespace nebxml {
namespace {

constexpr std::string_view kEscaped = "\t\n\r\\";
constexpr std::string_view kLetters = "tnr\\";  // in the same order

}  // namespace

void appendTsv(std::string &line, std::string_view value) {
  for (const char character : value) {
    const size_t index = kEscaped.find(character);
    if (index == std::string_view::npos) {
      line += character;
    } else {
      line.append(1, '\\').append(1, kLetters[index]);
    }
  }
}

}  // namespace nebxml
