// Conversions between encodings, made by the system.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <iconv.h>

namespace nebxml {

inline constexpr const char *kUtf8 = "UTF-8";

class Converter {
 public:
  // Nothing if the system does not know an encoding, or cannot convert in this direction.
  static std::optional<Converter> between(const std::string &from, const std::string &to);

  // Converts whole strings, each from the initial state, and appends what they become.
  //
  // Returns the length of what was converted. It is less than all if a character follows that one
  // of the encodings does not have, or the end of the string cuts it.
  size_t append(std::string_view bytes, std::string &output);

 private:
  using Descriptor = std::remove_pointer_t<iconv_t>;

  struct Close {
    void operator()(Descriptor *descriptor) const { ::iconv_close(descriptor); }
  };

  explicit Converter(Descriptor *descriptor) : descriptor_(descriptor) {}

  std::unique_ptr<Descriptor, Close> descriptor_;
};

// Whether the system knows an encoding.
bool isKnownEncoding(const std::string &name);

// Whether markup in this encoding has NUL bytes.
bool hasNulBytes(const std::string &encoding);

}  // namespace nebxml
