// Making nodes and setting their strings, for callers that already know the storage.
#pragma once

#include <string_view>

#include "ownership/storage.h"

namespace neb::xml::internal {

// The strings that an operation was given. An empty one is as good as none.
struct NodeStrings {
  std::string_view prefix;
  std::string_view name;
  std::string_view value;
};

inline std::string_view measured(const char *string) {
  return isMissing(string) ? std::string_view() : std::string_view(string);
}

inline NodeStrings measured(const char *prefix, const char *name, const char *value) {
  return {measured(prefix), measured(name), measured(value)};
}

// A detached node without strings; null when memory runs out. Never owns a session.
XmlNode *makeNode(const Storage &storage, uint32_t type);

// The same with copies of those strings that are neither null nor empty.
XmlNode *makeNode(const Storage &storage, uint32_t type, const NodeStrings &given);

// As XML_SetNode, with the owner's storage.
uint32_t setStrings(const Storage &storage, XmlNode *node, const NodeStrings &given);

// The same for a value that is not empty.
uint32_t setValue(const Storage &storage, XmlNode *node, std::string_view value);

}  // namespace neb::xml::internal
