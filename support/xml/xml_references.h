// The five named references.
#pragma once

#include <cstddef>

struct NamedReference {
  char text[7];
  char character;
  size_t length;
};

constexpr NamedReference kNamedReferences[] = {
    {"&amp;", '&', 5}, {"&lt;", '<', 4}, {"&gt;", '>', 4}, {"&apos;", '\'', 6}, {"&quot;", '"', 6}};

// The reference that a text begins with, or null. They are few and short: calls would cost more
// than the comparisons.
inline const NamedReference *namedReferenceAt(const char *text) {
  for (const NamedReference &reference : kNamedReferences) {
    size_t i = 0;
    while (i < reference.length && text[i] == reference.text[i]) ++i;
    if (i == reference.length) return &reference;
  }
  return nullptr;
}
