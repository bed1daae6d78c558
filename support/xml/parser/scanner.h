// The scanner: the fast path for common tokens.
#pragma once

#include <cstring>

#include "characters/characters.h"
#include "characters/utf8.h"
#include "parser/builder.h"
#include "parser/character_check.h"
#include "parser/language.h"
#include "parser/structural_index.h"
#include "platform/compiler.h"

namespace neb::xml::internal {

// The record of a parse: what is built, and how far the document has been read.
template <typename Allocation, typename Language>
struct XmlParser {
  using Builder = TreeBuilder<Allocation, Language::kIsStrict>;
  using Tokenizer = typename Language::template TokenizerOf<Builder>;

  XmlParser(const char *text, const Storage &storage, XmlNode *document)
      : builder(storage, document), tokenizer(&builder, text) {}

  Builder builder;
  Tokenizer tokenizer;
};

// Recognises a token by one window of the structural index, if the token fits into it. It finds the
// end of longer names, texts and values by searching the index. It steps over comments and
// processing instructions, and over CDATA sections in texts, by functions of the tokenizer. The
// tokenizer reads everything else, one step at a time. Both use the same builder.
//
// The hot members are inlined into two loops, one for elements with their texts and one for the
// inside of a start tag, once for each machine. Members of the builder stay in memory, so that all
// registers are free for the current token. A hot member returns the cursor behind its token, or
// null if the tokenizer must read the token or if the builder has failed.
template <typename Allocation, typename Machine, typename Language>
class Scanner {
 public:
  // The parser is at the beginning of the document, which has this length and a terminator. In
  // strict reading there may be others in it, which end in a failure.
  Scanner(XmlParser<Allocation, Language> *parser, size_t length)
      : builder_(parser->builder),
        tokenizer_(parser->tokenizer),
        firstScanned_(tokenizer_.cursor() + kVectorSize),
        index_(tokenizer_.cursor(), length, kIsStrict),
        characters_(tokenizer_.cursor()) {}

  // Builds the tree; false if the document is malformed or memory runs out.
  bool run() {
    [[maybe_unused]] const char *end = index_.documentEnd();
    if (!tokenizer_.skipProlog()) return false;
    while (*tokenizer_.cursor() != '\0') {
      if (!readSome()) return false;
    }
    if (!tokenizer_.finish()) return false;
    if constexpr (kIsStrict) return finishStrictly(end);
    return true;
  }

  // The loops, for the machine to inline into functions of its own.
  void scan() {
    const char *cursor = tokenizer_.cursor();
    const char *next = builder_.isInTag() ? Machine::scanTag(this, cursor) : scanToken(cursor);
    for (; next != nullptr; next = scanToken(next)) cursor = next;
    // In a tag the cursor has been set.
    if (!builder_.isInTag()) tokenizer_.setCursor(cursor);
  }

  // Scans from behind the name or a value to the end of the tag. Returns null if the cursor is
  // still in it.
  const char *scanTag(const char *cursor) {
    AttributeList list = builder_.takeOver();
    while (index_.hasWindow(cursor)) {
      if (*cursor == '>') {
        if (const char *end = endStartTag(cursor + lengthOf(kTagEnd))) return end;
        break;
      }
      size_t whitespace = 1;
      // The first byte of a name is none of '>', '/' and white space.
      const bool beginsName = *cursor == ' ' && static_cast<uint8_t>(cursor[1]) > '>';
      if (!beginsName) {
        const uint64_t others = index_.window(kNonWhitespace, cursor);
        if (others == 0) break;
        whitespace = firstOf(others);
        const char *token = cursor + whitespace;
        if (*token == '>' || *token == '/') {
          if (const char *end = endTag(token)) return end;
          break;
        }
        if (whitespace == 0 || whitespace > kMostWhitespace) break;
        if (!mayBeName(token)) break;
      }
      const char *end = scanAttribute(cursor, whitespace, &list);
      if (end == nullptr) {
        builder_.handOver(list);
        end = scanLongAttribute(cursor + whitespace);
        list = builder_.takeOver();
        if (end == nullptr) break;
      }
      cursor = end;
    }
    builder_.handOver(list);
    tokenizer_.setCursor(cursor);
    return nullptr;
  }

  // What has references is read outside of the loops, where it would cost the rest registers.

  // An attribute whose value has references or is empty.
  const char *scanDecoded(const char *name, size_t length, size_t prefixSize, uint64_t valueEnds) {
    const char *quote = name + length + 1;
    const ShortRun value = findPastReferences(quote + 1, *quote, name, valueEnds);
    if (value.end == nullptr) return nullptr;
    AttributeList *list = builder_.handedOver();
    if (value.length() != 0) return addAttribute(name, length, prefixSize, value, list);
    const bool isAdded = builder_.isNewAttribute(name, length, prefixSize, list) &&
                         builder_.template addEmptyAttribute<Vectors>(name, length, prefixSize);
    return isAdded ? value.end + 1 : nullptr;
  }

  // A text with references.
  const char *scanDecoded(const char *text, uint64_t textEnds) {
    const ShortRun run = findPastReferences(text, '<', text, textEnds);
    return run.end != nullptr ? addText(run) : scanLongText(text);
  }

 private:
  // Copies begin inside a window, and an end tag may begin where the window ends.
  static_assert(StructuralIndex::kReach >= kBytesPerWord + kWidestCopy);
  static_assert(StructuralIndex::kReach > kBytesPerWord + 2 + kLongestShortName + kVectorSize);

  // At most so much of the end is copied. A document that is not larger is scanned in the copy
  // alone.
  static constexpr size_t kTailSize = StructuralIndex::kLongestCopied;
  static_assert(kTailSize >= StructuralIndex::kReach);

  static constexpr bool kIsStrict = Language::kIsStrict;
  using Vectors = typename Machine::Vectors;
  using Builder = typename XmlParser<Allocation, Language>::Builder;

  // The characters that have not been checked yet, and the limits.
  bool finishStrictly(const char *end) {
    const bool isAllowed = characters_.areAllowedUpTo(end, end) && builder_.isWithinLimits();
    if (!isAllowed || builder_.hasFailed()) return false;
    return !tokenizer_.declaresAscii() || findOtherThanAscii(documentBegin(), end) == end;
  }

  // With more white space than this, too little of a window would remain.
  static constexpr size_t kMostWhitespace = 32;

  // Scans short tokens as long as possible, then reads the token that has stopped them.
  bool readSome() {
    prepareWindow();
    if (kIsStrict && builder_.hasFailed()) return false;
    if (mayScan()) {
      const char *before = tokenizer_.cursor();
      Machine::scan(this);
      if (builder_.hasFailed()) return false;
      const char *cursor = tokenizer_.cursor();
      if (cursor != before && !hasWholeWindow(cursor)) return true;
    }
    return scanLong() || (!builder_.hasFailed() && readNext());
  }

  // At the end of the document the last scanned token may have been the last one.
  bool readNext() { return *tokenizer_.cursor() == '\0' || tokenizer_.readNext(); }

  // Vectors are read that end with a name. The loops need an open element.
  bool mayScan() const {
    const char *cursor = tokenizer_.cursor();
    const bool isFarEnough = isInTail_ || cursor >= firstScanned_;
    return isFarEnough && builder_.hasOpen() && index_.hasWindow(cursor);
  }

  // Whether the index shows as much from here on as it ever will.
  bool hasWholeWindow(const char *cursor) const {
    return isInTail_ || index_.hasWholeWindow(cursor);
  }

  void prepareWindow() {
    const char *cursor = tokenizer_.cursor();
    if (hasWholeWindow(cursor)) return;
    if (static_cast<size_t>(index_.documentEnd() - cursor) <= kTailSize) {
      enterTail(cursor);
    } else {
      index_.moveTo(cursor);
      if constexpr (kIsStrict) checkCovered(cursor);
      builder_.reportProgress(static_cast<size_t>(cursor - documentBegin()),
                              static_cast<size_t>(index_.documentEnd() - documentBegin()));
    }
  }

  // What is indexed is in the cache, so its characters are checked by the way.
  void checkCovered(const char *cursor) {
    const char *covered = index_.coveredEnd(cursor);
    if (!characters_.areAllowedUpTo(covered, index_.documentEnd()) || !builder_.isWithinLimits()) {
      builder_.fail(reasons::kCharacter, cursor);
    }
  }

  // The end of the document is read from a copy, followed by zeros that windows may include.
  void enterTail(const char *cursor) {
    const auto left = static_cast<size_t>(index_.documentEnd() - cursor);
    const auto behind = static_cast<size_t>(cursor - documentBegin());
    const size_t before = std::min(behind, kVectorSize);
    char *copy = tail_ + kVectorSize;
    storeVector(tail_, Vector{});
    char *end = copyString(copy - before, cursor - before, before + left);
    static_assert(StructuralIndex::kReach == 2 * kWidestCopy);
    clearWide(end);
    clearWide(end + kWidestCopy);
    index_.continueIn(copy, cursor);
    if (const char *name = builder_.leafName()) {
      // Too near the end of the document to be read there by whole vectors.
      if (name + StructuralIndex::kReach > cursor + left) builder_.forgetLeafName();
    }
    tokenizer_.setCursor(copy);
    isInTail_ = true;
  }

  const char *documentBegin() const { return firstScanned_ - kVectorSize; }

  // ---- Elements and texts

  const char *scanToken(const char *cursor) {
    if (!index_.hasWindow(cursor)) return nullptr;
    if (*cursor == '<') return cursor[1] == '/' ? scanEndTag(cursor) : scanStartTag(cursor, 0);
    if (!mayBeWhitespace(*cursor)) return scanText(cursor);
    const uint64_t others = index_.window(kNonWhitespace, cursor);
    if (others == 0) return nullptr;
    const size_t whitespace = firstOf(others);
    const char *tag = cursor + whitespace;
    if (*tag != '<' || whitespace > kMostWhitespace) return nullptr;
    return tag[1] == '/' ? scanEndTag(tag) : scanStartTag(cursor, whitespace);
  }

  // All windows begin before the white space, so that the processor need not wait for its length.
  const char *scanStartTag(const char *cursor, size_t whitespace) {
    const size_t skipped = whitespace + 1;
    const char *name = cursor + skipped;
    const uint64_t nameEnds = index_.windowBehind(kNameEnds, cursor, skipped);
    const size_t length = firstOf(nameEnds);
    if (!isShort(length) || mayEndMarkup(name[length - 1])) return scanUncommon(name - 1);
    if (!mayBeName(name)) return nullptr;
    const char *end = name + length;
    if (*end == '>') {
      const char *content = end + lengthOf(kTagEnd);
      const bool beginsText = !mayBeWhitespace(*content) && *content != '<';
      if (beginsText) {
        return scanLeaf(name, length, index_.windowBehind(kTextEnds, cursor, skipped));
      }
      return builder_.template startBareElement<Vectors>(name, length) ? content : nullptr;
    }
    if (*end == '/') return endsEmptyElement(end) ? scanEmptyElement(name, length) : nullptr;
    if (isWhitespace(*end)) return startTag(name, length, 0);
    return *end == ':' ? scanPrefixedTag(name, length, withoutFirst(nameEnds)) : scanOtherTag(name);
  }

  // In strict reading the index ends names at every character beyond ASCII.
  const char *scanOtherTag(const char *name) {
    if constexpr (kIsStrict) {
      return scanLongTag(name);
    } else {
      return nullptr;
    }
  }

  // The index ends names at all other bytes that strict reading does not allow in them.
  static bool mayBeName(const char *name) {
    return !kIsStrict || static_cast<uint8_t>(*name - '-') > '9' - '-';
  }

  // Behind the last tag of a document no record is made.
  static bool endsEmptyElement(const char *end) { return end[1] == '>' && end[2] != '\0'; }

  const char *scanEmptyElement(const char *name, size_t length) {
    return builder_.template addEmptyElement<Vectors>(name, length)
               ? name + length + lengthOf(kEmptyTagEnd)
               : nullptr;
  }

  const char *scanPrefixedTag(const char *name, size_t prefix, uint64_t nameEnds) {
    const size_t length = firstOf(nameEnds);
    if (!isShort(length)) return scanLongTag(name);
    if (length == prefix + 1 || mayEndMarkup(name[length - 1])) return scanOtherTag(name);
    const char *end = name + length;
    const bool isWhole = endsTag(end) || isWhitespace(*end);
    return isWhole ? startTag(name, length, prefix) : scanOtherTag(name);
  }

  const char *startTag(const char *name, size_t length, size_t prefix) {
    if (!builder_.template startElement<Vectors>(name, length, prefix)) return nullptr;
    return Machine::scanTag(this, name + length);
  }

  // A run with markup, with "]]>" in strict reading, or with a reference that is none of the five
  // named ones, is not found.
  static ShortRun findPastReferences(const char *begin, char last, const char *windowBegin,
                                     uint64_t window) {
    uint64_t decoded = 0;
    for (; window != 0; window = withoutFirst(window)) {
      const char *found = windowBegin + firstOf(window);
      if (*found == last) return {begin, found, windowBegin, decoded};
      if (*found == '<') break;
      if (kIsStrict && begins(found, kCdataEnd)) break;
      const bool isChanged = kIsStrict && isWhitespace(*found);
      if (*found != '&' && !isChanged) continue;
      if (!isChanged && namedReferenceAt(found) == nullptr) break;
      decoded |= window & -window;
    }
    return {begin, nullptr, windowBegin, 0};
  }

  // An element that contains only text without references, or else only its start tag.
  const char *scanLeaf(const char *name, size_t length, uint64_t textEnds) {
    const char *text = name + length + lengthOf(kTagEnd);
    if (endsTag(text)) return nullptr;
    const char *end = name + firstOf(textEnds);
    const bool isLeaf = textEnds != 0 && closesLeaf(end, name, length);
    if (isLeaf && builder_.template addLeaf<Vectors>(name, length, {text, end, name, 0})) {
      return behindEndTag(end, length);
    }
    return builder_.template startBareElement<Vectors>(name, length) ? text : nullptr;
  }

  static const char *behindEndTag(const char *tag, size_t nameLength) {
    return tag + lengthOf(kEndTagBegin) + nameLength + lengthOf(kTagEnd);
  }

  static bool closesLeaf(const char *tag, const char *name, size_t length) {
    const char *closed = tag + lengthOf(kEndTagBegin);
    return beginsEndTag(tag) && closed[length] == '>' && isSameName(name, closed, length);
  }

  // Two short names in the document.
  static bool isSameName(const char *a, const char *b, size_t length) {
    if (!beginAlike(loadVector(a), loadVector(b), std::min(length, kVectorSize))) return false;
    return length <= kVectorSize || endAlike(loadVector(a + length - kVectorSize),
                                             loadVector(b + length - kVectorSize), kVectorSize);
  }

  // The end of a short name in the document against the name in the tree. No vector may go behind
  // the last byte of the latter.
  static bool isStoredName(const char *end, const char *stored, size_t length) {
    if constexpr (!Builder::kHasBytesBefore) {
      return std::memcmp(end - length, stored, length) == 0;
    }
    static_assert(kReadableBefore >= kVectorSize);
    const char *storedEnd = stored + length;
    const size_t compared = std::min(length, kVectorSize);
    if (!endAlike(loadVector(end - kVectorSize), loadVector(storedEnd - kVectorSize), compared)) {
      return false;
    }
    return length <= kVectorSize ||
           endAlike(loadVector(end - length), loadVector(stored), kVectorSize);
  }

  // The text right behind a start tag.
  const char *scanText(const char *text) {
    const size_t length = builder_.leafLength();
    if (!isShort(length)) return scanLongText(text);
    if (text[-1] != '>' || endsTag(text)) return nullptr;
    const uint64_t textEnds = index_.window(kTextEnds, text);
    if (textEnds == 0) return nullptr;
    const char *end = text + firstOf(textEnds);
    if (kIsStrict ? *end != '<' : *end == '&') [[unlikely]] {
      return Machine::scanDecoded(this, text, textEnds);
    }
    return addText({text, end, text, 0});
  }

  // With its end tag.
  const char *addText(const ShortRun &text) {
    const size_t length = builder_.leafLength();
    if (builder_.isRootOpen()) return nullptr;
    if (!closesLeaf(text.end, builder_.leafName(), length)) return scanTextBeforeMisc(text);
    return builder_.template addShortText<Vectors>(text) ? behindEndTag(text.end, length) : nullptr;
  }

  const char *scanEndTag(const char *tag) {
    const XmlNode *element = builder_.open();
    const size_t length = element->nameLength;
    const char *end = tag + lengthOf(kEndTagBegin) + length;
    if (!isShort(length) || *end != '>' || !isStoredName(end, element->name, length)) {
      return scanLongEndTag(tag);
    }
    // White space may be a value.
    if (tag[-1] != '>' && builder_.isInContent()) return scanLongEndTag(tag);
    if (builder_.isRootOpen()) return nullptr;
    return builder_.endShortElement() ? end + lengthOf(kTagEnd) : nullptr;
  }

  // ---- Inside of a start tag

  const char *endTag(const char *token) {
    if (*token == '>') return endStartTag(token + lengthOf(kTagEnd));
    if (!endsEmptyElement(token) || builder_.isRootOpen()) return nullptr;
    if (!isShort(builder_.leafLength())) return endLongTag(token);
    return builder_.endShortEmptyElement() ? token + lengthOf(kEmptyTagEnd) : nullptr;
  }

  const char *endStartTag(const char *content) {
    if (const char *end = endStartTagOfLeaf(content)) return end;
    return builder_.endStartTag() && builder_.makeNext() ? content : nullptr;
  }

  const char *endStartTagOfLeaf(const char *text) {
    const size_t length = builder_.leafLength();
    if (!isShort(length) || builder_.isNameWhole() || builder_.isRootOpen()) return nullptr;
    if (mayBeWhitespace(*text) || endsTag(text) || !index_.hasWindow(text)) return nullptr;
    const uint64_t textEnds = index_.window(kTextEnds, text);
    const char *end = text + firstOf(textEnds);
    if (textEnds == 0 || end == text) return nullptr;
    if (!closesLeaf(end, builder_.leafName(), length)) return nullptr;
    return builder_.template endStartTagOfLeaf<Vectors>({text, end, text, 0})
               ? behindEndTag(end, length)
               : nullptr;
  }

  const char *scanAttribute(const char *cursor, size_t whitespace, AttributeList *list) {
    const char *name = cursor + whitespace;
    const uint64_t nameEnds = index_.windowBehind(kNameEnds, cursor, whitespace);
    const uint64_t valueEnds = withoutFirst(index_.windowBehind(kValueEnds, cursor, whitespace));
    if (valueEnds == 0) return nullptr;
    const size_t length = firstOf(nameEnds);
    if (name[length] != ':') return scanNamed(name, length, 0, valueEnds, list);
    const size_t wholeLength = firstOf(withoutFirst(nameEnds));
    const size_t prefixSize = length + 1;
    if (length == 0 || wholeLength == prefixSize) return nullptr;
    return scanNamed(name, wholeLength, prefixSize, valueEnds, list);
  }

  // Behind the name. The first value end was the quote that opens the value.
  const char *scanNamed(const char *name, size_t length, size_t prefixSize, uint64_t valueEnds,
                        AttributeList *list) {
    const char *quote = name + length + 1;
    if (!isShort(length) || quote[-1] != '=' || (*quote != '"' && *quote != '\'')) return nullptr;
    const char *value = quote + 1;
    const char *end = name + firstOf(valueEnds);
    if (*end != *quote || end == value) [[unlikely]] {
      builder_.handOver(*list);
      const char *next = Machine::scanDecoded(this, name, length, prefixSize, valueEnds);
      *list = builder_.takeOver();
      return next;
    }
    return addAttribute(name, length, prefixSize, {value, end, name, 0}, list);
  }

  const char *addAttribute(const char *name, size_t length, size_t prefixSize,
                           const ShortRun &value, AttributeList *list) {
    if (!builder_.isNewAttribute(name, length, prefixSize, list)) return nullptr;
    const bool isAdded =
        builder_.template addAttribute<Vectors>(name, length, prefixSize, value, list);
    return isAdded ? value.end + 1 : nullptr;
  }

  // ---- Tokens that no window shows as a whole

  // Whether the cursor has moved.
  NEB_XML_NOINLINE bool scanLong() {
    const char *cursor = tokenizer_.cursor();
    if (builder_.isInTag()) return scanFarAttribute(cursor);
    const char *token = mayBeWhitespace(*cursor) ? index_.nextNonWhitespace(cursor) : cursor;
    const char *end = builder_.hasOpen() ? readLongContent(token) : startTopTag(token);
    if (end == nullptr || end == cursor) return false;
    tokenizer_.setCursor(end);
    return true;
  }

  // Markup that does not begin with a short name: a comment, a processing instruction, a text that
  // begins with a CDATA section, or the start tag of a long name.
  NEB_XML_NOINLINE const char *scanUncommon(const char *markup) {
    if (begins(markup, kCdataBegin)) return scanLongText(markup);
    if (kIsStrict && builder_.isInContent() && beginsMisc(markup)) return skipBeforeChild(markup);
    const char *end = tokenizer_.findMiscEnd(markup);
    return end != markup ? end : scanLongTag(markup + 1);
  }

  // Comments and processing instructions behind a start tag may be inside of a text, unless a child
  // follows.
  const char *skipBeforeChild(const char *markup) {
    const char *end = markup;
    while (beginsMisc(end)) {
      const char *behind = tokenizer_.findMiscEnd(end);
      if (behind == nullptr || behind == end) return nullptr;
      end = skipWhitespace(behind);
    }
    return *end == '<' && end[1] != '/' ? end : nullptr;
  }

  // The start tag of a long name.
  NEB_XML_NOINLINE const char *scanLongTag(const char *name) {
    const char *end = startLongTag(name);
    return end != nullptr ? Machine::scanTag(this, end) : nullptr;
  }

  // The start tag of an element at the top, up to its attributes.
  const char *startTopTag(const char *tag) {
    return *tag == '<' && !kIsStrict ? startLongTag(tag + 1) : nullptr;
  }

  // From the name up to the attributes.
  const char *startLongTag(const char *name) {
    const char *end = index_.nextNameEnd(name);
    const size_t prefix = *end == ':' ? static_cast<size_t>(end - name) : 0;
    while (*end == ':') end = index_.nextNameEnd(end + 1);
    if (kIsStrict && !isAscii(*end)) return startTagBeyondAscii(name);
    if (!mayBeName(name)) return nullptr;
    const bool isWhole = endsTag(end) || isWhitespace(*end);
    if (!isWhole || end == name || *name == ':') return nullptr;
    if (end[-1] == ':' || mayEndMarkup(end[-1])) return nullptr;
    return builder_.startLongElement(name, static_cast<size_t>(end - name), prefix) ? end : nullptr;
  }

  // From a name with characters beyond ASCII up to the attributes.
  const char *startTagBeyondAscii(const char *name) {
    const char *end = findNameEnd(name);
    const bool isWhole = endsTag(end) || isWhitespace(*end);
    if (!isWhole || end == name || *name == ':' || end[-1] == ':') return nullptr;
    const auto length = static_cast<size_t>(end - name);
    const auto *colon = static_cast<const char *>(std::memchr(name, ':', length));
    const size_t prefix = colon != nullptr ? static_cast<size_t>(colon - name) : 0;
    const bool isStarted = isShort(length)
                               ? builder_.template startElement<Vectors>(name, length, prefix)
                               : builder_.startLongElement(name, length, prefix);
    return isStarted ? end : nullptr;
  }

  // "/>" of a start tag.
  NEB_XML_NOINLINE const char *endLongTag(const char *token) {
    return builder_.endEmptyElement() && builder_.makeNext() ? token + lengthOf(kEmptyTagEnd)
                                                             : nullptr;
  }

  // A text or an end tag. White space before other markup has no meaning, unless that may be inside
  // of a text.
  const char *readLongContent(const char *token) {
    if (beginsEndTag(token)) return readLongEndTag(token);
    if (kIsStrict && builder_.isInContent() && beginsMisc(token)) return nullptr;
    const bool isText = *token != '<' || begins(token, kCdataBegin);
    return isText ? readLongText(token) : token;
  }

  static bool beginsMisc(const char *markup) {
    return *markup == '<' && (markup[1] == '!' || markup[1] == '?');
  }

  // The end tag of the root, of a long name, or behind white space that is a value.
  const char *readLongEndTag(const char *tag) {
    const XmlNode *element = builder_.open();
    const size_t length = element->nameLength;
    if (length == 0 || !isEndTag(tag, element->name, length)) return nullptr;
    if (builder_.isNameWhole() && !builder_.splitName()) return nullptr;
    const char *run = tag;
    while (run[-1] != '>' && builder_.isInContent()) --run;
    const bool isValue = run != tag;
    if (isValue && !setRun(run, {tag, true})) return nullptr;
    builder_.closeInContent();
    return behindEndTag(tag, length);
  }

  // An attribute behind more white space than the loop takes.
  bool scanFarAttribute(const char *cursor) {
    const char *name = index_.nextNonWhitespace(cursor);
    const char *end = name != cursor ? scanLongAttribute(name) : nullptr;
    if (end != nullptr) tokenizer_.setCursor(end);
    return end != nullptr;
  }

  // A text with comments and processing instructions between it and its end tag.
  NEB_XML_NOINLINE const char *scanTextBeforeMisc(const ShortRun &text) {
    if constexpr (kIsStrict) return nullptr;  // it may go on
    const char *tag = findBehindMisc(text.end);
    if (tag == nullptr) return nullptr;
    const size_t length = builder_.leafLength();
    const bool isShown = tag != text.end && index_.hasWindow(tag);
    if (!isShown || !closesLeaf(tag, builder_.leafName(), length)) return scanLongText(text.begin);
    return builder_.template addShortText<Vectors>(text) ? behindEndTag(tag, length) : nullptr;
  }

  // Within the loops, which need an open element behind the token as well.

  NEB_XML_NOINLINE const char *scanLongEndTag(const char *tag) {
    return builder_.isRootOpen() ? nullptr : readLongEndTag(tag);
  }

  NEB_XML_NOINLINE const char *scanLongText(const char *text) {
    return builder_.isRootOpen() ? nullptr : readLongText(text);
  }

  // The text of an element, with spaces before it and CDATA sections in it, and its end tag.
  // Between them may be comments and processing instructions.
  const char *readLongText(const char *token) {
    const char *name = builder_.leafName();
    if (name == nullptr || *token == '\0' || endsTag(token)) return nullptr;
    auto found = index_.findTextEnd(token);
    if (begins(found.end, kCdataBegin)) {
      // An empty section alone is no value.
      const bool isEmpty = begins(found.end + lengthOf(kCdataBegin), kCdataEnd);
      if (kIsStrict && (found.holdsBracket || isEmpty)) return nullptr;
      found.end = findBehindSections(found.end);
      found.isVerbatim = false;
    }
    if (found.end == nullptr) return nullptr;
    const size_t nameLength = builder_.leafLength();
    const char *tag = beginsEndTag(found.end) ? found.end : findBehindMisc(found.end);
    if (tag == nullptr || !isEndTag(tag, name, nameLength)) return nullptr;
    if (!setLongText(token, found)) return nullptr;
    if (builder_.isNameWhole() && !builder_.splitName()) return nullptr;
    builder_.close();
    return behindEndTag(tag, nameLength);
  }

  // Strict reading leaves texts with other markup in them to the tokenizer, except for one section
  // at the end.

  const char *findBehindSections(const char *section) {
    if constexpr (kIsStrict) {
      const char *close = find(section + lengthOf(kCdataBegin), kCdataEnd);
      return close != nullptr ? skipWhitespace(close + lengthOf(kCdataEnd)) : nullptr;
    } else {
      return tokenizer_.findTextEnd(section);
    }
  }

  const char *findBehindMisc(const char *markup) {
    if constexpr (kIsStrict) {
      return nullptr;
    } else {
      return tokenizer_.findBehindMisc(markup);
    }
  }

  // With what is kept of the white space before it.
  bool setLongText(const char *token, const StructuralIndex::Found &text) {
    const char *run = token;
    while (kIsStrict ? isWhitespace(run[-1]) : run[-1] == ' ') --run;
    const bool isRefused =
        kIsStrict && text.holdsBracket && findSectionEnd(token, text.end) != nullptr;
    return !isRefused && setRun(run, text);
  }

  // The white space at the beginning of the run has not been searched.
  bool setRun(const char *run, const StructuralIndex::Found &text) {
    const auto length = static_cast<size_t>(text.end - run);
    if constexpr (kIsStrict) {
      const bool isVerbatim = text.isVerbatim && !text.holdsWhitespace && !beginsWithReturn(run);
      return builder_.setText({run, length, isVerbatim, Decoding::strictText});
    }
    return builder_.setText({run, length, text.isVerbatim});
  }

  static bool beginsWithReturn(const char *run) {
    while (isWhitespace(*run) && *run != '\r') ++run;
    return *run == '\r';
  }

  bool isEndTag(const char *tag, const char *name, size_t length) const {
    if (!beginsEndTag(tag)) return false;
    const char *closed = tag + lengthOf(kEndTagBegin);
    const auto left = static_cast<size_t>(index_.documentEnd() - closed);
    return left > length && closed[length] == '>' && std::memcmp(closed, name, length) == 0;
  }

  // From the name to the closing quote. Returns the cursor behind it; null if the tokenizer must
  // read the attribute or if the builder has failed.
  NEB_XML_NOINLINE const char *scanLongAttribute(const char *name) {
    if (builder_.hasFailed()) return nullptr;
    const char *colon = nullptr;
    const char *end = index_.nextNameEnd(name);
    if (*end == ':') {
      colon = end;
      while (*end == ':') end = index_.nextNameEnd(end + 1);
      const bool endsInColon = kIsStrict ? end[-1] == ':' : colon + 1 == end;
      if (colon == name || endsInColon) return nullptr;
    }
    if (kIsStrict && !isAscii(*end)) {
      end = findNameEnd(name);
      if (end == name || end[-1] == ':') return nullptr;
      colon = static_cast<const char *>(std::memchr(name, ':', static_cast<size_t>(end - name)));
      if (colon == name) return nullptr;
    }
    if (end == name || *end != '=' || (end[1] != '"' && end[1] != '\'')) return nullptr;
    if (!mayBeName(name)) return nullptr;
    const char *value = end + 2;
    const auto found = index_.findValueEnd(value, end[1]);
    const char *close = found.end;
    const bool isVerbatim = found.isVerbatim && !(kIsStrict && found.holdsWhitespace);
    if (*close == '\0') return nullptr;
    const size_t prefixSize = colon != nullptr ? static_cast<size_t>(colon + 1 - name) : 0;
    const auto length = static_cast<size_t>(end - name);
    if (isVerbatim && addLongAttribute(name, length, prefixSize, {value, close, name, 0})) {
      return close + 1;
    }
    const Run prefix = {name, colon != nullptr ? prefixSize - 1 : 0, true};
    const Run local = {name + prefixSize, length - prefixSize, true};
    const bool isAdded =
        !builder_.hasFailed() && builder_.startAttribute(prefix, local) &&
        builder_.endAttribute(name, {value, static_cast<size_t>(close - value), isVerbatim,
                                     kIsStrict ? Decoding::strictValue : Decoding::lenient});
    return isAdded ? close + 1 : nullptr;
  }

  // With lengths that can be noted. The key of the name may be read from the bytes behind it.
  bool addLongAttribute(const char *name, size_t length, size_t prefixSize, const ShortRun &value) {
    const bool isNoted = notedNameLength(length) != 0 && value.length() - 1 < kLongestNotedValue;
    if (!isNoted || !index_.hasWindow(value.end)) return false;
    return builder_.isNewAttribute(name, length, prefixSize, builder_.handedOver()) &&
           builder_.addLongAttribute(name, length, prefixSize, value);
  }

  Builder &builder_;
  typename XmlParser<Allocation, Language>::Tokenizer &tokenizer_;
  const char *firstScanned_;
  bool isInTail_ = false;
  StructuralIndex index_;
  NEB_XML_NO_UNIQUE_ADDRESS std::conditional_t<kIsStrict, CharacterCheck, NoCharacterCheck>
      characters_;
  char tail_[kVectorSize + kTailSize + StructuralIndex::kReach];
};

}  // namespace neb::xml::internal
