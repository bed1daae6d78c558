#include "support/trees.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "support/links.h"
#include "support/require.h"

namespace trees {

namespace {

constexpr unsigned long kLastCharacter = 0x10FFFF;

// Whether the printer takes an ampersand for the beginning of a reference.
bool beginsReference(const char *ampersand) {
  const char *end = std::strchr(ampersand, ';');
  if (end == nullptr) return false;
  std::string inside(ampersand + 1, end);
  if (inside.empty() || inside[0] != '#') {
    constexpr const char *kNames[] = {"lt", "gt", "amp", "apos", "quot"};
    return std::find(std::begin(kNames), std::end(kNames), inside) != std::end(kNames);
  }
  const bool isHexadecimal = inside.size() > 1 && inside[1] == 'x';
  inside.erase(0, isHexadecimal ? 2 : 1);
  const char *digits = isHexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
  if (inside.find_first_not_of(digits) != std::string::npos) return false;
  inside.erase(0, inside.find_first_not_of('0'));
  if (inside.empty()) return true;
  constexpr size_t kMostDigits = 7;
  return inside.size() <= kMostDigits &&
         std::stoul(inside, nullptr, isHexadecimal ? 16 : 10) <= kLastCharacter;
}

std::string escaped(const char *value) {
  constexpr std::string_view kEscaped = "\"'<>";
  constexpr const char *kReferences[] = {"&quot;", "&apos;", "&lt;", "&gt;"};
  std::string text;
  for (; value != nullptr && *value != '\0'; ++value) {
    const size_t kind = kEscaped.find(*value);
    const bool isAlone = *value == '&' && !beginsReference(value);
    text += kind < kEscaped.size() ? kReferences[kind] : std::string(1, *value);
    if (isAlone) text += "amp;";
  }
  return text;
}

struct PrinterModel {
  const XmlNode *top;
  Half half;
  std::string text = {};

  bool isLast(const XmlNode *node) const { return node == top || node->next == nullptr; }

  void open(const XmlNode *node) {
    text += "<" + qualifiedName(node);
    for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
      text += " " + qualifiedName(attr) + "=\"" + escaped(attr->value) + "\"";
    }
    if (node->firstChild != nullptr) {
      text += ">\n";
    } else if (node->value != nullptr) {
      text += ">" + escaped(node->value) + "</" + qualifiedName(node) + ">\n";
    } else {
      text += half == Half::opening && isLast(node) ? ">\n" : "/>\n";
    }
  }

  void print(const XmlNode *node) {
    if (half != Half::closing) open(node);
    for (const XmlNode *child = node->firstChild; child != nullptr; child = child->next) {
      print(child);
    }
    const bool isOpenLeaf = half == Half::closing && node != top && node->next == nullptr;
    const bool isClosedHere = node->firstChild != nullptr || isOpenLeaf;
    if (half != Half::opening && isClosedHere) text += "</" + qualifiedName(node) + ">\n";
  }
};

}  // namespace

std::string described(const XmlNode *node, bool isAlone) {
  constexpr auto kRequire = [](bool holds) { require(holds); };
  return links::described(node, kRequire, isAlone);
}

std::string qualifiedName(const XmlNode *node) {
  return node->prefix == nullptr ? node->name : std::string(node->prefix) + ":" + node->name;
}

std::string printed(const XmlNode *top, Half half) {
  PrinterModel model = {top, half};
  model.print(top);
  return model.text;
}

}  // namespace trees
