// A parsed document is printed as the model prints it, whole and by halves. Exact printing, also
// after edits, parses back to the same tree, or refuses a tree that XML cannot represent. What
// strict printing writes, other parsers read alike; what it refuses, they cannot read.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <utility>

#include "other_parsers/outline.h"
#include "support/bytes.h"
#include "support/guarded_hooks.h"
#include "support/require.h"
#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

using other_parsers::Outline;
using other_parsers::outlineBy;
using other_parsers::outlineOf;
using trees::qualifiedName;

constexpr size_t kLongestInput = 1 << 13;

void checkAgainstModel(const XmlNode *node) {
  for (const auto half : {trees::Half::closing, trees::Half::opening, trees::Half::both}) {
    char *text = nullptr;
    require(kPrints[static_cast<size_t>(half)](node, &text) == kOk);
    require(text == nullptr || *text != '\0');
    require(trees::printed(node, half) == (text == nullptr ? "" : text));
    NEB_XML_FreeMem(text);
  }
}

bool isName(const std::string &name) {
  const auto isOneOf = [](char byte, const char *others) {
    return (byte & 0x80) != 0 || std::isalpha(byte) != 0 || std::strchr(others, byte) != nullptr;
  };
  const auto isPart = [&](char byte) { return isOneOf(byte, "0123456789._-:"); };
  return !name.empty() && isOneOf(name.front(), "_") && name.back() != ':' &&
         std::all_of(name.begin(), name.end(), isPart);
}

bool isValue(const std::string &value) {
  return std::all_of(value.begin(), value.end(), [](char byte) {
    return (byte & 0xE0) != 0 || byte == '\t' || byte == '\n' || byte == '\r';
  });
}

bool isAscii(const std::string &text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; });
}

// Whether a parser reads an element of that name or with that value. Expat decodes strictly.

bool isStrictValue(const std::string &value) {
  std::string text;
  for (const char byte : value) text += std::strchr("<&>", byte) == nullptr ? byte : '.';
  return outlineBy(other_parsers::kExpat, "<a>" + text + "</a>") != "refused";
}

bool isStrictName(const std::string &name) {
  Outline expected;
  expected.start(name);
  expected.end();
  return !name.empty() && name.front() != ':' && name.back() != ':' && isStrictValue(name) &&
         outlineBy(other_parsers::kLibxml2, "<" + name + "/>") == expected.whole();
}

bool isAsciiName(const std::string &name) { return isAscii(name) && isStrictName(name); }

// What a kind of printing accepts.
struct Rules {
  bool (*isName)(const std::string &);
  bool (*isValue)(const std::string &);
};
constexpr Rules kExact = {isName, isValue};
constexpr Rules kStrict = {isStrictName, isStrictValue};
constexpr Rules kStrictAscii = {isAsciiName, isStrictValue};

const char *valueOf(const XmlNode *node) { return node->value == nullptr ? "" : node->value; }

bool isRepresentable(const XmlNode *node, const Rules &rules) {
  if (node->name == nullptr) return false;
  if (!rules.isName(qualifiedName(node)) || !rules.isValue(valueOf(node))) return false;
  if (node->type == NEB_XML_NODE_ATTRIBUTE) return true;
  if (node->type != NEB_XML_NODE_ELEMENT && node->type != NEB_XML_NODE_DOCUMENT) return false;
  std::set<std::string> names;
  for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
    if (!isRepresentable(attr, rules) || !names.insert(qualifiedName(attr)).second) return false;
  }
  return node->firstChild == nullptr ||
         valueOf(node)[std::strspn(valueOf(node), " \t\n\r")] == '\0';
}

bool isRepresentableTree(const XmlNode *top, const Rules &rules) {
  const XmlNode *node = top;
  while (node != nullptr && isRepresentable(node, rules)) node = NEB_XML_Iterator(node);
  return node == nullptr;
}

// Replaces strings and adds nodes as the bytes of the input choose, again from its beginning.
void edit(XmlNode *node, Bytes bytes) {
  constexpr uint32_t kTypes[] = {NEB_XML_NODE_ELEMENT, NEB_XML_NODE_ELEMENT, NEB_XML_NODE_ELEMENT,
                                 3};
  constexpr size_t kLongest = 40;
  for (; node != nullptr && !bytes.isEmpty(); node = NEB_XML_Iterator(node)) {
    const bool isForAttribute = bytes.pick(2) == 1 && node->firstAttr != nullptr;
    const std::string text = bytes.takeText(kLongest);
    const char *strings[3] = {};
    strings[bytes.pick(3)] = text.c_str();
    XmlNode *edited = isForAttribute ? static_cast<XmlNode *>(node->firstAttr) : node;
    // The target api checks which edits are refused.
    require(NEB_XML_SetNode(edited, strings[0], strings[1], strings[2]) != kNoMemory);
    if (bytes.pick(2) == 1) {
      require(NEB_XML_AddAttr(node, "p", text.c_str(), text.c_str()) != kNoMemory);
    }
    if (bytes.pick(4) != 0) continue;
    XmlNode *child = XML_NewNode(0, bytes.pickFrom(kTypes));
    require(XML_SetNode(nullptr, child, nullptr, "child", text.c_str()) == kOk);
    if (NEB_XML_AppendChildNode(node, child) != kOk) NEB_XML_FreeNode(child);
  }
}

void checkExact(const XmlNode *document) {
  const bool fits = isRepresentableTree(document, kExact);
  for (const uint32_t width : {0U, 1U, 3U, 16U}) {
    char *text = nullptr;
    const uint32_t result = NEB_XML_TransformIndented(document, width, &text);
    require(result == (fits ? kOk : kInvalid));
    if (!fits) continue;
    XmlNode *again = nullptr;
    require(NEB_XML_Parse(text, &again) == kOk);
    require(outlineOf(again) == outlineOf(document));
    XML_FreeNode(again);
    NEB_XML_FreeMem(text);
  }
}

// Most inputs begin and end alike, so all of their bytes choose.
NEB_XML_PRINT_OPTIONS chosenOptions(const std::string &input) {
  constexpr uint32_t kAllFlags = 127;
  constexpr uint32_t kWidest = 16;
  const size_t hash = std::hash<std::string>()(input);
  auto flags = static_cast<uint32_t>(hash) & kAllFlags;
  const bool isOneLine = (flags & NEB_XML_PRINT_ONE_LINE) != 0;
  if (isOneLine) flags &= ~uint32_t{NEB_XML_PRINT_TABS};
  const auto width = static_cast<uint32_t>(hash / (kAllFlags + 1) % kWidest);
  return {sizeof(NEB_XML_PRINT_OPTIONS), flags, isOneLine ? 0 : 1 + width};
}

bool hasAsciiNames(const XmlNode *top) {
  for (const XmlNode *node = top; node != nullptr; node = NEB_XML_Iterator(node)) {
    if (!isAscii(qualifiedName(node))) return false;
    for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
      if (!isAscii(qualifiedName(attr))) return false;
    }
  }
  return true;
}

void checkStrict(const XmlNode *document, const NEB_XML_PRINT_OPTIONS &options) {
  std::string whole;
  const uint32_t result = NEB_XML_Print(document, &options, appendTo, &whole);
  const bool isAsciiOnly = (options.flags & NEB_XML_PRINT_ASCII) != 0;
  require(result == kOk || result == kUnwritable);
  if (!other_parsers::kOtherParsers.empty()) {
    const Rules &rules = isAsciiOnly ? kStrictAscii : kStrict;
    require((result == kOk) == isRepresentableTree(document, rules));
  }
  if (result != kOk) return;
  require(!isAsciiOnly || isAscii(whole));
  const std::string expected = outlineOf(document);
  for (const other_parsers::OtherParser *parser : other_parsers::kOtherParsers) {
    if (!parser->knowsFifthEdition && !hasAsciiNames(document)) continue;
    require(outlineBy(*parser, whole) == expected);
  }
  for (const uint32_t flags : kParseFlags) {
    XmlNode *again = nullptr;
    require(NEB_XML_ParseBuffer(whole.data(), whole.size(), flags, &again, nullptr) == kOk);
    require(outlineOf(again) == expected);
    XML_FreeNode(again);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > kLongestInput) return 0;
  guarded::begin();
  const std::string input(reinterpret_cast<const char *>(data), size);
  XmlNode *first = nullptr;
  const auto parse = size % 2 == 0 ? NEB_XML_Parse : NEB_XML_ParseEx;
  if (parse(input.c_str(), &first) == kOk) {
    for (XmlNode *node = first; node != nullptr; node = node->next) checkAgainstModel(node);
    if (first->firstChild != nullptr) checkAgainstModel(first->firstChild);
    if (first->next == nullptr) {
      const NEB_XML_PRINT_OPTIONS options = chosenOptions(input);
      checkExact(first);
      checkStrict(first, options);
      edit(first, Bytes(data, size));
      checkExact(first);
      checkStrict(first, options);
    }
    XML_FreeNode(first);
  }
  require(guarded::outstanding() == 0);
  return 0;
}
