// The five named references.
#pragma once

#include <cstddef>

struct NamedReference {
  char text[7];
  char character;
  size_t length;
};

constexpr NamedReference kAmpersand = {"&amp;", '&', 5};
constexpr NamedReference kLess = {"&lt;", '<', 4};
constexpr NamedReference kGreater = {"&gt;", '>', 4};
constexpr NamedReference kApostrophe = {"&apos;", '\'', 6};
constexpr NamedReference kQuote = {"&quot;", '"', 6};

// The only one that can begin where there is an ampersand, or null.
inline const NamedReference *possibleReferenceAt(const char *ampersand) {
  switch (ampersand[1]) {
    case 'a':
      return ampersand[2] == 'm' ? &kAmpersand : &kApostrophe;
    case 'l':
      return &kLess;
    case 'g':
      return &kGreater;
    case 'q':
      return &kQuote;
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
