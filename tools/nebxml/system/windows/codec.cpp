#include "system/windows/codec.h"

#include "system/system.h"

#if defined(NEBXML_WINDOWS)

#include <algorithm>
#include <array>

#include <windows.h>

#include "system/windows/code_pages.h"

namespace nebxml {
namespace {

constexpr unsigned kAscii = 20127;
constexpr unsigned kEucJp = 20932;
constexpr unsigned kUtf8CodePage = CP_UTF8;
constexpr unsigned kFirstLatin = 28591;  // ISO-8859-1 and the other parts
constexpr unsigned kLastLatin = 28606;
constexpr unsigned kByteBits = 8;
constexpr char32_t kByteMask = 0xFF;
constexpr char32_t kFirstBeyond = 0x10000;  // that has two units in UTF-16
constexpr char32_t kEndOfCharacters = 0x110000;
constexpr char32_t kUnitBits = 10;  // of a character, in each of its two units
constexpr char32_t kUnitMask = 0x3FF;
constexpr char32_t kHighSurrogate = 0xD800;
constexpr char32_t kLowSurrogate = 0xDC00;

bool isAscii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

bool isHigh(char32_t unit) { return (unit & ~kUnitMask) == kHighSurrogate; }

bool isLow(char32_t unit) { return (unit & ~kUnitMask) == kLowSurrogate; }

size_t lengthInUtf8(unsigned char lead) {
  constexpr unsigned char kLeads[] = {0xC0, 0xE0, 0xF0};
  return 1 + static_cast<size_t>(std::count_if(std::begin(kLeads), std::end(kLeads),
                                               [lead](auto least) { return lead >= least; }));
}

void appendUnits(char32_t character, std::wstring &units) {
  if (character < kFirstBeyond) {
    units += static_cast<wchar_t>(character);
    return;
  }
  const char32_t rest = character - kFirstBeyond;
  units += static_cast<wchar_t>(kHighSurrogate | (rest >> kUnitBits));
  units += static_cast<wchar_t>(kLowSurrogate | (rest & kUnitMask));
}

bool isWellFormed(std::wstring_view units) {
  for (size_t i = 0; i < units.size(); ++i) {
    if (isHigh(units[i]) && i + 1 < units.size() && isLow(units[i + 1])) {
      ++i;
    } else if (isHigh(units[i]) || isLow(units[i])) {
      return false;
    }
  }
  return true;
}

struct WideName {
  std::string_view text;
  size_t size;
  bool isBigEndian;
};

constexpr WideName kWideNames[] = {
    {"UTF-16LE", 2, false}, {"UTF-16BE", 2, true}, {"UTF-32LE", 4, false}, {"UTF-32BE", 4, true}};

}  // namespace

std::optional<Codec> Codec::named(std::string_view name) {
  for (const auto &[text, size, isBigEndian] : kWideNames) {
    if (isName(name, text)) return Codec(static_cast<Form>(size), isBigEndian);
  }
  const unsigned codePage = codePageNamed(name);
  if (codePage == 0) return std::nullopt;
  return Codec(codePage);
}

// In EBCDIC, whose controls are all defined, letters have other bytes.
Codec::Codec(unsigned codePage) : form_(Form::codePage), codePage_(codePage) {
  wchar_t letter = 0;
  ::MultiByteToWideChar(codePage, 0, "A", 1, &letter, 1);
  hasControls_ = codePage == kUtf8CodePage || letter != L'A' ||
                 (codePage >= kFirstLatin && codePage <= kLastLatin);
}

size_t Codec::firstLength(std::string_view bytes) const {
  const auto lead = static_cast<unsigned char>(bytes.front());
  const size_t size = static_cast<size_t>(form_);
  switch (form_) {
    case Form::utf16:
      return bytes.size() >= size && isHigh(numberAt(bytes, 0)) ? 2 * size : size;
    case Form::utf32:
      return size;
    default:
      if (codePage_ == kUtf8CodePage) return lengthInUtf8(lead);
      return ::IsDBCSLeadByteEx(codePage_, lead) != 0 ? 2 : 1;
  }
}

bool Codec::decode(std::string_view bytes, std::wstring &units) const {
  return form_ == Form::codePage ? decodeCodePage(bytes, units) : decodeNumbers(bytes, units);
}

bool Codec::encode(std::wstring_view units, std::string &bytes) const {
  if (form_ == Form::codePage) return encodeCodePage(units, bytes);
  encodeNumbers(units, bytes);
  return true;
}

char32_t Codec::numberAt(std::string_view bytes, size_t offset) const {
  const size_t size = static_cast<size_t>(form_);
  char32_t number = 0;
  for (size_t i = 0; i < size; ++i) {
    const size_t at = isBigEndian_ ? i : size - 1 - i;
    number = (number << kByteBits) | static_cast<unsigned char>(bytes[offset + at]);
  }
  return number;
}

void Codec::appendNumber(char32_t number, std::string &bytes) const {
  const size_t size = static_cast<size_t>(form_);
  for (size_t i = 0; i < size; ++i) {
    const size_t at = isBigEndian_ ? size - 1 - i : i;
    bytes += static_cast<char>((number >> (at * kByteBits)) & kByteMask);
  }
}

bool Codec::decodeNumbers(std::string_view bytes, std::wstring &units) const {
  const size_t size = static_cast<size_t>(form_);
  const size_t before = units.size();
  for (size_t offset = 0; offset + size <= bytes.size(); offset += size) {
    const char32_t number = numberAt(bytes, offset);
    const bool isHalf = form_ == Form::utf32 && (isHigh(number) || isLow(number));
    if (isHalf || number >= kEndOfCharacters) return false;
    appendUnits(number, units);
  }
  return isWellFormed(std::wstring_view(units).substr(before));
}

void Codec::encodeNumbers(std::wstring_view units, std::string &bytes) const {
  for (size_t i = 0; i < units.size(); ++i) {
    char32_t number = units[i];
    if (form_ == Form::utf32 && isHigh(number)) {
      number = kFirstBeyond + ((number & kUnitMask) << kUnitBits) + (units[++i] & kUnitMask);
    }
    appendNumber(number, bytes);
  }
}

// Windows fills what a code page leaves undefined with controls and private characters.
bool Codec::isUndefined(wchar_t unit) const {
  constexpr wchar_t kFirstControl = 0x80, kLastControl = 0x9F;
  constexpr wchar_t kFirstFiller = 0xF880, kLastFiller = 0xF8FE;
  return !hasControls_ && ((unit >= kFirstControl && unit <= kLastControl) ||
                           (unit >= kFirstFiller && unit <= kLastFiller));
}

// Windows drops the highest bit of what is not ASCII, and in its EUC-JP, a byte of ASCII can end a
// character. Others would see markup in such documents where there is none, or miss it.
bool Codec::isForWindowsAlone(std::string_view bytes) const {
  if (codePage_ == kAscii) return !std::all_of(bytes.begin(), bytes.end(), isAscii);
  if (codePage_ != kEucJp) return false;
  for (size_t last = 0; last < bytes.size(); ++last) {
    const bool isPair = firstLength(bytes.substr(last)) > 1;
    if (isPair && ++last < bytes.size() && isAscii(bytes[last])) return true;
  }
  return false;
}

bool Codec::decodeCodePage(std::string_view bytes, std::wstring &units) const {
  if (isForWindowsAlone(bytes)) return false;
  const size_t before = units.size();
  const int size = static_cast<int>(bytes.size());
  units.resize(before + bytes.size());  // no character has more units than bytes
  const int count = ::MultiByteToWideChar(codePage_, MB_ERR_INVALID_CHARS, bytes.data(), size,
                                          units.data() + before, size);
  units.resize(before + static_cast<size_t>(count));
  return count > 0 && std::none_of(units.begin() + static_cast<std::ptrdiff_t>(before), units.end(),
                                   [this](wchar_t unit) { return isUndefined(unit); });
}

bool Codec::encodeCodePage(std::wstring_view units, std::string &bytes) const {
  constexpr size_t kLongest = 3;  // bytes for a unit
  const bool isUtf8 = codePage_ == kUtf8CodePage;
  const size_t before = bytes.size();
  bytes.resize(before + units.size() * kLongest);
  BOOL isReplaced = FALSE;
  const int count = ::WideCharToMultiByte(
      codePage_, isUtf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS, units.data(),
      static_cast<int>(units.size()), bytes.data() + before,
      static_cast<int>(units.size() * kLongest), nullptr, isUtf8 ? nullptr : &isReplaced);
  bytes.resize(before + static_cast<size_t>(count));
  return count > 0 && isReplaced == 0 && !isForWindowsAlone(std::string_view(bytes).substr(before));
}

}  // namespace nebxml

#endif
