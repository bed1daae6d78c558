#include "system/windows/wide.h"

#include "system/system.h"

#if defined(NEBXML_WINDOWS)

#include <cerrno>
#include <system_error>

#include <windows.h>

namespace nebxml {

std::wstring wideOf(std::string_view text) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');  // no character has more units in UTF-16
  const int length = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size);
  wide.resize(static_cast<size_t>(length));
  return wide;
}

std::string narrowOf(std::wstring_view text) {
  constexpr size_t kLongest = 3;  // bytes for a unit of UTF-16
  const int size = static_cast<int>(text.size());
  std::string narrow(text.size() * kLongest, '\0');
  const int length = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(),
                                           static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<size_t>(length));
  return narrow;
}

void takeLastError() {
  const std::error_code error(static_cast<int>(::GetLastError()), std::system_category());
  const std::error_condition known = error.default_error_condition();
  errno = known.category() == std::generic_category() ? known.value() : EIO;
}

}  // namespace nebxml

#endif
