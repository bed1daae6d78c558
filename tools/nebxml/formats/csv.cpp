#include "formats/csv.h"

namespace nebxml {
namespace {

constexpr char kQuote = '"';

}  // namespace

void appendCsv(std::string &line, std::string_view value) {
  line += kQuote;
  for (const char character : value) {
    if (character == kQuote) line += kQuote;
    line += character;
  }
  line += kQuote;
}

}  // namespace nebxml
