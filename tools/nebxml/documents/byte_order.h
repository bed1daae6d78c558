// The encodings of 16 and 32 bits, which the first bytes of a document show.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace nebxml {

inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";  // of UTF-8
inline constexpr size_t kLongestByteOrderMark = 4;

// "UTF-16LE" and the like, by a byte order mark or by the beginning of an XML declaration. Empty if
// the first bytes show none of these encodings.
std::string_view wideEncodingOf(std::string_view bytes);

// The name that the system knows for the encoding of these bytes. Names such as "UTF-16" leave the
// byte order to the document: systems differ in what they then read and write, so it is added here.
std::string inByteOrder(const std::string &encoding, std::string_view bytes);

// Whether two names of encodings differ in the case of letters only.
bool isSameEncodingName(std::string_view first, std::string_view second);

}  // namespace nebxml
