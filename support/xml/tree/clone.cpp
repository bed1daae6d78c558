// Copying nodes, alone or with their subtrees.
#include <algorithm>
#include <cstring>

#include "memory/regions.h"
#include "memory/session_allocator.h"
#include "ownership/new_session.h"
#include "ownership/release.h"
#include "platform/compiler.h"
#include "record/node_records.h"
#include "record/node_strings.h"
#include "tree/nodes.h"

namespace neb::xml::internal {

namespace {

uint32_t typeOfCopy(const XmlNode *source, bool documentsBecomeElements) {
  if (documentsBecomeElements && source->type == NEB_XML_NODE_DOCUMENT) {
    return NEB_XML_NODE_ELEMENT;
  }
  return static_cast<uint32_t>(source->type);
}

// Makes records on the heap.
class HeapCopier {
 public:
  XmlNode *copyRecord(const XmlNode *source, uint32_t type) const {
    XmlNode *copy = makeNode(storage_, type);
    if (copy == nullptr) return nullptr;
    const NodeStrings strings = measured(source->prefix, source->name, source->value);
    if (setStrings(storage_, copy, strings) == NEB_XML_OK) return copy;
    releaseSingle(copy, storage_);
    return nullptr;
  }

  void release(XmlNode *copy) const { releaseChain(copy, storage_); }

 private:
  Storage storage_;
};

// Makes records of a session, each together with its strings where they fit.
class SessionCopier {
 public:
  SessionCopier(const Storage &storage)
      : allocator_(*storage.session()), handle_(storage.handle()) {}
  ~SessionCopier() { allocator_.save(); }
  SessionCopier(const SessionCopier &) = delete;
  SessionCopier &operator=(const SessionCopier &) = delete;

  XmlNode *copyRecord(const XmlNode *source, uint32_t type) {
    if (!platform::kIsSmall && (source->marks & kStringsTogether) != 0) {
      if (XmlNode *copy = copyTogether(source)) return copy;
    } else if (type == NEB_XML_NODE_ELEMENT && hasShortStrings(source)) {
      if (XmlNode *copy = copyShort(source)) return copy;
    }
    const Strings strings(source);
    const size_t size = recordSize(type);
    char *together =
        allocator_.allocateTogether(std::min(size, strings.smallest()), strings.all() + size);
    char *record = together != nullptr ? together : allocator_.allocate(size);
    if (record == nullptr) return nullptr;
    auto *copy = reinterpret_cast<XmlNode *>(record);
    fillRecord(copy, static_cast<int8_t>(type), handle_, notedNameLength(strings.name));
    fillRest(copy, type, strings);
    if (together == nullptr) return copyStrings(source, strings, copy) ? copy : nullptr;
    const bool hasBytesBefore = hasBytesBeforeStrings(source);
    char *next = together + size;
    copy->prefix = append(source->prefix, strings.prefix, hasBytesBefore, &next);
    copy->name = append(source->name, strings.name, hasBytesBefore, &next);
    copy->value = append(source->value, strings.value, hasBytesBefore, &next);
    const bool isNoted = copy->nameLength != 0 && copy->valueSize > 1;
    if (type == NEB_XML_NODE_ATTRIBUTE && isNoted) copy->marks = kStringsTogether;
    return copy;
  }

  // The session frees it.
  static void release(XmlNode * /*copy*/) {}

 private:
  // The lengths of the strings; 0 where there is nothing to copy.
  struct Strings {
    size_t prefix;
    size_t name;
    size_t value;

    explicit Strings(const XmlNode *node)
        : prefix(prefixLengthOf(node)),
          name(node->name != nullptr ? nameLengthOf(node) : 0),
          value(node->value != nullptr ? valueLengthOf(node) : 0) {}

    // With the terminators of those that there are.
    uint64_t all() const { return sizeOf(prefix) + sizeOf(name) + sizeOf(value); }
    size_t smallest() const { return std::min({prefix - 1, name - 1, value - 1}) + 2; }

   private:
    static uint64_t sizeOf(size_t length) { return length != 0 ? uint64_t{length} + 1 : 0; }
  };

  // An attribute whose strings are together, by one copy of all, if the copies would be together
  // too; else null.
  XmlNode *copyTogether(const XmlNode *source) {
    const char *strings = reinterpret_cast<const char *>(source) + kAttributeRecordSize;
    const auto prefixSize = static_cast<size_t>(source->name - strings);
    const size_t nameSize = source->nameLength + size_t{1};
    const size_t valueSize = source->valueSize;
    size_t smallest = std::min({kAttributeRecordSize, nameSize, valueSize});
    if (prefixSize != 0) smallest = std::min(smallest, prefixSize);
    const size_t size = kAttributeRecordSize + prefixSize + nameSize + valueSize;
    char *together = allocator_.allocateTogether(smallest, size);
    if (together == nullptr) return nullptr;
    internal::copyString(together, reinterpret_cast<const char *>(source), size);
    auto *copy = reinterpret_cast<XmlNode *>(together);
    copy->sessionId = handle_;
    copy->marks = kStringsTogether;
    if (prefixSize != 0) copy->prefix = together + kAttributeRecordSize;
    copy->name = together + kAttributeRecordSize + prefixSize;
    copy->value = copy->name + nameSize;
    copy->next = nullptr;
    return copy;
  }

  // What most elements have: a short name without a prefix, and no value or a short one.
  static bool hasShortStrings(const XmlNode *source) {
    return source->prefix == nullptr && ShortString::isLengthOfOne(source->nameLength) &&
           (source->value == nullptr ||
            ShortString::isLengthOfOne(source->valueSize - size_t{1})) &&
           hasBytesBeforeStrings(source);
  }

  // An element that has short strings, if its copy and theirs would be together; else null.
  XmlNode *copyShort(const XmlNode *source) {
    const size_t nameSize = source->nameLength + size_t{1};
    const size_t valueSize = source->value != nullptr ? source->valueSize : 0;
    const size_t smallest = std::min(nameSize - 1, valueSize - 1) + 1;
    char *together =
        allocator_.allocateTogether(smallest, kElementRecordSize + nameSize + valueSize);
    if (together == nullptr) return nullptr;
    auto *copy = reinterpret_cast<XmlNode *>(together);
    fillElement(copy, handle_, source->nameLength);
    copy->parent = nullptr;
    copy->prev = nullptr;
    copy->valueSize = 1;
    copy->name = together + kElementRecordSize;
    char *end = copyShortString(copy->name, source->name, nameSize);
    if (valueSize == 0) return copy;
    copy->valueSize = source->valueSize;
    copy->valueOwned = 1;
    copy->value = end;
    copyShortString(end, source->value, valueSize);
    return copy;
  }

  // With its terminator, behind which it returns.
  static char *copyShortString(char *to, const char *from, size_t size) {
    const size_t length = size - 1;
    char *end = ShortString(from, length).copyTo(to, length);
    *end = '\0';
    return end + 1;
  }

  // What the two kinds of nodes do not share, and no strings.
  static void fillRest(XmlNode *copy, uint32_t type, const Strings &strings) {
    noteValueLength(copy, strings.value);
    copy->nameOwned = strings.name != 0 ? 1 : 0;
    copy->valueOwned = strings.value != 0 ? 1 : 0;
    clearLinks(copy, type);
  }

  // Copies a string behind what has been copied into one allocation.
  static char *append(const char *text, size_t length, bool hasBytesBefore, char **next) {
    if (length == 0) return nullptr;
    char *copy = *next;
    char *end = copyString(copy, text, length, hasBytesBefore);
    *end = '\0';
    *next = end + 1;
    return copy;
  }

  bool copyStrings(const XmlNode *source, const Strings &strings, XmlNode *copy) {
    char *prefix = nullptr;
    char *name = nullptr;
    char *value = nullptr;
    const bool made = copyAlone(source->prefix, strings.prefix, &prefix) &&
                      copyAlone(source->name, strings.name, &name) &&
                      copyAlone(source->value, strings.value, &value);
    copy->prefix = prefix;
    copy->name = name;
    copy->value = value;
    return made;
  }

  bool copyAlone(const char *text, size_t length, char **copy) {
    if (length == 0) return true;
    *copy = allocator_.allocate(sumOf(length, 1));
    if (*copy != nullptr) std::memcpy(*copy, text, length + 1);
    return *copy != nullptr;
  }

  SessionAllocator allocator_;
  uint32_t handle_;
};

// Copies trees record by record.
template <typename Copier>
class TreeCopier {
 public:
  TreeCopier(Copier *copier, bool documentsBecomeElements)
      : copier_(*copier), documentsBecomeElements_(documentsBecomeElements) {}

  // A node with its attributes; null when memory runs out.
  XmlNode *copySelf(const XmlNode *source) {
    XmlNode *copy = copyRecord(source);
    if (copy == nullptr || copyAttributes(source, copy)) return copy;
    copier_.release(copy);
    return nullptr;
  }

  // Copies what is below source under copy, walking both trees side by side. Each copy is linked
  // before its own children are made, so that a failure leaves a whole tree to release. In a
  // function of its own, the copier stays in registers, whatever else a build compiles with it.
  NEB_XML_NOINLINE NEB_XML_FLATTEN bool xmlClone(const XmlNode *source, XmlNode *copy) {
    TreeCopier copier = *this;
    const XmlNode *from = source;
    XmlNode *to = copy;
    for (;;) {
      if (from->firstChild != nullptr) {
        from = from->firstChild;
      } else {
        while (from != source && from->next == nullptr) {
          from = from->parent;
          to = to->parent;
        }
        if (from == source) return true;
        from = from->next;
        to = to->parent;
      }
      XmlNode *child = copier.copySelf(from);
      if (child == nullptr) return false;
      appendElement(child, to, to->lastChild);
      to = child;
    }
  }

 private:
  XmlNode *copyRecord(const XmlNode *source) {
    return copier_.copyRecord(source, typeOfCopy(source, documentsBecomeElements_));
  }

  bool copyAttributes(const XmlNode *source, XmlNode *copy) {
    XmlNode *last = nullptr;
    for (const XmlNode *from = source->firstAttr; from != nullptr; from = from->next) {
      XmlNode *attribute = copyRecord(from);
      if (attribute == nullptr) return false;
      attribute->parent = copy;
      if (last == nullptr) {
        copy->firstAttr = attribute;
      } else {
        last->next = attribute;
      }
      last = attribute;
    }
    return true;
  }

  Copier &copier_;
  bool documentsBecomeElements_;
};

// What to copy, and how.
struct Copying {
  const XmlNode *source;
  bool withChildren;
  bool documentsBecomeElements;
};

// Null when memory runs out, with nothing left behind.
template <typename Copier>
XmlNode *copyWith(Copier *copier, const Copying &copying) {
  TreeCopier<Copier> trees(copier, copying.documentsBecomeElements);
  XmlNode *copy = trees.copySelf(copying.source);
  if (copy == nullptr || !copying.withChildren || trees.xmlClone(copying.source, copy)) return copy;
  copier->release(copy);
  return nullptr;
}

XmlNode *copyInto(const Storage &storage, const Copying &copying) {
  if (storage.isHeap()) {
    HeapCopier copier;
    return copyWith(&copier, copying);
  }
  if (storage.session() == nullptr) return nullptr;
  SessionCopier copier(storage);
  return copyWith(&copier, copying);
}

uint32_t copyTo(const Storage &storage, const Copying &copying, XmlNode **copy) {
  XmlNode *made = copyInto(storage, copying);
  if (made == nullptr) return NEB_XML_ERR_NO_MEMORY;
  *copy = made;
  return NEB_XML_OK;
}

// It will be about as large as the document's session, unless much of that is no longer in use.
void expectCopyOf(const XmlNode *document, const Storage &storage) {
  const XmlMemSession *source = Storage::ofTopmost(document).session();
  XmlMemSession *session = storage.session();
  if (source == nullptr || !source->hasRegions || !session->hasRegions) return;
  FirstRegion &region = firstRegionOf(session->firstBlock);
  region.expected = firstRegionOf(source->firstBlock).held;
  region.isCopy = true;
}

// The copy of a document that owns a session owns one too, with the same allocator.
uint32_t copyToNewSession(const Copying &copying, XmlNode **copy) {
  const XmlMemSession *source = Storage::ofTopmost(copying.source).session();
  NewSession session(source != nullptr ? allocatorOf(*source) : kHooks);
  if (session.handle() == 0) return NEB_XML_ERR_NO_MEMORY;
  const Storage storage(session.handle());
  if (copying.withChildren) expectCopyOf(copying.source, storage);
  const uint32_t result = copyTo(storage, copying, copy);
  if (result != NEB_XML_OK) return result;
  (*copy)->marks |= kOwnsSession;
  storage.session()->hasDocument = true;
  session.release();
  return NEB_XML_OK;
}

uint32_t cloneNode(const XmlNode *source, bool withChildren, XmlNode **copy) {
  if (source == nullptr || copy == nullptr || isAttribute(source)) return NEB_XML_ERR_INVALID_PARAM;
  const XmlNode *topmost = topmostNode(source);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  const Copying copying = {source, withChildren, false};
  return ownsSession(source) ? copyToNewSession(copying, copy)
                             : copyTo(Storage::ofTopmost(topmost), copying, copy);
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_CloneNode(const XmlNode *source, XmlNode **copy) {
  return cloneNode(source, true, copy);
}

uint32_t NEB_XML_CloneNodeSelf(const XmlNode *source, XmlNode **copy) {
  return cloneNode(source, false, copy);
}

uint32_t NEB_XML_ImportNode(XmlNode *target, const XmlNode *source, XmlNode **copy) {
  if (target == nullptr || source == nullptr || copy == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (isAttribute(target) || isAttribute(source)) return NEB_XML_ERR_INVALID_PARAM;
  const XmlNode *topmost = topmostNode(target);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return copyTo(Storage::ofTopmost(topmost), {source, true, true}, copy);
}
