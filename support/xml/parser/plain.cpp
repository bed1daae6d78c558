#include "parser/plain.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "parser/names.h"
#include "parser/pieces.h"
#include "parser/short.h"
#include "parser/tokens.h"
#include "parser/wide_machine.h"
#include "record/node_records.h"
#include "simd/vector.h"

namespace neb::xml::internal {

namespace {

enum class Step {
  taken,
  left,  // to the general steps, with nothing consumed
  failed
};

// Everything here is inlined into one loop for a kind of pieces and of machine, so that its state
// stays in registers: nothing that is called may be given the address of this object.
template <typename Pieces, TakeShortForms takeShortForms>
class PlainParser {
 public:
  PlainParser(XmlParser *parser, MarkupMap *map, NamesSeen *names)
      : parser_(*parser), map_(*map), names_(*names), pieces_(parser->storage, map->textEnd()) {
    load();
  }

  PlainResult run() {
    Step step = pending_ == nullptr ? Step::left : Step::taken;
    while (step == Step::taken) {
      if (mayTakeShortForms()) step = takeShort();
      if (step != Step::taken) break;
      if (mayBeBlank(*place_)) place_ = map_.nextNonBlank(place_);
      step = takeNext();
      if (*place_ == '\0') break;
    }
    save();
    return step == Step::failed ? PlainResult::failed : PlainResult::stopped;
  }

 private:
  void load() {
    place_ = parser_.cursor;
    pending_ = parser_.pending;
    isPendingBlank_ = pending_ != nullptr;
    state_ = parser_.state;
    XmlNode *current = parser_.current;
    const bool isOpen = parser_.isCurrentOpen || current == nullptr;
    last_ = isOpen ? nullptr : current;
    open_ = isOpen ? current : current->parent;
    leafName_ = {};
  }

  void save() {
    parser_.cursor = place_;
    parser_.state = state_;
    parser_.current = last_ != nullptr ? last_ : open_;
    parser_.isCurrentOpen = last_ == nullptr && open_ != nullptr;
    if (pending_ != nullptr && !isPendingBlank_) {
      std::memset(static_cast<void *>(pending_), 0, kElementRecordSize);
      pending_->sessionId = pieces_.handle();
    }
    parser_.pending = pending_;
    pieces_.save();
  }

  bool mayTakeShortForms() const {
    return takeShortForms != nullptr && open_ != nullptr && !isPendingBlank_ &&
           pending_ != nullptr && mayTakeShortForms(place_);
  }

  // Short names are compared by the vectors that end with them.
  bool mayTakeShortForms(const char *place) const {
    return map_.hasWindow(place) && place >= parser_.buffer + kVectorSize;
  }

  // Takes as many as there are.
  Step takeShort() {
    XmlNode *lastAttribute = nullptr;
    size_t count = 0;
    bool isInTag = false;
    if (!takeShortFrom(&isInTag, &lastAttribute, &count)) return Step::failed;
    return isInTag ? takeAttributes(place_, lastAttribute, count) : Step::taken;
  }

  // From between two tokens to between two, or in a tag, behind so many attributes. False when
  // memory runs out.
  bool takeShortFrom(bool *isInTag, XmlNode **lastAttribute, size_t *count) {
    ShortForms forms;
    forms.place = place_;
    forms.open = open_;
    forms.last = last_;
    forms.pending = pending_;
    forms.leafName = leafName_;
    forms.isContent = state_ == PARSE_STATE_CONTENT;
    forms.session = pieces_.session();
    forms.carving = pieces_.place();
    forms.handle = pieces_.handle();
    forms.isInTag = *isInTag;
    forms.lastAttribute = *lastAttribute;
    forms.attributes = *count;
    takeShortForms(&forms, &map_, &names_);
    place_ = forms.place;
    open_ = forms.open;
    last_ = forms.last;
    pending_ = forms.isInTag ? nullptr : forms.pending;
    leafName_ = forms.leafName;
    state_ = forms.isContent ? PARSE_STATE_CONTENT : PARSE_STATE_BETWEEN;
    pieces_.setPlace(forms.carving);
    *lastAttribute = forms.lastAttribute;
    *count = forms.attributes;
    *isInTag = forms.isInTag;
    return !forms.hasFailed;
  }

  Step takeNext() {
    if (*place_ != '<') return takeText();
    return place_[1] == '/' ? takeEndTag() : takeStartTag();
  }

  // The name that begins here; of length 0 where no ordinary one does.
  Name readName(const char *text) {
    const char *end = map_.nextNameEnd(text);
    if (*end == ':') return readPrefixedName(text, end);
    return {text, static_cast<size_t>(end - text), nullptr};
  }

  Name readPrefixedName(const char *text, const char *colon) {
    const char *end = colon;
    while (*end == ':') end = map_.nextNameEnd(end + 1);
    if (colon == text || colon + 1 == end) return {text, 0, nullptr};
    return {text, static_cast<size_t>(end - text), colon};
  }

  Step takeStartTag() {
    const Name name = readName(place_ + 1);
    if (name.length == 0 || mayEndMarkup(name.text[name.length - 1])) return Step::left;
    const char *end = name.text + name.length;
    if (*end == '>') return takeBareTag(name, end + 1, PARSE_STATE_CONTENT);
    if (*end == '/' && end[1] == '>') {
      return takeBareTag(name, end + lengthOf(kEmptyTagEnd), PARSE_STATE_BETWEEN);
    }
    if (!isWhitespace(*end)) return Step::left;
    char *copy = pieces_.copyRun(name.text, name.length);
    if (copy == nullptr) return Step::failed;
    startElement(name, copy);
    names_.beginTag();
    return takeAttributes(end, nullptr, 0);
  }

  // A start tag without attributes, up to where it ends; an empty element's is not followed by its
  // content.
  Step takeBareTag(const Name &name, const char *end, ParseState state) {
    const bool isEmptyElement = state == PARSE_STATE_BETWEEN;
    state_ = state;
    if (name.length < kWidestCopy / 2 && name.colon == nullptr && *end != '\0') {
      // The name and the record of the next element in one go.
      const size_t size = name.length + kTerminator;
      if (char *copy = pieces_.allocateTogether(size, size + kElementRecordSize, end)) {
        copyHalfWide(copy, name.text);
        copy[name.length] = '\0';
        startElement(name, copy);
        pending_ = reinterpret_cast<XmlNode *>(copy + size);
        place_ = end;
        if (!isEmptyElement) return takeContent();
        closeOpen();
        return Step::taken;
      }
    }
    char *copy = pieces_.copyRun(name.text, name.length);
    if (copy == nullptr) return Step::failed;
    startElement(name, copy);
    return isEmptyElement ? closeEmptyElement(end) : openContent(end);
  }

  void startElement(const Name &name, char *copy) {
    XmlNode *element = pending_;
    pending_ = nullptr;
    const uint16_t length = notedNameLength(name.length);
    if (!isPendingBlank_) fillElement(element, pieces_.handle(), length);
    isPendingBlank_ = false;
    element->nameLength = length;
    if (name.colon != nullptr) element->marks |= kNameIsWhole;
    element->name = copy;
    element->nameOwned = 1;
    if (open_ != nullptr) {
      appendElement(element, open_, last_);
    } else {
      element->parent = nullptr;
      element->prev = last_;
      if (last_ != nullptr) last_->next = element;
    }
    open_ = element;
    last_ = nullptr;
    leafName_ = name;
  }

  // Up to where the tag ends.
  Step closeEmptyElement(const char *end) {
    state_ = PARSE_STATE_BETWEEN;
    if (!splitName(leafName_)) return Step::failed;
    closeOpen();
    return makePending(end);
  }

  void closeOpen() {
    last_ = open_;
    open_ = open_->parent;
  }

  // Behind a start tag the record of the next element is made, unless the text ends.
  Step makePending(const char *place) {
    place_ = place;
    if (*place == '\0') return Step::taken;
    pending_ = reinterpret_cast<XmlNode *>(pieces_.makeRecord(kElementRecordSize));
    return pending_ != nullptr ? Step::taken : Step::failed;
  }

  // Splits the name of the open element, which stands in the text as well.
  bool splitName(const Name &name) {
    if (name.colon == nullptr) return true;
    const auto prefixLength = static_cast<size_t>(name.colon - name.text);
    char *prefix = pieces_.copyRun(name.text, prefixLength);
    if (prefix == nullptr) return false;
    open_->prefix = prefix;
    std::memmove(open_->name, open_->name + prefixLength + 1, name.length - prefixLength);
    open_->nameLength = notedNameLength(name.length - prefixLength - 1);
    open_->marks &= static_cast<uint8_t>(~kNameIsWhole);
    return true;
  }

  // The attributes that follow so many.
  Step takeAttributes(const char *place, XmlNode *lastAttribute, size_t count) {
    for (;;) {
      const char *token = place;
      if (mayBeBlank(*token)) {
        if (*token == ' ') ++token;
        if (mayBeBlank(*token)) token = map_.nextNonBlank(token);
      }
      if (*token == '>') {
        state_ = PARSE_STATE_CONTENT;
        return openContent(token + 1);
      }
      if (*token == '/' && token[1] == '>') {
        return closeEmptyElement(token + lengthOf(kEmptyTagEnd));
      }
      if (token == place) return leaveTag(place, lastAttribute, count);
      const char *before = place;
      const Step step = takeAttribute(token, &place, &lastAttribute, count);
      if (step == Step::failed) return Step::failed;
      if (step == Step::left) return leaveTag(before, lastAttribute, count);
      ++count;
      if (takeShortForms != nullptr && mayTakeShortForms(place)) {
        place_ = place;
        bool isInTag = true;
        if (!takeShortFrom(&isInTag, &lastAttribute, &count)) return Step::failed;
        if (!isInTag) return Step::taken;
        place = place_;
      }
    }
  }

  // The general steps read the rest of the tag, from behind the element's name or a value.
  Step leaveTag(const char *place, XmlNode *lastAttribute, size_t count) {
    place_ = place;
    save();
    Parser_beginAttributes(&parser_);
    parser_.lastAttribute = lastAttribute;
    parser_.attributes.countUnlike(count);
    const uint32_t result = Parser_readTagRest(&parser_, count == 0);
    pieces_.load();
    load();
    return result == NEB_XML_OK ? makePending(place_) : Step::failed;
  }

  // Reads an attribute from its name up to its closing quote, behind which *place goes.
  Step takeAttribute(const char *token, const char **place, XmlNode **lastAttribute, size_t count) {
    const Name name = readName(token);
    const char *equals = name.text + name.length;
    if (*equals != '=' || name.length == 0) return Step::left;
    const char quote = equals[1];
    if (quote != '"' && quote != '\'') return Step::left;
    const char *value = equals + 2;
    const auto [close, isPlain] = map_.findValueEnd(value, quote);
    if (*close == '\0') return Step::left;
    if (count >= AttributeSet::kComparedAttributes) return Step::left;
    *place = close + 1;
    const auto length = static_cast<size_t>(close - value);
    const bool maySeen = names_.see(keyOf(name, close));
    XmlNode *attribute = maySeen ? nullptr : makeTogether(name, value, length, isPlain);
    if (attribute == nullptr) {
      attribute = makeAttribute(name, value, length, isPlain);
      if (attribute == nullptr) return Step::failed;
      if (maySeen && !isNew(attribute, count)) {
        discard(attribute);
        return Step::failed;
      }
    }
    if (*lastAttribute == nullptr) {
      open_->firstAttr = attribute;
    } else {
      (*lastAttribute)->next = attribute;
    }
    *lastAttribute = attribute;
    return Step::taken;
  }

  bool isNew(XmlNode *attribute, size_t count) {
    parser_.attributes.clear();
    parser_.attributes.countUnlike(count);
    return parser_.attributes.add(open_->firstAttr, attribute) == NEB_XML_OK;
  }

  // The common case in one go: a short name, a short value, and all pieces from one block. Else
  // null and nothing is done. "prefix:name" is as long as the two strings that it becomes.
  XmlNode *makeTogether(const Name &name, const char *value, size_t length, bool isPlain) {
    if (length - 1 >= kWidestCopy - 1 || name.length >= kWidestCopy / 2) return nullptr;
    const size_t prefixSize =
        name.colon == nullptr ? 0 : static_cast<size_t>(name.colon - name.text) + kTerminator;
    const size_t nameSize = name.length + kTerminator;
    const size_t valueSize = length + kTerminator;
    size_t smallest = std::min(nameSize - prefixSize, valueSize);
    if (prefixSize != 0) smallest = std::min(smallest, prefixSize);
    static_assert(kAttributeRecordSize > kWidestCopy / 2);  // and so is not the smallest
    char *pieces = pieces_.allocateTogether(smallest, kAttributeRecordSize + nameSize + valueSize,
                                            value + length);
    if (pieces == nullptr) return nullptr;
    auto *attribute = reinterpret_cast<XmlNode *>(pieces);
    fillAttribute(attribute, pieces_.handle(), notedNameLength(name.length - prefixSize), open_);
    char *text = pieces + kAttributeRecordSize;
    copyHalfWide(text, name.text);
    text[name.length] = '\0';
    attribute->name = text + prefixSize;
    if (prefixSize != 0) {
      text[prefixSize - 1] = '\0';
      attribute->prefix = text;
    }
    text += nameSize;
    copyWide(text, value);
    text[length] = '\0';
    attribute->value = text;
    if (isPlain) {
      noteValueLength(attribute, length);
      attribute->marks = kStringsTogether;
    } else if (!Parser_decode(value, length, text, true)) {
      return nullptr;
    }
    return attribute;
  }

  // Null when memory runs out or a reference is malformed.
  XmlNode *makeAttribute(const Name &name, const char *value, size_t length, bool isPlain) {
    auto *attribute = reinterpret_cast<XmlNode *>(pieces_.makeRecord(kAttributeRecordSize));
    if (attribute == nullptr) return nullptr;
    fillAttribute(attribute, pieces_.handle(), 0, open_);
    attribute->name = nullptr;
    attribute->value = nullptr;
    if (copyAttributeName(name, attribute) && copyValue(value, length, isPlain, attribute)) {
      return attribute;
    }
    discard(attribute);
    return nullptr;
  }

  // Its element does not know it yet.
  static void discard(XmlNode *attribute) {
    attribute->parent = nullptr;
    XML_FreeSingleAttrNode(attribute);
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
    char *copy = pieces_.copyRun(local, length);
    attribute->name = copy;
    if (copy != nullptr) attribute->nameLength = notedNameLength(length);
    return copy != nullptr;
  }

  // The value of the name ends here.
  uint64_t keyOf(const Name &name, const char *close) const {
    return pieces_.allowsWideReads(close) ? NamesSeen::keyOf(name.text, name.length)
                                          : NamesSeen::keyOfLast(name.text, name.length);
  }

  bool copyValue(const char *run, size_t length, bool isPlain, XmlNode *node) {
    node->valueOwned = 1;
    if (length == 0) return true;
    char *value = isPlain ? pieces_.copyRun(run, length) : pieces_.makeText(length);
    if (value == nullptr) return false;
    if (!isPlain && !Parser_decode(run, length, value, false)) {
      pieces_.giveBack(value);
      return false;
    }
    node->value = value;
    if (isPlain) noteValueLength(node, length);
    return true;
  }

  // Behind a start tag.
  Step openContent(const char *place) {
    const Step step = makePending(place);
    return step == Step::taken ? takeContent() : step;
  }

  // Often a text begins at once.
  Step takeContent() {
    if (mayBeBlank(*place_) || *place_ == '<') return Step::taken;
    return takeLeaf(place_);
  }

  // Behind white space.
  Step takeText() {
    const bool mayHoldText =
        last_ == nullptr && leafName_.length != 0 && state_ == PARSE_STATE_CONTENT;
    if (!mayHoldText || *place_ == '\0') return Step::left;
    const char *run = place_;
    while (run[-1] == ' ') --run;
    return takeLeaf(run);
  }

  // The text of the open element, with spaces before it, and its end tag, which is compared with the
  // start tag in the text.
  Step takeLeaf(const char *run) {
    if (*place_ == '>' || (*place_ == '/' && place_[1] == '>')) return Step::left;
    const auto [end, isPlain] = map_.findTextEnd(place_);
    const char *closeEnd = endOfLeafTag(end);
    if (closeEnd == nullptr) return Step::left;
    if (!copyValue(run, static_cast<size_t>(end - run), isPlain, open_)) return Step::failed;
    if (!splitName(leafName_)) return Step::failed;
    closeOpen();
    state_ = PARSE_STATE_BETWEEN;
    place_ = closeEnd;
    return Step::taken;
  }

  // Behind the end tag that begins here and has the name of the open element; null if none does.
  const char *endOfLeafTag(const char *tag) const {
    if (*tag != '<' || tag[1] != '/') return nullptr;
    const char *name = tag + lengthOf(kEndTagBegin);
    const size_t length = leafName_.length;
    if (static_cast<size_t>(map_.textEnd() - name) <= length || name[length] != '>') return nullptr;
    if (!sameName(name + length, leafName_.text + length, length,
                  leafName_.text + length >= parser_.buffer + kVectorSize)) {
      return nullptr;
    }
    return name + length + 1;
  }

  // Compares two names by what stands before their ends, where bytes can be read in any case.
  static bool sameName(const char *endA, const char *endB, size_t length, bool hasBytesBefore) {
    if (hasBytesBefore && length <= kVectorSize) {
      return endAlike(loadVector(endA - kVectorSize), loadVector(endB - kVectorSize), length);
    }
    return std::memcmp(endA - length, endB - length, length) == 0;
  }

  Step takeEndTag() {
    XmlNode *element = open_;
    if (element == nullptr) return Step::left;
    const Name name = readName(place_ + lengthOf(kEndTagBegin));
    const char *end = name.text + name.length;
    // The length of a name that was not read here is not known.
    if (*end != '>' || name.length != element->nameLength) return Step::left;
    if (name.length == 0) return Step::left;
    const char *start = element->name + name.length;
    const bool hasBytesBefore = Pieces::kHasBytesBefore && end >= parser_.buffer + kVectorSize;
    if (!sameName(end, start, name.length, hasBytesBefore)) return Step::left;
    if (!splitName(name)) return Step::failed;
    if (place_[-1] != '>' && state_ == PARSE_STATE_CONTENT) {
      const char *run = place_;
      while (run[-1] != '>') --run;
      if (!copyValue(run, static_cast<size_t>(place_ - run), true, element)) return Step::failed;
    }
    element->valueOwned = 1;
    closeOpen();
    place_ = end + 1;
    return Step::taken;
  }

  XmlParser &parser_;
  MarkupMap &map_;
  NamesSeen &names_;
  Pieces pieces_;
  const char *place_;
  XmlNode *open_;        // the innermost element whose end tag has not come; null at the top
  XmlNode *last_;        // its last child, or the last one at the top; null while there is none
  XmlNode *pending_;     // for the next start tag
  bool isPendingBlank_;  // zeroed by whoever made it, and perhaps a document
  ParseState state_;
  Name leafName_;  // of the open element, if it has no child and its tag was ordinary
};

template <typename Pieces, TakeShortForms takeShortForms>
[[gnu::flatten]] PlainResult parse(XmlParser *parser, MarkupMap *map, NamesSeen *names) {
  return PlainParser<Pieces, takeShortForms>(parser, map, names).run();
}

// The same for machines whose maps are made with vectors.
template <typename Pieces, TakeShortForms takeShortForms>
[[gnu::flatten]] NEB_XML_WIDE_MACHINE PlainResult parseWide(XmlParser *parser, MarkupMap *map,
                                                            NamesSeen *names) {
  return PlainParser<Pieces, takeShortForms>(parser, map, names).run();
}

}  // namespace

PlainResult Parser_parsePlain(XmlParser *parser, MarkupMap *map) {
  NamesSeen names;
  if (parser->storage.isHeap()) return parse<HookPieces, nullptr>(parser, map, &names);
  if (MarkupMap::usesVectors()) {
    return parseWide<SessionPieces, takeShortFormsWide>(parser, map, &names);
  }
  return parse<SessionPieces, takeShortForms>(parser, map, &names);
}

}  // namespace neb::xml::internal
