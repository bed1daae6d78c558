// The tree builder: the only maker of nodes in a parse, except for the document's record.
#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

#include "parser/allocation.h"
#include "parser/copying.h"
#include "parser/decoder.h"
#include "parser/limits.h"
#include "parser/markup.h"
#include "parser/reasons.h"
#include "platform/compiler.h"
#include "record/node_records.h"
#include "simd/vector.h"
#include "tree/duplicates.h"

namespace neb::xml::internal {

// See noteValueLength.
inline constexpr size_t kLongestNotedValue = UINT8_MAX - 1;

// The attributes of the tag that is being read.
class AttributeList {
 public:
  AttributeList() = default;
  explicit AttributeList(XmlNode *element)
      : link_(reinterpret_cast<char *>(element) + offsetof(XmlNode, firstAttr)) {}

  void append(XmlNode *attribute) {
    std::memcpy(link_, &attribute, sizeof(XmlNode *));
    link_ = reinterpret_cast<char *>(attribute) + offsetof(XmlNode, next);
  }

  // The last one; there is one.
  XmlNode *last() const { return reinterpret_cast<XmlNode *>(link_ - offsetof(XmlNode, next)); }

  DuplicateDetector::Seen seen;

 private:
  char *link_ = nullptr;  // where the next one is linked
};

// Builds a tree from the tokens of a document, in their order. The scanner sees a short token as a
// whole, the tokenizer step by step. The record of the next element is allocated behind a start
// tag, before the content, so scanner and tokenizer request each allocation at the same point of
// the document.
//
// Functions that return bool return false once the parse has failed. What has been built is then
// freed with the builder.
template <typename Allocation, bool kIsStrict>
class TreeBuilder {
 public:
  // The document is a new node. The first start tag fills its record.
  TreeBuilder(const Storage &storage, XmlNode *document)
      : allocation_(storage),
        next_(document),
        duplicates_(DuplicateDetector::Compared::asStored, allocation_.source()),
        document_(document) {}
  TreeBuilder(const TreeBuilder &) = delete;
  TreeBuilder &operator=(const TreeBuilder &) = delete;

  ~TreeBuilder() {
    if constexpr (Allocation::kIsArena) return;  // the session frees everything
    if (next_ != nullptr && next_ != document_) freeUnused(next_);
    XML_FreeNode(document_);
  }

  // Hands the document over to the caller.
  XmlNode *release() {
    if constexpr (Allocation::kIsArena) allocation_.allocator().save();
    if (next_ == document_) next_ = nullptr;
    return std::exchange(document_, nullptr);
  }

  // So much of the document has been read.
  void reportProgress(size_t read, size_t whole) {
    if constexpr (Allocation::kIsArena) allocation_.allocator().reportProgress(read, whole);
  }

  // Whether a vector that ends at a stored string's last byte may be read.
  static constexpr bool kHasBytesBefore = Allocation::kIsArena;

  // The innermost open element; null at the top.
  XmlNode *open() const { return open_; }
  bool hasOpen() const { return open_ != nullptr; }
  bool isInTag() const { return isInTag_; }
  bool hasAttributes() const { return attributes_.seen.count != 0; }
  bool hasFailed() const { return hasFailed_; }
  // Whether the root has been started.
  bool hasRoot() const { return next_ != document_; }

  // Counted in strict reading only. A few nodes may be made beyond a limit before it is noticed.
  void setLimits(const ReadLimits &limits) { counts_.limits = limits; }
  bool isWithinLimits() const { return counts_.areWithinLimits(); }

  // Whether the element started last is still open.
  bool isLastStartedOpen() const { return open_ != nullptr && last_ == nullptr; }
  // Whether white space may be a value here: behind a start tag, and perhaps end tags.
  bool isInContent() const { return leafLength_ != 0; }

  // The name of the open element in the document, directly behind its start tag; null if it is not
  // there in this form.
  const char *leafName() const { return isLeafKnown() ? leafName_ : nullptr; }
  // The length of that name; 0 outside of content, and above any length if it is not known.
  size_t leafLength() const { return leafLength_; }
  void forgetLeafName() {
    if (leafLength_ != 0) leafLength_ = kUnknownLeaf;
  }

  // The tree builder keeps no reason or position.
  bool fail(const char * /*reason*/, const char * /*at*/) {
    hasFailed_ = true;
    return false;
  }
  bool failAbout(const char *reason, const char *at, const Run & /*name*/) {
    return fail(reason, at);
  }
  bool failEndTag(const char *endTag, const Run & /*name*/) {
    return fail(reasons::kEndTagOther, endTag);
  }
  bool passUnsupported(const char *reason, const char *at, const Run & /*name*/) {
    return fail(reason, at);
  }
  static const char *openTag() { return nullptr; }
  static Run openName() { return {}; }

  // ---- Short tokens: names of kLongestShortName bytes at most, with kWidestCopy bytes behind
  // them. They are copied by the vectors of the machine.

  // "<name>", and the record of the next element.
  template <typename Vectors>
  bool startBareElement(const char *name, size_t length) {
    const size_t size = length + kTerminator;
    char *memory = allocateTogether(size, size + kElementRecordSize);
    if (memory == nullptr) {
      return startElement<Vectors>(name, length, 0) && endStartTag() && makeNext();
    }
    Vectors::copyHalfWide(memory, name);
    openElement(startNext(memory, length), name, length);
    next_ = recordAt(memory + size);
    return true;
  }

  // "<name/>", and the record of the next element.
  template <typename Vectors>
  bool addEmptyElement(const char *name, size_t length) {
    const size_t size = length + kTerminator;
    char *memory = allocateTogether(size, size + kElementRecordSize);
    if (memory == nullptr) {
      return startElement<Vectors>(name, length, 0) && endShortEmptyElement();
    }
    Vectors::copyHalfWide(memory, name);
    closeElement(startNext(memory, length));
    next_ = recordAt(memory + size);
    return true;
  }

  // "<name>text</name>", and the record of the next element. If the allocations do not lie
  // together, builds nothing and returns false.
  template <typename Vectors>
  bool addLeaf(const char *name, size_t length, const ShortRun &text) {
    const size_t size = length + kTerminator;
    const size_t valueSize = text.length() + kTerminator;
    char *memory =
        allocateTogether(std::min(size, valueSize), size + kElementRecordSize + valueSize);
    if (memory == nullptr) return false;
    char *value = memory + size + kElementRecordSize;
    const size_t valueLength = copyShort<kIsStrict, Vectors>(value, text);
    Vectors::copyHalfWide(memory, name);
    XmlNode *element = startNext(memory, length);
    setShortValue(element, value, valueLength);
    next_ = recordAt(memory + size);
    closeElement(element);
    return true;
  }

  // "<name" or "<prefix:name", up to white space; the prefix has this length.
  template <typename Vectors>
  bool startElement(const char *name, size_t length, size_t prefixLength) {
    char *copy = copyName<Vectors>(name, length);
    if (copy == nullptr) return false;
    openElement(startNext(copy, length), name, length);
    leafPrefix_ = prefixLength;
    if (prefixLength != 0) open_->marks = kNameIsWhole;
    duplicates_.beginTag();
    return true;
  }

  // While a start tag is scanned, the scanner holds the list of its attributes. It hands the list
  // over to let others read from here on.
  void handOver(const AttributeList &list) {
    attributes_ = list;
    isInTag_ = true;
  }
  // The list that was handed over. It is used where it lies: copies are vectors, which would wait
  // for the stores of its fields.
  AttributeList *handedOver() { return &attributes_; }
  // Of the tag that was begun last: the list that was handed over, or one without attributes.
  AttributeList takeOver() {
    if (!isInTag_) return AttributeList(open_);
    isInTag_ = false;
    return attributes_;
  }

  // Whether the attribute is certain to be no duplicate. If so, it must be added next.
  bool isNewAttribute(const char *name, size_t length, size_t prefixSize, AttributeList *list) {
    return duplicates_.addIfNew(NameKey::of(name, length, prefixSize), &list->seen);
  }

  // "name='value'" or "prefix:name='value'", which is as long as the two strings that it becomes.
  template <typename Vectors>
  bool addAttribute(const char *name, size_t length, size_t prefixSize, const ShortRun &value,
                    AttributeList *list) {
    const size_t nameSize = length + kTerminator;
    const size_t valueSize = value.length() + kTerminator;
    size_t smallest = std::min(nameSize - prefixSize, valueSize);
    if (prefixSize != 0) smallest = std::min(smallest, prefixSize);
    static_assert(kAttributeRecordSize > kLongestShortName);  // and so is not the smallest
    char *memory = allocateTogether(smallest, kAttributeRecordSize + nameSize + valueSize);
    if (memory == nullptr) {
      // Passing the list itself would force it out of its registers.
      attributes_ = *list;
      const bool isAdded = addAttributeSlowly(name, length, prefixSize, value);
      *list = attributes_;
      return isAdded;
    }
    // All copies come first: behind them, no field is written twice.
    char *copy = memory + kAttributeRecordSize;
    Vectors::copyHalfWide(copy, name);
    endNames(copy, length, prefixSize);
    char *string = copy + nameSize;
    const size_t valueLength = copyShort<kIsStrict, Vectors>(string, value);
    XmlNode *attribute = fillNamed(memory, length, prefixSize);
    attribute->marks = kStringsTogether;
    setShortValue(attribute, string, valueLength);
    list->append(attribute);
    return true;
  }

  // The same with an empty value, for which there is no string, in the list that was handed over.
  template <typename Vectors>
  bool addEmptyAttribute(const char *name, size_t length, size_t prefixSize) {
    const size_t nameSize = length + kTerminator;
    const size_t localSize = nameSize - prefixSize;
    const size_t smallest = prefixSize != 0 ? std::min(prefixSize, localSize) : localSize;
    char *memory = allocateTogether(smallest, kAttributeRecordSize + nameSize);
    if (memory == nullptr) return addEmptyAttributeSlowly(name, length, prefixSize);
    char *copy = memory + kAttributeRecordSize;
    Vectors::copyHalfWide(copy, name);
    endNames(copy, length, prefixSize);
    XmlNode *attribute = fillNamed(memory, length, prefixSize);
    attribute->value = nullptr;
    attributes_.append(attribute);
    return true;
  }

  // The same with a name and a verbatim value whose lengths can be noted.
  bool addLongAttribute(const char *name, size_t length, size_t prefixSize, const ShortRun &value) {
    const size_t nameSize = length + kTerminator;
    const size_t valueSize = value.length() + kTerminator;
    size_t smallest = std::min({kAttributeRecordSize, nameSize - prefixSize, valueSize});
    if (prefixSize != 0) smallest = std::min(smallest, prefixSize);
    char *memory = allocateTogether(smallest, kAttributeRecordSize + nameSize + valueSize);
    if (memory == nullptr) return addAttributeSlowly(name, length, prefixSize, value);
    char *copy = memory + kAttributeRecordSize;
    char *string = copyLong(copy, name, length) + kTerminator;
    endNames(copy, length, prefixSize);
    *copyLong(string, value.begin, value.length()) = '\0';
    XmlNode *attribute = fillNamed(memory, length, prefixSize);
    attribute->marks = kStringsTogether;
    setShortValue(attribute, string, value.length());
    attributes_.append(attribute);
    return true;
  }

  // ">" of a start tag, the record of the next element, and the text and end tag of an element
  // without a prefix. If the allocations do not lie together, builds nothing and returns false.
  template <typename Vectors>
  bool endStartTagOfLeaf(const ShortRun &text) {
    const size_t size = text.length() + kTerminator;
    char *memory = allocateTogether(std::min(size, kElementRecordSize), kElementRecordSize + size);
    if (memory == nullptr) return false;
    char *value = memory + kElementRecordSize;
    XmlNode *element = open_;
    setShortValue(element, value, copyShort<kIsStrict, Vectors>(value, text));
    next_ = recordAt(memory);
    close();
    return true;
  }

  // "/>" of a start tag of an element that has a parent, and the record of the next element.
  bool endShortEmptyElement() {
    if (!(isNameWhole() ? splitAndMakeNext(open_) : makeNext())) return false;
    close();
    return true;
  }

  // The text of the open element, which has a parent, and its end tag.
  template <typename Vectors>
  bool addShortText(const ShortRun &text) {
    const bool isSet =
        isNameWhole() ? setValueAndSplit<Vectors>(open_, text) : setValue<Vectors>(open_, text);
    if (!isSet) return false;
    close();
    return true;
  }

  // The end tag of the open element, which has a parent and a short name.
  bool endShortElement() {
    if (isNameWhole() && !splitShortName(open_, prefixLengthOfOpen())) return false;
    closeInContent();
    return true;
  }

  bool isRootOpen() const { return open_->parent == nullptr; }
  bool isNameWhole() const { return (open_->marks & kNameIsWhole) != 0; }

  // ---- Tokens of any length, and references of any kind.

  // "<name", up to the attributes.
  bool startElement(const char * /*tag*/, const Run &name) {
    if (!startUnknownElement(name)) return false;
    noteName(name);
    return true;
  }

  // The same with a name that the structural index has shown. The prefix has this length.
  bool startLongElement(const char *name, size_t length, size_t prefixLength) {
    if (!startUnknownElement({name, length, true})) return false;
    noteName(length, prefixLength);
    return true;
  }

  // Record, prefix and name of an attribute.
  bool startAttribute(const Run &prefix, const Run &name) {
    auto *attribute = reinterpret_cast<XmlNode *>(allocate(kAttributeRecordSize));
    if (attribute == nullptr) return false;
    fillAttribute(attribute, allocation_.handle(), 0, open_);
    attribute->name = nullptr;
    attribute->value = nullptr;
    countAttribute();
    attributes_.append(attribute);
    if (!copyRun(prefix, &attribute->prefix) || !copyRun(name, &attribute->name)) return false;
    if (name.isVerbatim) attribute->nameLength = notedNameLength(name.length);
    return true;
  }

  // The value of the attribute that was started last.
  bool endAttribute(const char *nameInDocument, const Run &value) {
    XmlNode *attribute = attributes_.last();
    if (!copyRun(value, &attribute->value)) return false;
    if (value.isVerbatim && value.length != 0) noteValueLength(attribute, value.length);
    const uint32_t result =
        duplicates_.add(NameKey::of(attribute), open_->firstAttr, attribute, &attributes_.seen);
    return result == NEB_XML_OK || fail(reasons::kAttributeTwice, nameInDocument);
  }

  // ">" of a start tag.
  bool endStartTag() {
    isInTag_ = false;
    return true;
  }

  // "/>" of a start tag.
  bool endEmptyElement() {
    isInTag_ = false;
    if (!splitName()) return false;
    close();
    return true;
  }

  // The record of the next element.
  bool makeNext() {
    next_ = recordAt(allocate(kElementRecordSize));
    return next_ != nullptr;
  }

  // The text, which is the whole content of the open element.
  bool setText(const Run &text) {
    open_->valueOwned = 1;
    if (!copyRun(text, &open_->value)) return false;
    if (text.isVerbatim && text.length != 0) noteValueLength(open_, text.length);
    return true;
  }

  // Whether an end tag with this undecoded name closes the open element.
  bool isNameOfOpen(const char *name, size_t length) {
    return std::strlen(open_->name) == length && std::memcmp(open_->name, name, length) == 0;
  }

  // Splits the prefix off the name of the element that ends now.
  bool splitName() {
    XmlNode *element = open_;
    char *colon = std::strchr(element->name, ':');
    if (colon == nullptr) return true;
    if (colon == element->name || colon[1] == '\0') {
      return fail(reasons::kElementNameColon, nullptr);
    }
    const size_t prefixLength = static_cast<size_t>(colon - element->name);
    if (!copyRun(runOf(element->name, prefixLength), &element->prefix)) return false;
    const size_t moved = std::strlen(colon + 1) + kTerminator;
    std::memmove(element->name, colon + 1, moved);
    element->nameLength = notedNameLength(moved - kTerminator);
    element->marks &= static_cast<uint8_t>(~kNameIsWhole);
    return true;
  }

  // The end tag behind text.
  void close() {
    XmlNode *element = open_;
    open_ = element->parent;
    leaveElement();
    closeElement(element);
  }

  // An end tag behind anything else. In the lenient language, what follows is in content if the tag
  // was.
  void closeInContent() {
    XmlNode *element = open_;
    element->valueOwned = 1;
    open_ = element->parent;
    last_ = element;
    leaveElement();
    if constexpr (kIsStrict) leafLength_ = 0;
    forgetLeafName();
  }

 private:
  static constexpr size_t kUnknownLeaf = SIZE_MAX;

  void countElement() {
    if constexpr (kIsStrict) {
      ++counts_.nodes;
      if (counts_.depth >= counts_.deepest) counts_.deepest = counts_.depth + 1;
    }
  }

  void countAttribute() {
    if constexpr (kIsStrict) ++counts_.nodes;
  }

  void enterElement() {
    if constexpr (kIsStrict) ++counts_.depth;
  }

  void leaveElement() {
    if constexpr (kIsStrict) --counts_.depth;
  }

  static XmlNode *recordAt(char *memory) { return reinterpret_cast<XmlNode *>(memory); }

  bool isLeafKnown() const { return leafLength_ != kUnknownLeaf && leafLength_ != 0; }

  // The next record becomes an element below the open one; its name has been copied.
  XmlNode *startNext(char *name, size_t length) {
    XmlNode *element = next_;
    if constexpr (!Allocation::kIsArena) next_ = nullptr;  // freed with the tree from now on
    countElement();
    fillElement(element, allocation_.handle(), static_cast<uint16_t>(length));
    name[length] = '\0';
    element->name = name;
    appendElement(element, open_, last_);
    return element;
  }

  void attach(XmlNode *element) {
    if (open_ != nullptr) return appendElement(element, open_, last_);
    element->parent = nullptr;
    element->prev = last_;
    if (last_ != nullptr) last_->next = element;
  }

  void openElement(XmlNode *element, const char *name, size_t length) {
    open_ = element;
    enterElement();
    last_ = nullptr;
    leafName_ = name;
    leafLength_ = length;
  }

  void closeElement(XmlNode *element) {
    last_ = element;
    leafLength_ = 0;
  }

  void beginAttributes() {
    attributes_ = AttributeList(open_);
    duplicates_.beginTag();
    isInTag_ = true;
  }

  // Records a name that is not noted.
  bool startUnknownElement(const Run &name) {
    char *copy = nullptr;
    if (!copyRun(name, &copy)) return false;
    XmlNode *element = std::exchange(next_, nullptr);
    countElement();
    if (element != document_) fillElement(element, allocation_.handle(), 0);
    element->name = copy;
    element->nameOwned = 1;
    attach(element);
    openElement(element, name.begin, kUnknownLeaf);
    beginAttributes();
    return true;
  }

  // Notes a name that the scanner can compare, so that it may read the end tag.
  void noteName(const Run &name) {
    size_t prefixLength = 0;
    for (size_t i = 0; i < name.length; ++i) {
      const char byte = name.begin[i];
      if (byte != ':' && kNameEndBytes.holds(static_cast<uint8_t>(byte))) return;
      if (byte == ':' && prefixLength == 0) prefixLength = i;
    }
    const char last = name.begin[name.length - 1];
    if (name.begin[0] == ':' || last == ':' || mayEndMarkup(last)) return;
    noteName(name.length, prefixLength);
  }

  void noteName(size_t length, size_t prefixLength) {
    leafLength_ = length;
    leafPrefix_ = prefixLength;
    open_->nameLength = notedNameLength(length);
    if (prefixLength != 0) open_->marks |= kNameIsWhole;
  }

  // The terminators of the strings that a whole name of an attribute becomes.
  static void endNames(char *name, size_t length, size_t prefixSize) {
    name[length] = '\0';
    if (prefixSize != 0) name[prefixSize - 1] = '\0';
  }

  // The record of an attribute whose strings lie behind it, without the value.
  XmlNode *fillNamed(char *memory, size_t length, size_t prefixSize) {
    char *name = memory + kAttributeRecordSize;
    XmlNode *attribute = recordAt(memory);
    countAttribute();
    fillAttribute(attribute, allocation_.handle(), static_cast<uint16_t>(length - prefixSize),
                  open_);
    attribute->name = name + prefixSize;
    if (prefixSize != 0) attribute->prefix = name;
    return attribute;
  }

  // Allocates back to back in the session's last block, with room for whole vectors behind. If
  // single allocations would not lie so, allocates nothing and returns null.
  char *allocateTogether([[maybe_unused]] size_t smallest, [[maybe_unused]] size_t total) {
    if constexpr (Allocation::kIsArena) {
      return allocation_.allocator().allocateTogether(smallest, total);
    }
    return nullptr;
  }

  // What is cold goes to a section of its own, so that the loops lie close together.

  // Needs no call if the session's last block or its open gap has room.
  char *allocate(size_t size) {
    if constexpr (Allocation::kIsArena) {
      char *memory = allocation_.allocator().allocateOne(static_cast<ptrdiff_t>(size));
      if (memory != nullptr) return memory;
    }
    return allocateSlowly(size);
  }

  char *allocateSlowly(size_t size) {
    char *memory = nullptr;
    if constexpr (Allocation::kIsArena) {
      memory = allocateFromSession(size);
    } else {
      memory = static_cast<char *>(g_fnXMLMalloc(size));
    }
    if (memory == nullptr) hasFailed_ = true;
    return memory;
  }

  NEB_XML_COLD char *allocateFromSession(size_t size) {
    return allocation_.allocator().allocate(size);
  }

  // Frees what nothing refers to yet. A session keeps it until it ends.
  static void freeUnused([[maybe_unused]] void *memory) {
    if constexpr (!Allocation::kIsArena) g_fnXMLFree(memory);
  }

  // The terminator comes with the record.
  template <typename Vectors>
  char *copyName(const char *name, size_t length) {
    const size_t size = length + kTerminator;
    char *copy = allocateTogether(size, size);
    if (copy != nullptr) {
      Vectors::copyHalfWide(copy, name);
      return copy;
    }
    copy = allocate(size);
    if (copy != nullptr) moveShort(copy, name, length);
    return copy;
  }

  static void setShortValue(XmlNode *node, char *value, size_t length) {
    node->value = value;
    node->valueSize = static_cast<uint8_t>(length + kTerminator);
    node->valueOwned = 1;
  }

  template <typename Vectors>
  bool setValue(XmlNode *node, const ShortRun &run) {
    const size_t size = run.length() + kTerminator;
    char *value = allocateTogether(size, size);
    if (value == nullptr) return setValueSlowly(node, run);
    setShortValue(node, value, copyShort<kIsStrict, Vectors>(value, run));
    return true;
  }

  template <typename Vectors>
  bool setValueAndSplit(XmlNode *element, const ShortRun &run) {
    const size_t size = run.length() + kTerminator;
    const size_t prefixSize = leafPrefix_ + kTerminator;
    char *value = allocateTogether(std::min(size, prefixSize), size + prefixSize);
    if (value == nullptr) {
      return setValueSlowly(element, run) && splitShortName(element, leafPrefix_);
    }
    setShortValue(element, value, copyShort<kIsStrict, Vectors>(value, run));
    moveName(element, value + size, leafPrefix_);
    return true;
  }

  bool splitAndMakeNext(XmlNode *element) {
    const size_t size = leafPrefix_ + kTerminator;
    const size_t smallest = std::min(size, kElementRecordSize);
    char *memory = allocateTogether(smallest, size + kElementRecordSize);
    if (memory == nullptr) return splitShortName(element, leafPrefix_) && makeNext();
    moveName(element, memory, leafPrefix_);
    next_ = recordAt(memory + size);
    return true;
  }

  // Moves the prefix of a name, without the colon, into a string of its own.
  static void moveName(XmlNode *element, char *prefix, size_t length) {
    char *name = element->name;
    moveShort(prefix, name, length);
    prefix[length] = '\0';
    element->prefix = prefix;
    moveShort(name, name + length + 1, element->nameLength - length);
    element->nameLength = static_cast<uint16_t>(element->nameLength - length - 1);
    element->marks &= static_cast<uint8_t>(~kNameIsWhole);
  }

  bool splitShortName(XmlNode *element, size_t prefixLength) {
    char *prefix = allocateSlowly(prefixLength + kTerminator);
    if (prefix != nullptr) moveName(element, prefix, prefixLength);
    return prefix != nullptr;
  }

  size_t prefixLengthOfOpen() const {
    const char *name = open_->name;
    const void *colon = std::memchr(name, ':', open_->nameLength);
    return static_cast<size_t>(static_cast<const char *>(colon) - name);
  }

  static Decoding decodingOf(const XmlNode *node) {
    if (!kIsStrict) return Decoding::lenient;
    return node->type == NEB_XML_NODE_ATTRIBUTE ? Decoding::strictValue : Decoding::strictText;
  }

  NEB_XML_COLD bool setValueSlowly(XmlNode *node, ShortRun run) {
    const size_t length = run.length();
    const bool isVerbatim = run.decoded == 0;
    node->valueOwned = 1;
    if (!copyRun({run.begin, length, isVerbatim, decodingOf(node)}, &node->value)) return false;
    if (isVerbatim) noteValueLength(node, length);
    return true;
  }

  NEB_XML_COLD bool addAttributeSlowly(const char *name, size_t length, size_t prefixSize,
                                       ShortRun value) {
    const Run prefix = {name, prefixSize != 0 ? prefixSize - 1 : 0, true};
    const Run local = {name + prefixSize, length - prefixSize, true};
    return startAttribute(prefix, local) && setValueSlowly(attributes_.last(), value);
  }

  NEB_XML_COLD bool addEmptyAttributeSlowly(const char *name, size_t length, size_t prefixSize) {
    const Run prefix = {name, prefixSize != 0 ? prefixSize - 1 : 0, true};
    return startAttribute(prefix, {name + prefixSize, length - prefixSize, true});
  }

  // A new string, or null for an empty run, in a field of a record, which may stand at any address.
  bool copyRun(const Run &run, void *field) {
    char *string = nullptr;
    const bool isCopied = run.length == 0 || makeString(run, &string);
    std::memcpy(field, &string, sizeof string);
    return isCopied;
  }

  // Of a run that is not empty.
  bool makeString(const Run &run, char **string) {
    if (run.length > INT32_MAX) return fail(reasons::kTextTooLong, run.begin);
    char *copy = allocate(run.length + kTerminator);
    if (copy == nullptr) return false;
    if (run.isVerbatim) {
      std::memcpy(copy, run.begin, run.length);
      copy[run.length] = '\0';
    } else if (DecodingFailure failure; !decode(run, copy, &failure)) {
      freeUnused(copy);
      return fail(failure.reason, failure.at);
    }
    *string = copy;
    return true;
  }

  // Fields that change together are not neighbours: the compiler would combine them in a vector.
  XmlNode *open_ = nullptr;
  Allocation allocation_;
  XmlNode *last_ = nullptr;  // its last child or, at the top, the last element; null if none
  const char *leafName_ = nullptr;
  XmlNode *next_;  // for the next start tag, its bytes not set; null until it is made
  size_t leafPrefix_ = 0;
  size_t leafLength_ = 0;
  bool isInTag_ = false;
  bool hasFailed_ = false;
  AttributeList attributes_;
  DuplicateDetector duplicates_;
  XmlNode *document_;
  [[no_unique_address]] std::conditional_t<kIsStrict, NodeCounts, NoNodeCounts> counts_;
};

}  // namespace neb::xml::internal
