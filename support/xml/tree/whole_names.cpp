#include "tree/whole_names.h"

#include "characters/characters.h"
#include "characters/utf8.h"
#include "record/node_strings.h"

namespace neb::xml::internal {

namespace {

constexpr char kColon = ':';

std::string_view nameOf(const XmlNode *node) {
  if (node->name == nullptr) return {};
  return {node->name, nameLengthOf(node)};
}

std::string_view prefixOf(const XmlNode *node) {
  if (node->prefix == nullptr) return {};
  return {node->prefix, prefixLengthOf(node)};
}

bool areSame(std::string_view a, std::string_view b) {
  return a.size() == b.size() && sameBytes(a.data(), b.data(), a.size());
}

// The result for a string that XML refuses.
uint32_t refusal(std::string_view string) {
  const bool isWrongArgument = string.empty() || string.find('\0') != string.npos;
  return isWrongArgument ? NEB_XML_ERR_INVALID_PARAM : NEB_XML_ERR_UNWRITABLE;
}

}  // namespace

bool WholeName::isOf(const XmlNode *node) const {
  return areSame(local, nameOf(node)) && areSame(prefix, prefixOf(node));
}

WholeName wholeNameOf(const XmlNode *node) { return {prefixOf(node), nameOf(node)}; }

WholeName split(std::string_view name) {
  const size_t colon = name.find(kColon);
  if (colon == name.npos || colon == 0) return {{}, name};
  return {{name.data(), colon}, {name.data() + colon + 1, name.size() - colon - 1}};
}

uint32_t checkWholeName(std::string_view name) {
  const bool isName =
      isXmlName(name.data(), name.size()) && name.front() != kColon && name.back() != kColon;
  return isName ? uint32_t{NEB_XML_OK} : refusal(name);
}

uint32_t checkNamePart(std::string_view name) {
  const bool isPart = isXmlName(name.data(), name.size()) && name.find(kColon) == name.npos;
  return isPart ? uint32_t{NEB_XML_OK} : refusal(name);
}

uint32_t checkValue(std::string_view value) {
  const char *end = value.data() + value.size();
  return findForbidden(value.data(), end) == end ? uint32_t{NEB_XML_OK} : refusal(value);
}

}  // namespace neb::xml::internal
