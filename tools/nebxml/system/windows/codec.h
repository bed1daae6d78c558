// An encoding, to and from UTF-16.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace nebxml {

class Codec {
 public:
  // Nothing if Windows does not know the encoding.
  static std::optional<Codec> named(std::string_view name);

  // How many bytes the first character of a string has, going by its first ones. The string is not
  // empty, but the character may be cut.
  size_t firstLength(std::string_view bytes) const;

  // Appends whole characters. False if one of them is none of the encoding.
  bool decode(std::string_view bytes, std::wstring &units) const;

  // Appends what characters are encoded as. False if the encoding lacks one of them.
  //
  // units  well-formed UTF-16
  bool encode(std::wstring_view units, std::string &bytes) const;

 private:
  // With the size of a number in bytes.
  enum class Form : size_t { codePage = 1, utf16 = 2, utf32 = 4 };

  Codec(Form form, bool isBigEndian) : form_(form), isBigEndian_(isBigEndian) {}
  explicit Codec(unsigned codePage);

  char32_t numberAt(std::string_view bytes, size_t offset) const;
  void appendNumber(char32_t number, std::string &bytes) const;
  bool isForWindowsAlone(std::string_view bytes) const;
  bool isUndefined(wchar_t unit) const;
  bool decodeNumbers(std::string_view bytes, std::wstring &units) const;
  void encodeNumbers(std::wstring_view units, std::string &bytes) const;
  bool decodeCodePage(std::string_view bytes, std::wstring &units) const;
  bool encodeCodePage(std::wstring_view units, std::string &bytes) const;

  Form form_;
  bool isBigEndian_ = false;
  unsigned codePage_ = 0;
  bool hasControls_ = true;  // those of U+0080 to U+009F
};

}  // namespace nebxml
