// Conversions between encodings, made by the system.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "system/system.h"

namespace nebxml {

inline constexpr const char *kUtf8 = "UTF-8";

// Where to find what the system knows.
#if defined(NEBXML_WINDOWS)
inline constexpr const char *kEncodingsAreListed = "the manual lists what it knows";
#else
inline constexpr const char *kEncodingsAreListed = "'iconv -l' lists what it knows";
#endif

class Converter {
 public:
  // Nothing if the system does not know an encoding, or cannot convert in this direction. Each name
  // of 16 or 32 bits says the byte order.
  static std::optional<Converter> between(const std::string &from, const std::string &to);

  // Converts whole strings, each from the initial state, and appends what they become.
  //
  // Returns the length of what was converted. It is less than all if a character follows that one
  // of the encodings does not have, or the end of the string cuts it.
  size_t append(std::string_view bytes, std::string &output);

 private:
  // What the system converts with.
  struct Means;

  struct End {
    void operator()(Means *means) const;
  };

  explicit Converter(Means *means) : means_(means) {}

  std::unique_ptr<Means, End> means_;
};

}  // namespace nebxml
