// Names and values that are given with their lengths, and checked by the rules of XML.
#pragma once

#include <cstdint>
#include <string_view>

#include "record/node.h"

namespace neb::xml::internal {

// A name with its prefix, which is empty if there is none.
struct WholeName {
  std::string_view prefix;
  std::string_view local;

  bool isOf(const XmlNode *node) const;

  // The bytes of the name as it is written. Both strings may be the same one, which fills half of
  // the memory.
  uint64_t length() const {
    return prefix.empty() ? local.size() : uint64_t{prefix.size()} + 1 + local.size();
  }
  char operator[](uint64_t at) const {
    if (prefix.empty()) return local[static_cast<size_t>(at)];
    if (at < prefix.size()) return prefix[static_cast<size_t>(at)];
    const uint64_t behind = at - prefix.size();
    return behind == 0 ? ':' : local[static_cast<size_t>(behind - 1)];
  }

  bool endsInHyphens() const {
    constexpr std::string_view kFinalHyphens = "--";
    return local.ends_with(kFinalHyphens);
  }
};

// The strings of a node as a name.
WholeName wholeNameOf(const XmlNode *node);

// Splits a name at its first colon, unless it begins with it.
WholeName split(std::string_view name);

// NEB_XML_OK for what may be a name, prefix and colon included, and otherwise the result for it:
// NEB_XML_ERR_INVALID_PARAM if it is empty or has a NUL, NEB_XML_ERR_UNWRITABLE if XML has no such
// name.
uint32_t checkWholeName(std::string_view name);

// The same for one of the two, which has no colon.
uint32_t checkNamePart(std::string_view name);

// The same for a value, which may be empty.
uint32_t checkValue(std::string_view value);

// Bytes of a caller; null only if there are none.
constexpr bool isGiven(const char *bytes, size_t length) { return bytes != nullptr || length == 0; }

}  // namespace neb::xml::internal
