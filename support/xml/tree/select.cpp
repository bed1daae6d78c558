// Finding nodes by a pattern.
#include <cstring>

#include "neb_xml.h"
#include "platform/bounded_memory.h"
#include "tree/pattern.h"
#include "tree/pattern_walk.h"

namespace neb::xml::internal {

namespace {

static_assert(sizeof(Walk) <= sizeof(NEB_XML_CURSOR::walk));

Walk readWalk(const NEB_XML_CURSOR *cursor) {
  Walk walk;
  std::memcpy(&walk, cursor->walk, sizeof walk);
  return walk;
}

uint32_t store(const Walk &walk, XmlNode *match, NEB_XML_CURSOR *cursor) {
  std::memcpy(cursor->walk, &walk, sizeof walk);
  cursor->node = match;
  return match != nullptr ? NEB_XML_OK : NEB_XML_ERR_NOT_FOUND;
}

uint32_t refuse(const char *pattern, const char *mistake, NEB_XML_CURSOR *cursor) {
  cursor->node = nullptr;
  cursor->offset = static_cast<size_t>(mistake - pattern);
  return NEB_XML_ERR_BAD_PATH;
}

// FNV-1a.
uint64_t hashOf(const char *text) {
  constexpr uint64_t kBasis = 0xCBF29CE484222325;
  constexpr uint64_t kPrime = 0x100000001B3;
  uint64_t hash = kBasis;
  for (; *text != '\0'; ++text) hash = (hash ^ static_cast<uint8_t>(*text)) * kPrime;
  return hash;
}

// Whether a walk that has begun goes on with the same arguments. One that has not takes them.
bool takeArguments(const XmlNode *start, const char *pattern, Walk *walk) {
  const uint64_t hash = hashOf(pattern);
  if (walk->hasBegun != 0) return walk->start == start && walk->patternHash == hash;
  walk->start = start;
  walk->patternHash = hash;
  return true;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_Select(const XmlNode *start, const char *pattern, NEB_XML_CURSOR *cursor) {
  if (start == nullptr || isMissing(pattern) || cursor == nullptr || isAttribute(start)) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  if (neb::platform::lengthWithin(pattern, kLongestPattern + 1) > kLongestPattern) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  Walk walk = readWalk(cursor);
  if (!takeArguments(start, pattern, &walk)) return NEB_XML_ERR_INVALID_PARAM;
  Pattern parsed;
  const char *mistake = parsePattern(pattern, &parsed);
  if (mistake != nullptr) return refuse(pattern, mistake, cursor);
  XmlNode *match = findNext(parsed, &walk);
  return store(walk, match, cursor);
}
