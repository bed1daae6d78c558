#include "parser/encoding.h"

#include <cstring>
#include <string_view>

#include "parser/reasons.h"

namespace neb::xml::internal {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF"sv;

struct Beginning {
  std::string_view bytes;
  const char *reason;
};

// Of byte order marks, or of '<' without one. The longer ones come first.
constexpr Beginning kOtherEncodings[] = {
    {"\xFF\xFE\0\0"sv, reasons::kUtf32}, {"\0\0\xFE\xFF"sv, reasons::kUtf32},
    {"<\0\0\0"sv, reasons::kUtf32},      {"\0\0\0<"sv, reasons::kUtf32},
    {"\xFF\xFE"sv, reasons::kUtf16},     {"\xFE\xFF"sv, reasons::kUtf16},
    {"<\0"sv, reasons::kUtf16},          {"\0<"sv, reasons::kUtf16},
};

// Those of the standard library may throw.
bool begins(std::string_view document, std::string_view beginning) {
  return document.size() >= beginning.size() &&
         std::memcmp(document.data(), beginning.data(), beginning.size()) == 0;
}

}  // namespace

EncodingMark findEncodingMark(const char *bytes, size_t length) {
  const std::string_view document(bytes, length);
  if (begins(document, kUtf8Mark)) return {kUtf8Mark.size(), nullptr};
  for (const Beginning &beginning : kOtherEncodings) {
    if (begins(document, beginning.bytes)) return {0, beginning.reason};
  }
  return {0, nullptr};
}

}  // namespace neb::xml::internal
