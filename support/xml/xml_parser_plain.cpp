#include "xml_parser_plain.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "xml_parser_pieces.h"
#include "xml_parser_tokens.h"

namespace {

enum class Step {
  taken,
  left,  // to the general steps, with nothing consumed
  failed
};

// A name in the text.
struct Name {
  const char *text;
  size_t length;
  const char *colon;  // the first, or null
};

template <typename Pieces>
class PlainParser {
 public:
  PlainParser(XmlParser *parser, MarkupMap *map)
      : parser_(*parser), map_(*map), pieces_(parser->storage, map->textEnd()) {}

  PlainResult run() {
    place_ = parser_.cursor;
    Step step = Step::taken;
    while (step == Step::taken) {
      place_ = map_.nextNonBlank(place_);
      step = takeNext();
      if (step != Step::taken || *place_ == '\0') break;
      if (parser_.pending == nullptr && !makePending()) step = Step::failed;
    }
    parser_.cursor = place_;
    pieces_.save();
    return step == Step::failed ? PlainResult::failed : PlainResult::stopped;
  }

 private:
  Step takeNext() {
    if (*place_ != '<') return takeText();
    return place_[1] == '/' ? takeEndTag() : takeStartTag();
  }

  bool makePending() {
    parser_.pending = pieces_.makeNode(kElementRecordSize);
    return parser_.pending != nullptr;
  }

  // The name that begins here; of length 0 where none does.
  Name readName(const char *text) {
    const char *end = map_.nextNameEnd(text);
    const char *colon = nullptr;
    if (*end == ':') {
      colon = end;
      while (*end == ':') end = map_.nextNameEnd(end + 1);
    }
    return {text, static_cast<size_t>(end - text), colon};
  }

  // One that ends in "--" or "]]" is odd, since before '>' its end would be markup.
  static bool isOrdinaryTagName(const Name &name) {
    if (!isOrdinary(name)) return false;
    const char *end = name.text + name.length;
    return name.length < 2 || end[-1] != end[-2] || (end[-1] != '-' && end[-1] != ']');
  }

  static bool isOrdinary(const Name &name) {
    if (name.length == 0) return false;
    return name.colon == nullptr ||
           (name.colon != name.text && name.colon != name.text + name.length - 1);
  }

  Step takeStartTag() {
    if (parser_.pending == nullptr || place_[1] == '!' || place_[1] == '?') return Step::left;
    const Name name = readName(place_ + 1);
    if (!isOrdinaryTagName(name)) return Step::left;
    const char *end = name.text + name.length;
    const bool isEmptyElement = *end == '/' && end[1] == '>';
    if (*end != '>' && !isEmptyElement && !isWhitespace(*end)) return Step::left;
    if (!startElement(name)) return Step::failed;
    if (*end == '>') {
      parser_.state = PARSE_STATE_CONTENT;
      place_ = end + 1;
      return Step::taken;
    }
    if (isEmptyElement) return closeEmptyElement(end);
    return takeAttributes(end);
  }

  bool startElement(const Name &name) {
    XmlNode *element = parser_.pending;
    char *copy = pieces_.copyRun(name.text, name.length);
    if (copy == nullptr) return false;
    element->name = copy;
    element->nameOwned = 1;
    element->openNameLength = static_cast<uint16_t>(name.length <= UINT16_MAX ? name.length : 0);
    Parser_linkPending(&parser_);
    parser_.isCurrentOpen = true;
    leafName_ = name;
    return true;
  }

  Step closeEmptyElement(const char *slash) {
    parser_.isCurrentOpen = false;
    parser_.state = PARSE_STATE_BETWEEN;
    place_ = slash + lengthOf(kEmptyTagEnd);
    return splitName(leafName_) ? Step::taken : Step::failed;
  }

  // Splits the name of current, which stands in the text as well.
  bool splitName(const Name &name) {
    if (name.colon == nullptr) return true;
    XmlNode *element = parser_.current;
    const auto prefixLength = static_cast<size_t>(name.colon - name.text);
    char *prefix = pieces_.copyRun(name.text, prefixLength);
    if (prefix == nullptr) return false;
    element->prefix = prefix;
    std::memmove(element->name, element->name + prefixLength + 1, name.length - prefixLength);
    return true;
  }

  Step takeAttributes(const char *place) {
    Parser_beginAttributes(&parser_);
    attributeBits_ = 0;
    bool isFirst = true;
    for (;;) {
      const char *token = map_.nextNonBlank(place);
      if (*token == '>') {
        parser_.state = PARSE_STATE_CONTENT;
        place_ = token + 1;
        return Step::taken;
      }
      if (*token == '/' && token[1] == '>') return closeEmptyElement(token);
      const char *before = place;
      const Step step = token == place ? Step::left : takeAttribute(token, &place);
      if (step == Step::failed) return Step::failed;
      if (step == Step::left) return leaveTag(before, isFirst);
      isFirst = false;
    }
  }

  // The general steps read the rest of the tag, from behind the element's name or a value.
  Step leaveTag(const char *place, bool isBeforeFirst) {
    parser_.cursor = place;
    pieces_.save();
    const uint32_t result = Parser_readTagRest(&parser_, isBeforeFirst);
    pieces_.load();
    place_ = parser_.cursor;
    leafName_.length = 0;
    return result == NEB_XML_OK ? Step::taken : Step::failed;
  }

  // Reads an attribute from its name up to its closing quote, behind which *place goes.
  Step takeAttribute(const char *token, const char **place) {
    const Name name = readName(token);
    const char *equals = name.text + name.length;
    if (!isOrdinary(name) || *equals != '=') return Step::left;
    const char quote = equals[1];
    if (quote != '"' && quote != '\'') return Step::left;
    const char *value = equals + 2;
    bool isPlain = true;
    const char *close = map_.nextValueEnd(value);
    while (*close != quote) {
      if (*close == '\0') return Step::left;
      isPlain = isPlain && *close != '&' && *close != '<';
      close = map_.nextValueEnd(close + 1);
    }
    *place = close + 1;
    const auto length = static_cast<size_t>(close - value);
    if constexpr (Pieces::kLieTogether) {
      if (isPlain && addAttributeTogether(name, value, length)) return Step::taken;
    }
    return addAttribute(name, value, length, isPlain) ? Step::taken : Step::failed;
  }

  // The common case in one go: a short name without prefix, a short value, not seen before, and the
  // three pieces from one block. Else false and nothing is done.
  bool addAttributeTogether(const Name &name, const char *value, size_t length) {
    if (name.colon != nullptr || name.length >= kTwoWide || length - 1 >= kWidestRun - 1) {
      return false;
    }
    if (!pieces_.allowsWideReads(value + length)) return false;
    const uint64_t key = keyOf(name);
    if (mayRepeat(key)) return false;
    const size_t nameSize = name.length + 1;
    const size_t valueSize = length + 1;
    const size_t total = kAttributeRecordSize + nameSize + valueSize;
    char *pieces =
        pieces_.carveTogether(std::min({nameSize, valueSize, kAttributeRecordSize}), total);
    if (pieces == nullptr) return false;
    auto *attribute = reinterpret_cast<XmlNode *>(pieces);
    attribute->sessionId = pieces_.handle();
    attribute->name = pieces + kAttributeRecordSize;
    attribute->value = attribute->name + nameSize;
    attribute->type = NEB_XML_NODE_ATTRIBUTE;
    attribute->nameOwned = 1;
    attribute->valueOwned = 1;
    storeFirst(pieces + kAttributeRecordSize, name.text, name.length);
    storeRun(pieces + kAttributeRecordSize + nameSize, value, length);
    remember(key);
    Parser_linkAttribute(&parser_, attribute);
    return true;
  }

  bool addAttribute(const Name &name, const char *value, size_t length, bool isPlain) {
    XmlNode *attribute = pieces_.makeNode(kAttributeRecordSize);
    if (attribute == nullptr) return false;
    attribute->type = NEB_XML_NODE_ATTRIBUTE;
    const bool isAdded = copyAttributeName(name, attribute) &&
                         copyValue(value, length, isPlain, attribute) && append(name, attribute);
    if (!isAdded) XML_FreeSingleAttrNode(attribute);
    return isAdded;
  }

  bool append(const Name &name, XmlNode *attribute) {
    const uint64_t key = keyOf(name);
    if (mayRepeat(key)) return Parser_appendAttribute(&parser_, attribute) == NEB_XML_OK;
    remember(key);
    Parser_linkAttribute(&parser_, attribute);
    return true;
  }

  // Attributes of one tag leave their mark in a set of few bits; one whose bit is free is new.
  bool mayRepeat(uint64_t key) const {
    return parser_.attributes.count() >= AttributeSet::kComparedAttributes ||
           (attributeBits_ & bitOf(key)) != 0;
  }

  void remember(uint64_t key) {
    attributeBits_ |= bitOf(key);
    parser_.attributes.countUnlike();
  }

  static uint64_t bitOf(uint64_t key) {
    constexpr uint64_t kScatter = 0x9E3779B97F4A7C15;
    return uint64_t{1} << (key * kScatter >> 58);
  }

  // The first bytes of a name and its length.
  uint64_t keyOf(const Name &name) const {
    uint64_t key = 0;
    if (static_cast<size_t>(map_.textEnd() - name.text) >= sizeof key) {
      std::memcpy(&key, name.text, sizeof key);
    } else {
      std::memcpy(&key, name.text, name.length);
    }
    if (name.length < sizeof key) {
      const size_t behind = 8 * (sizeof key - name.length);
      key = std::endian::native == std::endian::little ? key << behind : key >> behind;
    }
    return key ^ name.length;
  }

  bool copyAttributeName(const Name &name, XmlNode *attribute) {
    const char *local = name.text;
    size_t length = name.length;
    if (name.colon != nullptr) {
      const auto prefixLength = static_cast<size_t>(name.colon - name.text);
      char *prefix = pieces_.copyRun(local, prefixLength);
      if (prefix == nullptr) return false;
      attribute->prefix = prefix;
      local = name.colon + 1;
      length -= prefixLength + 1;
    }
    attribute->name = pieces_.copyRun(local, length);
    attribute->nameOwned = 1;
    return attribute->name != nullptr;
  }

  bool copyValue(const char *run, size_t length, bool isPlain, XmlNode *node) {
    node->valueOwned = 1;
    if (length == 0) return true;
    if (isPlain) {
      node->value = pieces_.copyRun(run, length);
      return node->value != nullptr;
    }
    char *value = nullptr;
    pieces_.save();
    const uint32_t result = Parser_CopyBufToString(&parser_, run, length, &value);
    pieces_.load();
    node->value = value;
    return result == NEB_XML_OK;
  }

  // A text up to its element's end tag, which is compared with the start tag in the text.
  Step takeText() {
    if (parser_.state != PARSE_STATE_CONTENT || !parser_.isCurrentOpen) return Step::left;
    if (*place_ == '\0' || *place_ == '>' || *place_ == '/' || leafName_.length == 0) {
      return Step::left;
    }
    bool isPlain = true;
    const char *end = map_.nextTextEnd(place_);
    while (*end == '&') {
      isPlain = false;
      end = map_.nextTextEnd(end + 1);
    }
    const char *close = end + lengthOf(kEndTagBegin);
    if (*end != '<' || end[1] != '/' || !isLeafNameAt(close)) return Step::left;
    const char *run = place_;
    while (run[-1] == ' ') --run;
    const auto length = static_cast<size_t>(end - run);
    if (!copyValue(run, length, isPlain, parser_.current)) return Step::failed;
    if (!splitName(leafName_)) return Step::failed;
    parser_.isCurrentOpen = false;
    parser_.state = PARSE_STATE_BETWEEN;
    place_ = close + leafName_.length + 1;
    return Step::taken;
  }

  bool isLeafNameAt(const char *text) const {
    if (static_cast<size_t>(map_.textEnd() - text) <= leafName_.length) return false;
    return text[leafName_.length] == '>' && sameBytes(text, leafName_.text, leafName_.length);
  }

  // Names are short: a call would cost more than the comparison.
  static bool sameBytes(const char *a, const char *b, size_t count) {
    while (count >= sizeof(uint64_t)) {
      uint64_t wordA = 0;
      uint64_t wordB = 0;
      std::memcpy(&wordA, a, sizeof wordA);
      std::memcpy(&wordB, b, sizeof wordB);
      if (wordA != wordB) return false;
      a += sizeof wordA;
      b += sizeof wordB;
      count -= sizeof wordA;
    }
    for (; count > 0; --count) {
      if (*a++ != *b++) return false;
    }
    return true;
  }

  Step takeEndTag() {
    XmlNode *element = parser_.current;
    if (element != nullptr && !parser_.isCurrentOpen) element = element->parent;
    if (element == nullptr) return Step::left;
    const Name name = readName(place_ + lengthOf(kEndTagBegin));
    if (!isOrdinaryTagName(name) || name.text[name.length] != '>') return Step::left;
    if (name.length != element->openNameLength) return Step::left;
    if (!sameBytes(element->name, name.text, name.length)) return Step::left;
    parser_.current = element;
    parser_.isCurrentOpen = false;
    if (!splitName(name)) return Step::failed;
    if (place_[-1] != '>' && parser_.state == PARSE_STATE_CONTENT) {
      const char *run = place_;
      while (run[-1] != '>') --run;
      if (!copyValue(run, static_cast<size_t>(place_ - run), true, element)) return Step::failed;
    }
    element->valueOwned = 1;
    place_ = name.text + name.length + 1;
    return Step::taken;
  }

  XmlParser &parser_;
  MarkupMap &map_;
  Pieces pieces_;
  const char *place_ = nullptr;
  uint64_t attributeBits_ = 0;  // of the attributes of current
  Name leafName_ = {};          // of current, if its start tag was ordinary; else of length 0
};

}  // namespace

PlainResult Parser_parsePlain(XmlParser *parser, MarkupMap *map) {
  if (parser->storage.isHook()) return PlainParser<HookPieces>(parser, map).run();
  return PlainParser<SessionPieces>(parser, map).run();
}
