#include "system/windows/code_pages.h"

#include "system/system.h"

#if defined(NEBXML_WINDOWS)

#include <algorithm>
#include <charconv>

#include <windows.h>

namespace nebxml {
namespace {

// Smaller numbers stand for the code pages that a user has chosen.
constexpr unsigned kLeastCodePage = 37;

struct Name {
  std::string_view text;
  unsigned codePage;
};

// In upper case.
constexpr Name kNames[] = {
    {"UTF-8", 65001},        {"UTF8", 65001},      {"US-ASCII", 20127}, {"ASCII", 20127},
    {"LATIN1", 28591},       {"LATIN2", 28592},    {"LATIN5", 28599},   {"LATIN9", 28605},
    {"KOI8-R", 20866},       {"KOI8-U", 21866},    {"SHIFT_JIS", 932},  {"SHIFT-JIS", 932},
    {"SJIS", 932},           {"WINDOWS-31J", 932}, {"EUC-JP", 20932},   {"EUC-KR", 20949},
    {"KS_C_5601-1987", 949}, {"GBK", 936},         {"GB2312", 936},     {"BIG5", 950},
    {"TIS-620", 874},        {"MACINTOSH", 10000},
};

// Names that end in a number.
struct Family {
  std::string_view text;
  unsigned base;
  unsigned last;
};

constexpr unsigned kLastCodePage = 65535;
constexpr unsigned kLastPart = 16;
constexpr Family kFamilies[] = {
    {"WINDOWS-", 0, kLastCodePage},  {"CP", 0, kLastCodePage},       {"IBM", 0, kLastCodePage},
    {"ISO-8859-", 28590, kLastPart}, {"ISO8859-", 28590, kLastPart},
};

char upperCase(char byte) {
  return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

bool beginsWith(std::string_view name, std::string_view beginning) {
  return name.size() >= beginning.size() &&
         std::equal(beginning.begin(), beginning.end(), name.begin(),
                    [](char expected, char byte) { return expected == upperCase(byte); });
}

}  // namespace

bool isName(std::string_view name, std::string_view other) {
  return name.size() == other.size() && beginsWith(name, other);
}

namespace {

unsigned numberIn(std::string_view digits) {
  unsigned number = 0;
  const char *expected = digits.data() + digits.size();
  const auto [end, error] = std::from_chars(digits.data(), expected, number);
  return error == std::errc() && end == expected ? number : 0;
}

unsigned numberOf(std::string_view name) {
  for (const auto &[text, codePage] : kNames) {
    if (isName(name, text)) return codePage;
  }
  for (const auto &[text, base, last] : kFamilies) {
    const unsigned number = beginsWith(name, text) ? numberIn(name.substr(text.size())) : 0;
    if (number != 0 && number <= last) return base + number;
  }
  return 0;
}

// Those whose meaning changes within a string refuse to be strict.
bool isStrict(unsigned codePage) {
  wchar_t wide = 0;
  return ::MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, "1", 1, &wide, 1) == 1;
}

}  // namespace

unsigned codePageNamed(std::string_view name) {
  const unsigned codePage = numberOf(name);
  return codePage >= kLeastCodePage && isStrict(codePage) ? codePage : 0;
}

}  // namespace nebxml

#endif
