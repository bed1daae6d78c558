#include "parser/short.h"

#include <algorithm>

#include "parser/attribute_set.h"
#include "parser/parser.h"
#include "parser/pieces.h"
#include "parser/tokens.h"
#include "parser/wide_machine.h"
#include "record/node_records.h"
#include "simd/vector.h"
#include "tree/references.h"

namespace neb::xml::internal {

namespace {

// Names are copied and compared with one or two vectors.
constexpr size_t kLongestShortName = kWidestCopy / 2 - kTerminator;

// What begins in a window is copied whole, and an end tag may begin where the window ends.
static_assert(MarkupMap::kReach >= MarkupMap::kWordBits + kWidestCopy);
static_assert(MarkupMap::kReach > MarkupMap::kWordBits + 2 + kLongestShortName + kVectorSize);

// More white space than this is left to others: it would leave too little of a window.
constexpr size_t kMostBlanks = 32;

// Of a window that has one.
constexpr size_t firstOf(uint64_t window) { return static_cast<size_t>(std::countr_zero(window)); }
constexpr bool isShort(size_t length) { return length - 1 < kLongestShortName; }
constexpr uint64_t withoutFirst(uint64_t window) { return window & (window - 1); }

bool beginsEndTag(const char *text) { return text[0] == '<' && text[1] == '/'; }

// What would begin a text here is markup.
bool endsTag(const char *text) { return *text == '>' || (*text == '/' && text[1] == '>'); }

// Whether two short names are the same, both in the text.
bool sameName(const char *a, const char *b, size_t length) {
  if (!beginAlike(loadVector(a), loadVector(b), std::min(length, kVectorSize))) return false;
  return length <= kVectorSize || endAlike(loadVector(a + length - kVectorSize),
                                           loadVector(b + length - kVectorSize), kVectorSize);
}

// The end of a name in the text against the name in the tree, behind which nothing may be read; a
// block begins with more bytes than a vector has.
bool sameStoredName(const char *end, const char *stored, size_t length) {
  const char *storedEnd = stored + length;
  const size_t compared = std::min(length, kVectorSize);
  if (!endAlike(loadVector(end - kVectorSize), loadVector(storedEnd - kVectorSize), compared)) {
    return false;
  }
  return length <= kVectorSize ||
         endAlike(loadVector(end - length), loadVector(stored), kVectorSize);
}

// The attributes of a tag so far.
struct AttributeList {
  char *link = nullptr;  // where the next one goes
  size_t count = 0;
  uint64_t bits = 0;  // a set of names, most of which it tells from each other

  AttributeList() = default;
  AttributeList(XmlNode *element, XmlNode *last, size_t attributes)
      : link(last != nullptr ? reinterpret_cast<char *>(last) + offsetof(XmlNode, next)
                             : reinterpret_cast<char *>(element) + offsetof(XmlNode, firstAttr)),
        count(attributes),
        bits(attributes != 0 ? UINT64_MAX : 0) {}

  XmlNode *last() const {
    return count != 0 ? reinterpret_cast<XmlNode *>(link - offsetof(XmlNode, next)) : nullptr;
  }

  void append(XmlNode *attribute) {
    std::memcpy(link, &attribute, sizeof(XmlNode *));
    link = reinterpret_cast<char *>(attribute) + offsetof(XmlNode, next);
    ++count;
  }
};

// Two loops, each inlined into a function of its own: for elements with their texts, and for the
// inside of a start tag. What they share stays in memory, so that all registers are there for the
// token at hand. What takes a token returns the place behind it, or null if it does not take it.
template <typename Machine>
class ShortFormsParser {
 public:
  ShortFormsParser(const ShortForms &forms, const MarkupMap &map, NamesSeen &names)
      : map_(map),
        names_(names),
        open_(forms.open),
        carver_(*forms.session, forms.carving),
        last_(forms.last),
        leafName_(forms.leafName.text),
        pending_(forms.pending),
        leafPrefix_(leafPrefixOf(forms)),
        leafLength_(leafLengthOf(forms)),
        handle_(forms.handle),
        isInTag_(forms.isInTag),
        place_(forms.place) {
    if (!isInTag_) return;
    attributes_ = AttributeList(forms.open, forms.lastAttribute, forms.attributes);
    hasOthersInTag_ = forms.attributes != 0;
  }

  void run() {
    const char *place = place_;
    const char *next = isInTag_ ? Machine::takeTagRest(this, place) : take(place);
    for (; next != nullptr; next = take(next)) place = next;
    if (!isInTag_) place_ = place;
  }

  // Up to its end, where the record of the next element is made; or null, and then the place is in
  // the tag.
  const char *takeTagRest(const char *place) {
    AttributeList list = attributes_;
    while (map_.hasWindow(place)) {
      if (*place == '>') {
        if (const char *end = endStartTag(place + lengthOf(kTagEnd))) return end;
        break;
      }
      size_t blanks = 1;
      // Names begin beyond '>', '/' and white space.
      const bool beginsName = *place == ' ' && static_cast<uint8_t>(place[1]) > '>';
      if (!beginsName) {
        const uint64_t nonBlanks = map_.window(MarkupMap::kNonBlanks, place);
        if (nonBlanks == 0) break;
        blanks = firstOf(nonBlanks);
        const char *token = place + blanks;
        if (*token == '>' || *token == '/') {
          if (const char *end = endTag(token)) return end;
          break;
        }
        if (blanks == 0 || blanks > kMostBlanks) break;
      }
      const char *end = takeAttribute(place, blanks, &list);
      if (end == nullptr) break;
      place = end;
    }
    place_ = place;
    isInTag_ = true;
    attributes_ = list;
    return nullptr;
  }

  void save(ShortForms *forms) {
    forms->place = place_;
    forms->open = open_;
    forms->last = last_;
    forms->pending = pending_;
    forms->leafName = leafName();
    forms->isContent = leafLength_ != 0;
    forms->carving = carver_.cursor();
    forms->hasFailed = hasFailed_;
    forms->isInTag = isInTag_;
    if (!isInTag_) return;
    forms->lastAttribute = attributes_.last();
    forms->attributes = attributes_.count;
    if (!hasOthersInTag_) handOnKeys();
  }

 private:
  // Where there is no text to take, but white space may be a value: behind a start tag that was taken
  // elsewhere, or behind end tags without text since a start tag. It is not short.
  static constexpr size_t kUnknownLeaf = SIZE_MAX;

  static size_t leafLengthOf(const ShortForms &forms) {
    if (!forms.isContent && !forms.isInTag) return 0;
    const bool isKnown = forms.leafName.length != 0 && forms.last == nullptr;
    return isKnown ? forms.leafName.length : kUnknownLeaf;
  }

  static size_t leafPrefixOf(const ShortForms &forms) {
    const Name &name = forms.leafName;
    return name.colon != nullptr ? static_cast<size_t>(name.colon - name.text) : 0;
  }

  Name leafName() const {
    if (leafLength_ == 0 || leafLength_ == kUnknownLeaf) return {};
    const bool isWhole = (open_->marks & kNameIsWhole) != 0;
    const char *colon = isWhole ? leafName_ + leafPrefix_ : nullptr;
    return {leafName_, leafLength_, colon};
  }

  static size_t prefixLength(const char *name, size_t length) {
    return static_cast<size_t>(static_cast<const char *>(std::memchr(name, ':', length)) - name);
  }

  const char *take(const char *place) {
    if (!map_.hasWindow(place)) return nullptr;
    if (*place == '<') return place[1] == '/' ? takeEndTag(place) : takeStartTag(place, 0);
    if (!mayBeBlank(*place)) return takeText(place);
    const uint64_t nonBlanks = map_.window(MarkupMap::kNonBlanks, place);
    if (nonBlanks == 0) return nullptr;
    const size_t blanks = firstOf(nonBlanks);
    const char *tag = place + blanks;
    if (*tag != '<' || blanks > kMostBlanks) return nullptr;
    return tag[1] == '/' ? takeEndTag(tag) : takeStartTag(place, blanks);
  }

  // Everything is looked up from before the white space: what comes behind it need not wait until its
  // length is known.
  const char *takeStartTag(const char *place, size_t blanks) {
    const size_t skipped = blanks + 1;
    const char *name = place + skipped;
    const uint64_t nameEnds = map_.windowBehind(MarkupMap::kNameEnds, place, skipped);
    if (nameEnds == 0) return nullptr;
    const size_t length = firstOf(nameEnds);
    if (!isShort(length) || mayEndMarkup(name[length - 1])) return nullptr;
    const char *end = name + length;
    if (*end == '>') {
      const bool beginsText = !mayBeBlank(end[1]) && end[1] != '<';
      if (!beginsText) return takeBareTag(name, length);
      return takeLeaf(name, length, map_.windowBehind(MarkupMap::kTextEnds, place, skipped));
    }
    if (*end == '/') return end[1] == '>' ? takeEmptyElement(name, length) : nullptr;
    if (isWhitespace(*end)) return takeTagByPieces(name, length, 0);
    return *end == ':' ? takePrefixedTag(name, length, withoutFirst(nameEnds)) : nullptr;
  }

  const char *takePrefixedTag(const char *name, size_t prefix, uint64_t nameEnds) {
    if (nameEnds == 0) return nullptr;
    const size_t length = firstOf(nameEnds);
    if (!isShort(length) || length == prefix + 1 || mayEndMarkup(name[length - 1])) return nullptr;
    const char *end = name + length;
    const bool isWhole = endsTag(end) || isWhitespace(*end);
    return isWhole ? takeTagByPieces(name, length, prefix) : nullptr;
  }

  // The record that is pending becomes the next element; its name has been copied.
  XmlNode *startElement(size_t length, char *name) {
    XmlNode *element = pending_;
    fillElement(element, handle_, static_cast<uint16_t>(length));
    name[length] = '\0';
    element->name = name;
    appendElement(element, open_, last_);
    return element;
  }

  void openElement(XmlNode *element, const char *name, size_t length) {
    open_ = element;
    last_ = nullptr;
    leafName_ = name;
    leafLength_ = length;
  }

  void closeElement(XmlNode *element) {
    last_ = element;
    leafLength_ = 0;
  }

  // The strings of an element and the record of the next one lie in the order in which the text
  // asks for them.
  const char *takeBareTag(const char *name, size_t length) {
    const size_t size = length + kTerminator;
    char *pieces = carver_.allocateTogether(size, size + kElementRecordSize);
    if (pieces == nullptr) return takeBareTagByPieces(name, length);
    copyHalfWide(pieces, name);
    openElement(startElement(length, pieces), name, length);
    pending_ = reinterpret_cast<XmlNode *>(pieces + size);
    return name + length + lengthOf(kTagEnd);
  }

  const char *takeEmptyElement(const char *name, size_t length) {
    const size_t size = length + kTerminator;
    char *pieces = carver_.allocateTogether(size, size + kElementRecordSize);
    if (pieces == nullptr) return takeEmptyElementByPieces(name, length);
    copyHalfWide(pieces, name);
    closeElement(startElement(length, pieces));
    pending_ = reinterpret_cast<XmlNode *>(pieces + size);
    return name + length + lengthOf(kEmptyTagEnd);
  }

  // A text or a value that ends in the window; null where it does not, or holds markup or a reference
  // that is none of the five named ones. The bits of its ampersands count from the beginning of the
  // window.
  struct Run {
    const char *end;
    uint64_t ampersands;
  };

  static Run runTo(char last, const char *windowBegin, uint64_t window) {
    if (window == 0) return {nullptr, 0};
    const char *found = windowBegin + firstOf(window);
    if (*found == last) [[likely]]
      return {found, 0};
    return runPastReferences(last, windowBegin, window);
  }

  static Run runPastReferences(char last, const char *windowBegin, uint64_t window) {
    uint64_t ampersands = 0;
    while (window != 0) {
      const char *found = windowBegin + firstOf(window);
      if (*found == last) return {found, ampersands};
      if (*found == '<') break;
      if (*found == '&') {
        if (namedReferenceAt(found) == nullptr) break;
        ampersands |= window & -window;
      }
      window = withoutFirst(window);
    }
    return {nullptr, 0};
  }

  // Into a piece that was carved together with others. What references leave of it is zero.
  // Returns how long it has become.
  static size_t fillText(char *copy, const char *text, const Run &run, const char *windowBegin) {
    if (run.ampersands != 0) [[unlikely]]
      return fillDecoded(copy, text, run, windowBegin);
    copyWide(copy, text);
    const auto length = static_cast<size_t>(run.end - text);
    copy[length] = '\0';
    return length;
  }

  static size_t fillDecoded(char *copy, const char *text, const Run &run, const char *windowBegin) {
    const char *begin = copy;
    for (uint64_t left = run.ampersands; left != 0; left = withoutFirst(left)) {
      const char *ampersand = windowBegin + firstOf(left);
      const NamedReference *reference = namedReferenceAt(ampersand);
      copyWide(copy, text);
      copy += ampersand - text;
      *copy++ = reference->character;
      text = ampersand + reference->length;
    }
    copyWide(copy, text);
    copy += run.end - text;
    std::memset(copy, 0, kWidestCopy);
    return static_cast<size_t>(copy - begin);
  }

  // An element with nothing but text in it.
  const char *takeLeaf(const char *name, size_t length, uint64_t textEnds) {
    const char *text = name + length + lengthOf(kTagEnd);
    if (endsTag(text)) return nullptr;
    const Run run = runTo('<', name, textEnds);
    if (run.end == nullptr || !closesLeaf(run.end, name, length)) return nullptr;
    const size_t size = length + kTerminator;
    const size_t valueSize = static_cast<size_t>(run.end - text) + kTerminator;
    char *pieces =
        carver_.allocateTogether(std::min(size, valueSize), size + kElementRecordSize + valueSize);
    if (pieces == nullptr) return takeBareTagByPieces(name, length);
    char *value = pieces + size + kElementRecordSize;
    const size_t valueLength = fillText(value, text, run, name);
    copyHalfWide(pieces, name);
    XmlNode *element = startElement(length, pieces);
    setValue(element, value, valueLength);
    pending_ = reinterpret_cast<XmlNode *>(pieces + size);
    closeElement(element);
    return run.end + lengthOf(kEndTagBegin) + length + lengthOf(kTagEnd);
  }

  static void setValue(XmlNode *node, char *value, size_t length) {
    static_assert(MarkupMap::kWordBits < UINT8_MAX);
    node->value = value;
    node->valueSize = static_cast<uint8_t>(length + kTerminator);
    node->valueOwned = 1;
  }

  static bool closesLeaf(const char *tag, const char *name, size_t length) {
    const char *closed = tag + lengthOf(kEndTagBegin);
    return beginsEndTag(tag) && closed[length] == '>' && sameName(name, closed, length);
  }

  // The text right behind a start tag whose record has been made. The last end tag is not taken.
  const char *takeText(const char *text) {
    XmlNode *element = open_;
    const size_t length = leafLength_;
    if (!isShort(length) || text[-1] != '>' || endsTag(text)) return nullptr;
    const Run run = runTo('<', text, map_.window(MarkupMap::kTextEnds, text));
    if (run.end == nullptr || !closesLeaf(run.end, leafName_, length)) return nullptr;
    if (element->parent == nullptr) return nullptr;
    const bool isWhole = (element->marks & kNameIsWhole) != 0;
    if (!(isWhole ? takeValueAndSplit(text, run) : takeValue(text, run))) return nullptr;
    open_ = element->parent;
    closeElement(element);
    return run.end + lengthOf(kEndTagBegin) + length + lengthOf(kTagEnd);
  }

  bool takeValue(const char *text, const Run &run) {
    const size_t size = static_cast<size_t>(run.end - text) + kTerminator;
    char *value = carver_.allocateTogether(size, size);
    if (value == nullptr) return copyValue(open_, text, run);
    setValue(open_, value, fillText(value, text, run, text));
    return true;
  }

  bool takeValueAndSplit(const char *text, const Run &run) {
    const size_t size = static_cast<size_t>(run.end - text) + kTerminator;
    const size_t prefixSize = leafPrefix_ + kTerminator;
    char *value = carver_.allocateTogether(std::min(size, prefixSize), size + prefixSize);
    if (value == nullptr) return copyValue(open_, text, run) && splitName(open_, leafPrefix_);
    setValue(open_, value, fillText(value, text, run, text));
    moveName(open_, value + size, leafPrefix_);
    return true;
  }

  // Moves the prefix of a name, and not the colon, into a piece of its own.
  static void moveName(XmlNode *element, char *prefix, size_t length) {
    char *name = element->name;
    moveShort(prefix, name, length);
    prefix[length] = '\0';
    element->prefix = prefix;
    moveShort(name, name + length + 1, element->nameLength - length);
    element->nameLength = static_cast<uint16_t>(element->nameLength - length - 1);
    element->marks &= static_cast<uint8_t>(~kNameIsWhole);
  }

  bool splitName(XmlNode *element, size_t prefix) {
    char *copy = allocate(prefix + kTerminator);
    if (copy != nullptr) moveName(element, copy, prefix);
    return copy != nullptr;
  }

  // The last end tag is not taken.
  const char *takeEndTag(const char *place) {
    XmlNode *element = open_;
    const size_t length = element->nameLength;
    const char *end = place + lengthOf(kEndTagBegin) + length;
    if (!isShort(length) || *end != '>') return nullptr;
    if (!sameStoredName(end, element->name, length)) return nullptr;
    // White space may be a value.
    if (place[-1] != '>' && leafLength_ != 0) return nullptr;
    if (element->parent == nullptr) return nullptr;
    const bool isWhole = (element->marks & kNameIsWhole) != 0;
    if (isWhole && !splitName(element, prefixLength(element->name, length))) return nullptr;
    element->valueOwned = 1;
    open_ = element->parent;
    last_ = element;
    if (leafLength_ != 0) leafLength_ = kUnknownLeaf;
    return end + lengthOf(kTagEnd);
  }

  // The name, the attributes and the next record one after the other.
  const char *takeTagByPieces(const char *name, size_t length, size_t prefix) {
    char *copy = copyName(name, length);
    if (copy == nullptr) return nullptr;
    openElement(startElement(length, copy), name, length);
    leafPrefix_ = prefix;
    if (prefix != 0) open_->marks = kNameIsWhole;
    attributes_ = AttributeList(open_, nullptr, 0);
    hasOthersInTag_ = false;
    return Machine::takeTagRest(this, name + length);
  }

  // Without its terminator.
  char *copyName(const char *name, size_t length) {
    const size_t size = length + kTerminator;
    char *copy = carver_.allocateTogether(size, size);
    if (copy != nullptr) {
      copyHalfWide(copy, name);
      return copy;
    }
    copy = allocateOne(size);
    if (copy != nullptr) moveShort(copy, name, length);
    return copy;
  }

  // As takeBareTag, where the pieces do not lie together in the last block.
  const char *takeBareTagByPieces(const char *name, size_t length) {
    char *copy = copyName(name, length);
    if (copy == nullptr) return nullptr;
    openElement(startElement(length, copy), name, length);
    return makePending() ? name + length + lengthOf(kTagEnd) : nullptr;
  }

  const char *takeEmptyElementByPieces(const char *name, size_t length) {
    if (takeBareTagByPieces(name, length) == nullptr) return nullptr;
    XmlNode *element = open_;
    open_ = element->parent;
    closeElement(element);
    return name + length + lengthOf(kEmptyTagEnd);
  }

  // Without a call where the place to carve from or the open hole has room.
  char *allocateOne(size_t size) {
    char *piece = carver_.allocateOne(static_cast<ptrdiff_t>(size));
    return piece != nullptr ? piece : allocate(size);
  }

  [[gnu::noinline]] char *allocate(size_t size) {
    char *piece = carver_.allocate(size);
    if (piece == nullptr) hasFailed_ = true;
    return piece;
  }

  char *copyPiece(const char *text, size_t length) {
    char *copy = allocate(length + kTerminator);
    if (copy == nullptr) return nullptr;
    if (length <= 2 * kVectorSize) {
      moveShort(copy, text, length);
    } else {
      std::memcpy(copy, text, length);
    }
    copy[length] = '\0';
    return copy;
  }

  [[gnu::noinline]] bool copyValue(XmlNode *node, const char *text, const Run &run) {
    const auto length = static_cast<size_t>(run.end - text);
    char *value = copyPiece(text, length);
    if (value == nullptr) return false;
    setValue(node, value, length);
    if (run.ampersands == 0) return true;
    node->valueSize = 0;
    return Parser_decode(text, length, value, false);
  }

  // Behind attributes. The record of the next element comes before the text.
  const char *endStartTag(const char *content) {
    isInTag_ = false;
    if (const char *end = makePendingAndTakeText(content)) return end;
    return makePending() ? content : nullptr;
  }

  // If the text is all that an element without a prefix holds, and the pieces lie together.
  const char *makePendingAndTakeText(const char *text) {
    XmlNode *element = open_;
    const size_t length = leafLength_;
    const bool isWhole = (element->marks & kNameIsWhole) != 0;
    if (!isShort(length) || isWhole || element->parent == nullptr) return nullptr;
    if (mayBeBlank(*text) || endsTag(text) || !map_.hasWindow(text)) return nullptr;
    const Run run = runTo('<', text, map_.window(MarkupMap::kTextEnds, text));
    if (run.end == nullptr || run.end == text) return nullptr;
    if (!closesLeaf(run.end, leafName_, length)) return nullptr;
    const size_t size = static_cast<size_t>(run.end - text) + kTerminator;
    char *pieces =
        carver_.allocateTogether(std::min(size, kElementRecordSize), kElementRecordSize + size);
    if (pieces == nullptr) return nullptr;
    char *value = pieces + kElementRecordSize;
    setValue(element, value, fillText(value, text, run, text));
    pending_ = reinterpret_cast<XmlNode *>(pieces);
    open_ = element->parent;
    closeElement(element);
    return run.end + lengthOf(kEndTagBegin) + length + lengthOf(kTagEnd);
  }

  const char *endTag(const char *token) {
    if (*token == '>') return endStartTag(token + lengthOf(kTagEnd));
    isInTag_ = false;
    const bool isEnded = token[1] == '>' && endEmptyElement();
    return isEnded ? token + lengthOf(kEmptyTagEnd) : nullptr;
  }

  bool makePending() {
    char *record = allocateOne(kElementRecordSize);
    pending_ = reinterpret_cast<XmlNode *>(record);
    return record != nullptr;
  }

  // Before the next record goes the prefix of the name. An element at the top is not ended here, and
  // none whose tag was begun elsewhere and whose name is not short enough to be split.
  bool endEmptyElement() {
    XmlNode *element = open_;
    if (element->parent == nullptr) return false;
    const bool isWhole = (element->marks & kNameIsWhole) != 0;
    if (isWhole && !isShort(element->nameLength)) return false;
    if (!(isWhole ? splitAndMakePending(element) : makePending())) return false;
    open_ = element->parent;
    closeElement(element);
    return true;
  }

  bool splitAndMakePending(XmlNode *element) {
    const size_t size = leafPrefix_ + kTerminator;
    const size_t smallest = std::min(size, kElementRecordSize);
    char *pieces = carver_.allocateTogether(smallest, size + kElementRecordSize);
    if (pieces == nullptr) return splitName(element, leafPrefix_) && makePending();
    moveName(element, pieces, leafPrefix_);
    pending_ = reinterpret_cast<XmlNode *>(pieces + size);
    return true;
  }

  const char *takeAttribute(const char *place, size_t blanks, AttributeList *list) {
    const char *name = place + blanks;
    const uint64_t nameEnds = map_.windowBehind(MarkupMap::kNameEnds, place, blanks);
    const uint64_t values = withoutFirst(map_.windowBehind(MarkupMap::kValueEnds, place, blanks));
    if (nameEnds == 0 || values == 0) return nullptr;
    const size_t length = firstOf(nameEnds);
    if (name[length] != ':') return takeNamed(name, length, 0, values, list);
    const uint64_t localEnds = withoutFirst(nameEnds);
    if (localEnds == 0) return nullptr;
    const size_t wholeLength = firstOf(localEnds);
    const size_t prefixSize = length + 1;
    if (length == 0 || wholeLength == prefixSize) return nullptr;
    return takeNamed(name, wholeLength, prefixSize, values, list);
  }

  // Behind the name. The first in the map of values was the quote that opens the value.
  // "prefix:name" is as long as the two strings that it becomes.
  const char *takeNamed(const char *name, size_t length, size_t prefixSize, uint64_t values,
                        AttributeList *list) {
    const char *quote = name + length + 1;
    if (!isShort(length) || quote[-1] != '=' || (*quote != '"' && *quote != '\'')) return nullptr;
    const Run run = runTo(*quote, name, values);
    if (run.end == nullptr) return nullptr;
    const auto valueSize = static_cast<size_t>(run.end - quote);
    if (valueSize == kTerminator || !isNew(NamesSeen::keyOf(name, length), list)) return nullptr;
    const size_t nameSize = length + kTerminator;
    size_t smallest = std::min(nameSize - prefixSize, valueSize);
    if (prefixSize != 0) smallest = std::min(smallest, prefixSize);
    char *pieces = carver_.allocateTogether(smallest, kAttributeRecordSize + nameSize + valueSize);
    if (pieces == nullptr) {
      XmlNode *attribute = makeByPieces(name, length, prefixSize);
      if (attribute == nullptr || !copyValue(attribute, quote + 1, run)) return nullptr;
      list->append(attribute);
      return run.end + 1;
    }
    auto *attribute = reinterpret_cast<XmlNode *>(pieces);
    fillAttribute(attribute, handle_, static_cast<uint16_t>(length - prefixSize), open_);
    char *copy = pieces + kAttributeRecordSize;
    copyHalfWide(copy, name);
    copy[length] = '\0';
    attribute->marks = kStringsTogether;
    attribute->name = copy + prefixSize;
    if (prefixSize != 0) {
      copy[prefixSize - 1] = '\0';
      attribute->prefix = copy;
    }
    char *value = copy + nameSize;
    setValue(attribute, value, fillText(value, quote + 1, run, name));
    list->append(attribute);
    return run.end + 1;
  }

  // Whether it is certain that the next attribute has a name of its own, which has this key.
  bool isNew(uint64_t key, AttributeList *list) {
    constexpr int kBitShift = 58;  // leaves six bits
    if (list->count >= AttributeSet::kComparedAttributes) return false;
    keys_[list->count] = key;
    const uint64_t bit = uint64_t{1} << (NamesSeen::scatter(key) >> kBitShift);
    if ((list->bits & bit) != 0) return isNewAmong(key, list->count);
    list->bits |= bit;
    return true;
  }

  [[gnu::noinline]] bool isNewAmong(uint64_t key, size_t count) {
    if (hasOthersInTag_) return !names_.see(key);
    return std::find(keys_, keys_ + count, key) == keys_ + count;
  }

  // To who takes the rest of the tag.
  void handOnKeys() {
    names_.beginTag();
    for (size_t i = 0; i < attributes_.count; ++i) names_.see(keys_[i]);
  }

  // An attribute whose value is missing.
  [[gnu::noinline]] XmlNode *makeByPieces(const char *name, size_t length, size_t prefixSize) {
    auto *attribute = reinterpret_cast<XmlNode *>(allocate(kAttributeRecordSize));
    if (attribute == nullptr) return nullptr;
    fillAttribute(attribute, handle_, static_cast<uint16_t>(length - prefixSize), open_);
    if (prefixSize != 0) {
      char *prefix = copyPiece(name, prefixSize - kTerminator);
      if (prefix == nullptr) return nullptr;
      attribute->prefix = prefix;
    }
    char *copy = copyPiece(name + prefixSize, length - prefixSize);
    attribute->name = copy;
    return copy != nullptr ? attribute : nullptr;
  }

  // What changes together does not stand together: two fields at once would go through a vector.
  const MarkupMap &map_;
  NamesSeen &names_;
  XmlNode *open_;
  SessionAllocator carver_;
  XmlNode *last_;
  const char *leafName_;
  XmlNode *pending_;
  size_t leafPrefix_;  // of its name, if that is whole
  size_t leafLength_;  // of the open element right behind its start tag, kUnknownLeaf, or 0
  uint32_t handle_;
  bool isInTag_;
  bool hasFailed_ = false;  // memory has run out
  const char *place_;
  AttributeList attributes_;
  bool hasOthersInTag_ = false;  // attributes whose keys are not here, but seen
  uint64_t keys_[AttributeSet::kComparedAttributes];  // of the names
};

struct AnyMachine {
  using Parser = ShortFormsParser<AnyMachine>;
  [[gnu::noinline, gnu::flatten]] static const char *takeTagRest(Parser *parser,
                                                                 const char *place) {
    return parser->takeTagRest(place);
  }
};

struct WideMachine {
  using Parser = ShortFormsParser<WideMachine>;
  [[gnu::noinline, gnu::flatten]] NEB_XML_WIDE_MACHINE static const char *takeTagRest(
      Parser *parser, const char *place) {
    return parser->takeTagRest(place);
  }
};

}  // namespace

[[gnu::flatten]] void takeShortForms(ShortForms *forms, const MarkupMap *map, NamesSeen *names) {
  ShortFormsParser<AnyMachine> parser(*forms, *map, *names);
  parser.run();
  parser.save(forms);
}

[[gnu::flatten]] NEB_XML_WIDE_MACHINE void takeShortFormsWide(ShortForms *forms,
                                                              const MarkupMap *map,
                                                              NamesSeen *names) {
  ShortFormsParser<WideMachine> parser(*forms, *map, *names);
  parser.run();
  parser.save(forms);
}

}  // namespace neb::xml::internal
