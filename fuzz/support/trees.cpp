#include "support/trees.h"

#include <algorithm>
#include <cstring>

#include "support/links.h"
#include "support/require.h"

namespace trees {

namespace {

constexpr unsigned long kLastCharacter = 0x10FFFF;

bool isSameText(const char *a, const char *b) {
  return a == b || (a != nullptr && b != nullptr && std::strcmp(a, b) == 0);
}

bool areSameStrings(const XmlNode *a, const XmlNode *b) {
  return isSameText(a->prefix, b->prefix) && isSameText(a->name, b->name);
}

std::string qualifiedName(const XmlNode *node) {
  return node->prefix == nullptr ? node->name : std::string(node->prefix) + ":" + node->name;
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

bool isSameNode(const XmlNode *a, const XmlNode *b, Sameness sameness) {
  if (!areSameStrings(a, b) || (sameness.types && a->type != b->type)) return false;
  if (!isSameText(a->value, b->value)) return false;
  const XmlNode *attr = a->firstAttr;
  const XmlNode *other = b->firstAttr;
  for (; attr != nullptr && other != nullptr; attr = attr->next, other = other->next) {
    if (!areSameStrings(attr, other) || !isSameText(attr->value, other->value)) return false;
  }
  return attr == nullptr && other == nullptr;
}

bool isSameTree(const XmlNode *a, const XmlNode *b, Sameness sameness) {
  for (size_t depth = 0; a != nullptr && b != nullptr;) {
    links::checkNode(a, [](bool holds) { require(holds); });
    links::checkNode(b, [](bool holds) { require(holds); });
    if (!isSameNode(a, b, sameness)) return false;
    if ((a->firstChild == nullptr) != (b->firstChild == nullptr)) return false;
    if (a->firstChild != nullptr) {
      a = a->firstChild;
      b = b->firstChild;
      ++depth;
      continue;
    }
    for (; depth > 0 && a->next == nullptr && b->next == nullptr; --depth) {
      a = a->parent;
      b = b->parent;
    }
    if (depth == 0) return true;
    a = a->next;
    b = b->next;
  }
  return false;
}

bool isSameChain(const XmlNode *a, const XmlNode *b, Sameness sameness) {
  for (; a != nullptr && b != nullptr; a = a->next, b = b->next) {
    if (!isSameTree(a, b, sameness)) return false;
  }
  return a == nullptr && b == nullptr;
}

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
  std::string text;
  for (; value != nullptr && *value != '\0'; ++value) {
    switch (*value) {
      case '"':
        text += "&quot;";
        break;
      case '\'':
        text += "&apos;";
        break;
      case '<':
        text += "&lt;";
        break;
      case '>':
        text += "&gt;";
        break;
      case '&':
        text += beginsReference(value) ? "&" : "&amp;";
        break;
      default:
        text += *value;
    }
  }
  return text;
}

std::string printed(const XmlNode *top, Half half) {
  PrinterModel model = {top, half};
  model.print(top);
  return model.text;
}

void release(XmlNode *first) {
  const bool isWhole = first != nullptr && first->sessionId != 0;
  while (first != nullptr) {
    XmlNode *next = isWhole ? nullptr : NEB_XML_GetNodeNextSibling(first);
    NEB_XML_FreeNode(first);
    first = next;
  }
}

}  // namespace trees
