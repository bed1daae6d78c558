#include "xml_parser_short.h"

#include <algorithm>

#include "xml_node_records.h"
#include "xml_parser_attribute_set.h"
#include "xml_parser_pieces.h"
#include "xml_parser_tokens.h"
#include "xml_references.h"
#include "xml_vector.h"
#include "xml_wide_machine.h"

namespace {

// Names are copied and compared with one or two vectors.
constexpr size_t kLongestShortName = kWidestCopy / 2 - kTerminator;

// What begins in a window is copied whole, and an end tag may begin where the window ends.
static_assert(MarkupMap::kReach >= MarkupMap::kWordBits + kWidestCopy);
static_assert(MarkupMap::kReach > MarkupMap::kWordBits + 2 + kLongestShortName + kVectorSize);

constexpr size_t firstOf(uint64_t window) { return static_cast<size_t>(std::countr_zero(window)); }
constexpr uint64_t withoutFirst(uint64_t window) { return window & (window - 1); }

bool beginsEndTag(const char *text) { return text[0] == '<' && text[1] == '/'; }

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

// Inlined into one loop, so that its state stays in registers.
class ShortFormsParser {
 public:
  ShortFormsParser(const ShortForms &forms, const MarkupMap &map, NamesSeen &names)
      : map_(map),
        names_(names),
        carving_(forms.carving),
        place_(forms.place),
        open_(forms.open),
        last_(forms.last),
        pending_(forms.pending),
        leafName_(forms.leafName.text),
        leafLength_(forms.leafName.length),
        leafPrefix_(prefixLength(forms.leafName)),
        isContent_(forms.isContent),
        handle_(forms.handle),
        comparable_(forms.textBegin + kVectorSize),
        isInTag_(forms.isInTag),
        hasOthersInTag_(forms.isInTag),
        lastAttribute_(forms.lastAttribute),
        attributes_(forms.attributes) {}

  void run() {
    if (isInTag_) {
      while (takeInTag()) continue;
      if (isInTag_ || open_ == nullptr) return;
    }
    while (takeNext()) continue;
  }

  void save(ShortForms *forms) const {
    forms->place = place_;
    forms->open = open_;
    forms->last = last_;
    forms->pending = pending_;
    const char *colon = leafPrefix_ != 0 ? leafName_ + leafPrefix_ : nullptr;
    forms->leafName = {leafName_, leafLength_, colon};
    forms->isContent = isContent_;
    forms->carving = carving_;
    forms->isInTag = isInTag_;
    forms->lastAttribute = lastAttribute_;
    forms->attributes = attributes_;
  }

 private:
  bool takeNext() {
    if (*place_ != '<') {
      if (!mayBeBlank(*place_)) return takeText();
      if (!skipBlanks(&place_) || *place_ != '<') return false;
    }
    return place_[1] == '/' ? takeEndTag() : takeStartTag();
  }

  bool skipBlanks(const char **place) const {
    if (!map_.hasWindow(*place)) return false;
    const uint64_t window = map_.window(MarkupMap::kNonBlanks, *place);
    if (window == 0) return false;
    *place += firstOf(window);
    return true;
  }

  static size_t prefixLength(const Name &name) {
    return name.colon != nullptr ? static_cast<size_t>(name.colon - name.text) : 0;
  }

  bool takeStartTag() {
    const char *name = place_ + 1;
    if (!map_.hasWindow(name)) return false;
    const uint64_t nameEnds = map_.window(MarkupMap::kNameEnds, name);
    size_t length = firstOf(nameEnds);
    if (length == 0 || length > kLongestShortName) return false;
    size_t prefix = 0;
    if (name[length] == ':') {
      prefix = length;
      length = firstOf(withoutFirst(nameEnds));
      if (length > kLongestShortName || length == prefix + 1) return false;
    }
    if (mayEndMarkup(name[length - 1])) return false;
    const char *end = name + length;
    const bool endsTag = *end == '>' || (*end == '/' && end[1] == '>');
    if (prefix != 0 || !endsTag) {
      return (endsTag || isWhitespace(*end)) && takeTagByPieces(name, length, prefix);
    }
    if (*end == '>') {
      const bool beginsText = !mayBeBlank(end[1]) && end[1] != '<';
      return beginsText ? takeLeaf(name, length) : takeBareTag(name, length);
    }
    return takeEmptyElement(name, length);
  }

  // The record that is pending becomes the next element; its name has been copied.
  XmlNode *startElement(size_t length, char *name) {
    XmlNode *element = pending_;
    fillElement(element, handle_, length);
    name[length] = '\0';
    element->name = name;
    appendElement(element, open_, last_);
    return element;
  }

  void openElement(XmlNode *element, const char *name, size_t length, size_t prefix) {
    open_ = element;
    last_ = nullptr;
    isContent_ = true;
    leafName_ = name;
    leafLength_ = length;
    leafPrefix_ = prefix;
  }

  void closeElement(XmlNode *element) {
    last_ = element;
    isContent_ = false;
  }

  // The strings of an element and the record of the next one lie in the order in which the text
  // asks for them.
  bool takeBareTag(const char *name, size_t length) {
    const size_t size = length + kTerminator;
    char *pieces = carving_.carveTogether(size, size + kElementRecordSize);
    if (pieces == nullptr) return takeTagByPieces(name, length, 0);
    copyHalfWide(pieces, name);
    openElement(startElement(length, pieces), name, length, 0);
    pending_ = reinterpret_cast<XmlNode *>(pieces + size);
    place_ = name + length + lengthOf(kTagEnd);
    return true;
  }

  bool takeEmptyElement(const char *name, size_t length) {
    const size_t size = length + kTerminator;
    char *pieces = carving_.carveTogether(size, size + kElementRecordSize);
    if (pieces == nullptr) return takeTagByPieces(name, length, 0);
    copyHalfWide(pieces, name);
    closeElement(startElement(length, pieces));
    pending_ = reinterpret_cast<XmlNode *>(pieces + size);
    place_ = name + length + lengthOf(kEmptyTagEnd);
    return true;
  }

  // A text or a value that ends in the window; null where it does not, or holds markup or a reference
  // that is none of the five named ones. The bits of its ampersands count from the beginning of the
  // window.
  struct Run {
    const char *end;
    uint64_t ampersands;
  };

  static Run runTo(char last, const char *windowBegin, uint64_t window) {
    const char *found = windowBegin + firstOf(window);
    if (*found == last) [[likely]]
      return {window != 0 ? found : nullptr, 0};
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
  bool takeLeaf(const char *name, size_t length) {
    const char *text = name + length + lengthOf(kTagEnd);
    if (*text == '>' || *text == '/') return false;
    const Run run = runTo('<', name, map_.window(MarkupMap::kTextEnds, name));
    if (run.end == nullptr || !closesLeaf(run.end, name, length)) return false;
    const size_t size = length + kTerminator;
    const size_t valueSize = static_cast<size_t>(run.end - text) + kTerminator;
    char *pieces =
        carving_.carveTogether(std::min(size, valueSize), size + kElementRecordSize + valueSize);
    if (pieces == nullptr) return takeTagByPieces(name, length, 0);
    char *value = pieces + size + kElementRecordSize;
    const size_t valueLength = fillText(value, text, run, name);
    copyHalfWide(pieces, name);
    XmlNode *element = startElement(length, pieces);
    noteShortValue(element, valueLength);
    element->value = value;
    element->valueOwned = 1;
    pending_ = reinterpret_cast<XmlNode *>(pieces + size);
    closeElement(element);
    place_ = run.end + lengthOf(kEndTagBegin) + length + lengthOf(kTagEnd);
    return true;
  }

  static void noteShortValue(XmlNode *node, size_t length) {
    static_assert(MarkupMap::kWordBits < UINT8_MAX);
    node->valueSize = static_cast<uint8_t>(length + kTerminator);
  }

  static bool closesLeaf(const char *tag, const char *name, size_t length) {
    const char *closed = tag + lengthOf(kEndTagBegin);
    return beginsEndTag(tag) && closed[length] == '>' && sameName(name, closed, length);
  }

  // The text right behind a start tag whose record has been made.
  bool takeText() {
    const bool mayHoldText = last_ == nullptr && isContent_ && leafLength_ != 0 &&
                             leafLength_ <= kLongestShortName && place_[-1] == '>';
    if (!mayHoldText || *place_ == '>' || *place_ == '/' || !map_.hasWindow(place_)) return false;
    const Run run = runTo('<', place_, map_.window(MarkupMap::kTextEnds, place_));
    if (run.end == nullptr || !closesLeaf(run.end, leafName_, leafLength_)) return false;
    const size_t size = static_cast<size_t>(run.end - place_) + kTerminator;
    const size_t prefixSize = leafPrefix_ != 0 ? leafPrefix_ + kTerminator : 0;
    const size_t smallest = leafPrefix_ != 0 ? std::min(size, prefixSize) : size;
    char *value = carving_.carveTogether(smallest, size + prefixSize);
    if (value == nullptr) return false;
    noteShortValue(open_, fillText(value, place_, run, place_));
    open_->value = value;
    open_->valueOwned = 1;
    if (leafPrefix_ != 0) splitName(open_, value + size, leafPrefix_);
    place_ = run.end + lengthOf(kEndTagBegin) + leafLength_ + lengthOf(kTagEnd);
    XmlNode *element = open_;
    open_ = element->parent;
    closeElement(element);
    return open_ != nullptr;
  }

  // Moves the prefix of a name, and not the colon, into a piece of its own.
  static void splitName(XmlNode *element, char *prefix, size_t length) {
    char *name = element->name;
    std::memcpy(prefix, name, length);
    prefix[length] = '\0';
    element->prefix = prefix;
    std::memmove(name, name + length + 1, element->nameLength - length);
    element->nameLength = static_cast<uint16_t>(element->nameLength - length - 1);
  }

  bool takeEndTag() {
    XmlNode *element = open_;
    const size_t length = element->nameLength;
    const char *name = place_ + lengthOf(kEndTagBegin);
    const char *end = name + length;
    const bool isShort = length != 0 && length <= kLongestShortName && end >= comparable_;
    if (!isShort || !map_.hasWindow(name)) return false;
    if (*end != '>' || !sameStoredName(end, element->name, length)) return false;
    // White space may be a value.
    if (place_[-1] != '>' && isContent_) return false;
    const size_t prefix = firstOf(map_.window(MarkupMap::kNameEnds, name));
    if (prefix != length) {
      if (prefix > length || name[prefix] != ':') return false;
      char *copy = carving_.carveTogether(prefix + kTerminator, prefix + kTerminator);
      if (copy == nullptr) return false;
      splitName(element, copy, prefix);
    }
    element->valueOwned = 1;
    last_ = element;
    open_ = element->parent;
    place_ = end + lengthOf(kTagEnd);
    return open_ != nullptr;
  }

  // The name, the attributes and the next record one after the other.
  bool takeTagByPieces(const char *name, size_t length, size_t prefix) {
    char *copy = copyName(name, length);
    if (copy == nullptr) return false;
    openElement(startElement(length, copy), name, length, prefix);
    place_ = name + length;
    names_.beginTag();
    lastAttribute_ = nullptr;
    attributes_ = 0;
    isInTag_ = true;
    hasOthersInTag_ = false;
    while (takeInTag()) continue;
    return !isInTag_;
  }

  // Without its terminator; null if there is no room at hand.
  char *copyName(const char *name, size_t length) {
    const size_t size = length + kTerminator;
    char *copy = carving_.carveTogether(size, size);
    if (copy != nullptr) {
      copyHalfWide(copy, name);
      return copy;
    }
    copy = carving_.carveOne(static_cast<ptrdiff_t>(size));
    if (copy != nullptr) std::memcpy(copy, name, length);
    return copy;
  }

  // An attribute; or the end of the tag, and then false.
  bool takeInTag() {
    const char *token = place_;
    if (*token == ' ') ++token;
    if (mayBeBlank(*token) && !skipBlanks(&token)) return false;
    if (*token == '>') return endTag(token + lengthOf(kTagEnd), false);
    if (*token == '/') return token[1] == '>' && endTag(token + lengthOf(kEmptyTagEnd), true);
    return token != place_ && takeAttribute(token);
  }

  bool endTag(const char *end, bool isEmptyElement) {
    const bool isSplit = isEmptyElement && leafPrefix_ != 0;
    char *record = nullptr;
    if (*end == '\0') return false;
    if (isSplit) {
      const size_t size = leafPrefix_ + kTerminator;
      char *prefix =
          carving_.carveTogether(std::min(size, kElementRecordSize), size + kElementRecordSize);
      if (prefix == nullptr) return false;
      splitName(open_, prefix, leafPrefix_);
      record = prefix + size;
    } else {
      record = carving_.carveOne(kElementRecordSize);
      if (record == nullptr) return false;
    }
    pending_ = reinterpret_cast<XmlNode *>(record);
    place_ = end;
    isInTag_ = false;
    isContent_ = true;
    if (isEmptyElement) {
      XmlNode *element = open_;
      open_ = element->parent;
      closeElement(element);
    }
    return false;
  }

  bool takeAttribute(const char *name) {
    if (!map_.hasWindow(name) || attributes_ >= AttributeSet::kComparedAttributes) return false;
    const uint64_t nameEnds = map_.window(MarkupMap::kNameEnds, name);
    const uint64_t values = map_.window(MarkupMap::kValueEnds, name);
    size_t length = firstOf(nameEnds);
    size_t prefixSize = 0;
    if (name[length] == ':') {
      prefixSize = length + 1;
      length = firstOf(withoutFirst(nameEnds));
    }
    if (length == prefixSize || length > kLongestShortName || prefixSize == 1) return false;
    // The first in the map of values is the quote behind the name.
    const char *quote = name + length + 1;
    if (name[length] != '=' || (*quote != '"' && *quote != '\'')) return false;
    const Run run = runTo(*quote, name, withoutFirst(values));
    if (run.end == nullptr) return false;
    const auto valueSize = static_cast<size_t>(run.end - quote);
    if (valueSize == kTerminator || !isNew(NamesSeen::keyOf(name, length))) return false;
    const size_t nameSize = length + kTerminator;
    size_t smallest = std::min(nameSize - prefixSize, valueSize);
    if (prefixSize != 0) smallest = std::min(smallest, prefixSize);
    char *pieces = carving_.carveTogether(smallest, kAttributeRecordSize + nameSize + valueSize);
    if (pieces == nullptr) return false;
    XmlNode *attribute = makeAttribute(pieces, name, length, prefixSize);
    char *value = pieces + kAttributeRecordSize + nameSize;
    noteShortValue(attribute, fillText(value, quote + 1, run, name));
    attribute->value = value;
    append(attribute);
    place_ = run.end + 1;
    return true;
  }

  // Whether it is certain that no attribute of the tag has a name of this key. It counts as seen from
  // now on.
  bool isNew(uint64_t key) {
    keys_[attributes_] = key;
    if (!names_.see(key)) return true;
    if (hasOthersInTag_) return false;
    return std::find(keys_, keys_ + attributes_, key) == keys_ + attributes_;
  }

  // "prefix:name" is as long as the two strings that it becomes.
  XmlNode *makeAttribute(char *pieces, const char *name, size_t length, size_t prefixSize) {
    auto *attribute = reinterpret_cast<XmlNode *>(pieces);
    fillAttribute(attribute, handle_, length - prefixSize, open_);
    char *copy = pieces + kAttributeRecordSize;
    copyHalfWide(copy, name);
    copy[length] = '\0';
    attribute->name = copy + prefixSize;
    if (prefixSize != 0) {
      copy[prefixSize - 1] = '\0';
      attribute->prefix = copy;
    }
    return attribute;
  }

  void append(XmlNode *attribute) {
    char *link = lastAttribute_ != nullptr
                     ? reinterpret_cast<char *>(lastAttribute_) + offsetof(XmlNode, next)
                     : reinterpret_cast<char *>(open_) + offsetof(XmlNode, firstAttr);
    std::memcpy(link, &attribute, sizeof(XmlNode *));
    lastAttribute_ = attribute;
    ++attributes_;
  }

  const MarkupMap &map_;
  NamesSeen &names_;
  CarvingPlace carving_;
  const char *place_;
  XmlNode *open_;
  XmlNode *last_;
  XmlNode *pending_;
  const char *leafName_;
  size_t leafLength_;
  size_t leafPrefix_;  // without the colon
  bool isContent_;
  uint32_t handle_;
  const char *comparable_;  // names that end from here on have a vector's bytes before
  bool isInTag_;
  bool hasOthersInTag_;  // attributes whose keys are not here
  XmlNode *lastAttribute_;
  size_t attributes_;
  uint64_t keys_[AttributeSet::kComparedAttributes];  // of their names
};

}  // namespace

[[gnu::flatten]] void takeShortForms(ShortForms *forms, const MarkupMap *map, NamesSeen *names) {
  ShortFormsParser parser(*forms, *map, *names);
  parser.run();
  parser.save(forms);
}

[[gnu::flatten]] NEB_XML_WIDE_MACHINE void takeShortFormsWide(ShortForms *forms,
                                                              const MarkupMap *map,
                                                              NamesSeen *names) {
  ShortFormsParser parser(*forms, *map, *names);
  parser.run();
  parser.save(forms);
}
