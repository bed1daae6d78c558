// The five named references.
#pragma once

#include <cstddef>

namespace neb::xml::internal {

struct NamedReference {
  char text[7];
  char character;
  size_t length;
};

constexpr NamedReference kAmpersandReference = {"&amp;", '&', 5};
constexpr NamedReference kLessReference = {"&lt;", '<', 4};
constexpr NamedReference kGreaterReference = {"&gt;", '>', 4};
constexpr NamedReference kApostropheReference = {"&apos;", '\'', 6};
constexpr NamedReference kQuoteReference = {"&quot;", '"', 6};

// The only reference that may begin at an ampersand, selected by the next bytes. Null if none may.
// The other bytes are not compared.
inline const NamedReference *possibleReferenceAt(const char *ampersand) {
  switch (ampersand[1]) {
    case 'a':
      return ampersand[2] == 'm' ? &kAmpersandReference : &kApostropheReference;
    case 'l':
      return &kLessReference;
    case 'g':
      return &kGreaterReference;
    case 'q':
      return &kQuoteReference;
    default:
      return nullptr;
  }
}

// The reference that begins at an ampersand, or null. Calls would cost more than the comparisons,
// and nothing may be read behind the first byte that differs.
inline const NamedReference *namedReferenceAt(const char *ampersand) {
  const NamedReference *reference = possibleReferenceAt(ampersand);
  if (reference == nullptr) return nullptr;
  size_t i = 2;
  while (i < reference->length && ampersand[i] == reference->text[i]) ++i;
  return i == reference->length ? reference : nullptr;
}

}  // namespace neb::xml::internal
