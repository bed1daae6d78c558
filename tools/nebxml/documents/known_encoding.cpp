#include "documents/known_encoding.h"

#include <optional>

#include "system/converter.h"

namespace nebxml {

bool isKnownEncoding(const std::string &name) {
  return Converter::between(name, kUtf8).has_value();
}

bool hasNulBytes(const std::string &encoding) {
  std::optional<Converter> encoder = Converter::between(kUtf8, encoding);
  std::string markup;
  if (encoder) encoder->append("<", markup);
  return markup.find('\0') != std::string::npos;
}

}  // namespace nebxml
