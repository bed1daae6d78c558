// Bytes choose calls on trees: nodes, attributes and sibling chains, of the heap and of sessions.
// Some allocations fail. After each step the trees, their strings and the marks of ownership must
// equal those of a simple model. In the end all memory must be free. The only calls left out are
// those after which the library would not know a link of the caller.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/bytes.h"
#include "support/guarded_hooks.h"
#include "support/links.h"
#include "support/require.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/memory/arena.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

constexpr uint32_t kUnwritable = NEB_XML_ERR_UNWRITABLE;
constexpr uint32_t kElement = NEB_XML_NODE_ELEMENT, kAttribute = NEB_XML_NODE_ATTRIBUTE;
constexpr uint32_t kDocument = NEB_XML_NODE_DOCUMENT;
constexpr uint32_t kOther = 5;     // has no children and is not printed
constexpr uint32_t kBeyond = 256;  // of which the low byte is kept: an element

constexpr size_t kLongestProgram = 1024;
constexpr size_t kMostNodes = 250, kMostModels = 1000;
constexpr size_t kInternedNames = 10, kLongestInterned = 11;

constexpr const char *kGiven[] = {nullptr,        "",   "a",  "b",  "id", "p",  "longest-one",
                                  "too-long-one", "n0", "n1", "n2", "n3", "n4", "n5",
                                  "n6",           "n7"};
constexpr const char *kSeveralRoots = "<a k='1'/><p:b>t</p:b><c><d/></c>";
constexpr const char *kDocuments[] = {"<r/>", "<r a='1' p:b='2'><x y='z'>t</x><x/></r>",
                                      kSeveralRoots, "<n4><n5 n6='1'/><n7/></n4>"};

uint32_t readStrictly(const char *text, XmlNode **document) {
  return NEB_XML_Read(text, std::strlen(text), nullptr, document, nullptr);
}

enum Field { kPrefix, kName, kValue };
constexpr Field kFields[] = {kPrefix, kName, kValue};

struct Text {
  std::optional<std::string> text;
  uint32_t home = 0;  // the session that holds it; 0: the heap
  bool isInterned = false;
  bool holdsTable() const { return isInterned && home == 0; }
};

struct Model {
  XmlNode *node = nullptr;  // null for the holder of a chain
  uint32_t session = 0;     // allocated from; 0: the heap
  uint32_t type = 0;
  bool endsSession = false;
  bool isAlive = true;
  std::array<Text, 3> texts = {};
  std::vector<std::string> names = {};    // interned in this document
  std::set<uint32_t> boundSessions = {};  // sessions
  Model *parent = nullptr;
  std::vector<Model *> children = {};
  std::vector<Model *> attributes = {};

  bool isAttribute() const { return type == kAttribute; }
  bool isAttached() const { return parent != nullptr && parent->node != nullptr; }
  bool isChained() const { return parent != nullptr && parent->node == nullptr; }
  std::vector<Model *> &siblings() const {
    return isAttribute() ? parent->attributes : parent->children;
  }
};

std::optional<std::string> copyOf(const char *text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

bool isMissing(const std::optional<std::string> &text) { return !text || text->empty(); }

// The node at the top, which may be one of a chain.
Model *rootOf(Model *model) {
  while (model->isAttached()) model = model->parent;
  return model;
}

Model *topmostOf(Model *model) {
  Model *root = rootOf(model);
  return root->isAttribute() || root->parent != nullptr ? nullptr : root;
}

// The storage of what is allocated for a node; 0: the heap.
uint32_t storageOf(Model *model) {
  const Model *topmost = topmostOf(model);
  return topmost == nullptr ? 0 : topmost->session;
}

// The storage of the strings of a node in a tree: a record holds no strings of another session.
uint32_t storageFor(const Model *model, uint32_t storage) {
  return storage != 0 && model->session != 0 ? model->session : storage;
}

template <typename Action>
void forTree(Model *top, Action action) {
  std::vector<Model *> open = {top};
  while (!open.empty()) {
    Model *model = open.back();
    open.pop_back();
    open.insert(open.end(), model->children.begin(), model->children.end());
    open.insert(open.end(), model->attributes.begin(), model->attributes.end());
    if (model->node != nullptr) action(model);
  }
}

Model *attributeOf(const Model &element, const std::optional<std::string> &prefix,
                   const std::optional<std::string> &name, const Model *except = nullptr) {
  for (Model *attribute : element.attributes) {
    const auto &texts = attribute->texts;
    const bool isSame = texts[kPrefix].text == prefix && texts[kName].text == name;
    if (isSame && attribute != except) return attribute;
  }
  return nullptr;
}

// Strings for a call, and copies of them, since the call may free those of the node.
struct Given {
  const char *prefix, *name, *value;
  std::array<std::optional<std::string>, 3> copies = {copyOf(prefix), copyOf(name), copyOf(value)};
};

class Machine {
 public:
  Machine(const uint8_t *data, size_t size) : bytes_(data, size), releaseStep_(bytes_.take()) {}

  void run() {
    while (!bytes_.isEmpty()) {
      step();
      check();
    }
    releaseAll();
  }

 private:
  void step() {
    using Operation = void (Machine::*)(Model *);
    constexpr Operation kMaking[] = {&Machine::createNode, &Machine::parse, &Machine::newNode,
                                     &Machine::beginSession};
    constexpr Operation kTaking[] = {&Machine::remove, &Machine::release, &Machine::releaseOnward,
                                     &Machine::releaseSingle, &Machine::endAny};
    constexpr Operation kUsing[] = {
        &Machine::insert,        &Machine::insert,       &Machine::insert,
        &Machine::locate,        &Machine::addAttribute, &Machine::setStrings,
        &Machine::setNumber,     &Machine::setAttribute, &Machine::attach,
        &Machine::copy,          &Machine::setStringsOf, &Machine::setNumber,
        &Machine::takeAttribute, &Machine::copy,         &Machine::print,
        &Machine::allocate,      &Machine::select,       &Machine::stepFromElsewhere,
        &Machine::setPart,       &Machine::putAttribute, &Machine::newElement};
    constexpr uint8_t kFailing = 200;  // from this byte on, an allocation fails
    const uint8_t code = bytes_.take();
    if (code >= kFailing) guarded::failNth(1 + code % 4, code % 3 == 0);
    const size_t released = guarded::releases();
    keepsMemory_ = false;
    Model *model = any();
    if (model == nullptr || code % 5 == 0) {
      if (models_.size() < kMostModels) (this->*bytes_.pickFrom(kMaking))(nullptr);
    } else if (code % 5 == 1) {
      (this->*bytes_.pickFrom(kTaking))(model);
    } else if (isReadable(model)) {
      (this->*bytes_.pickFrom(kUsing))(model);
    }
    // Memory that is freed inside a session's tree is kept until the session ends.
    if (keepsMemory_ && !guarded::hasFailed()) require(guarded::releases() == released);
    guarded::failNth(0);
  }

  // The nodes and sessions to choose from.

  std::vector<Model *> alive() const {
    std::vector<Model *> alive;
    for (const auto &model : models_) {
      if (model->isAlive && model->node != nullptr) alive.push_back(model.get());
    }
    return alive;
  }

  Model *any() {
    const std::vector<Model *> models = alive();
    return models.empty() ? nullptr : bytes_.pickFrom(models);
  }

  // 0, or a session, open or not.
  uint32_t anySession() {
    const size_t number = bytes_.pick(sessions_.size() + 1);
    return number == 0 ? 0
                       : std::next(sessions_.begin(), static_cast<ptrdiff_t>(number) - 1)->first;
  }

  bool isOpen(uint32_t session) const { return session == 0 || gone_.count(session) == 0; }

  bool isLost(const Text &text) const { return gone_.count(text.home) != 0; }

  bool isReadable(Model *model) {
    Model *top = rootOf(model);
    bool isReadable = true;
    forTree(top->parent != nullptr ? top->parent : top, [&](Model *each) {
      for (const Text &text : each->texts) isReadable &= !isLost(text);
    });
    return isReadable;
  }

  const char *text() { return bytes_.pickFrom(kGiven); }

  Given given() { return {text(), text(), text()}; }

  // The model.

  bool succeeded(uint32_t result, uint32_t failure = kNoMemory) {
    require(result == kOk || (guarded::hasFailed() && result == failure));
    return result == kOk;
  }

  Model *add(XmlNode *node, uint32_t session, uint32_t type) {
    models_.push_back(std::make_unique<Model>());
    Model *model = models_.back().get();
    model->node = node;
    model->session = session;
    model->type = type;
    return model;
  }

  // Adds the nodes of a parse or a copy to the model. Their strings have been checked.
  Model *adopt(XmlNode *node, Model *parent) {
    Model *model = add(node, node->sessionId, static_cast<uint32_t>(node->type));
    put(model, {node->prefix, node->name, node->value}, model->session);
    link(model, parent);
    if (model->isAttribute()) return model;
    for (XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) adopt(attr, model);
    for (XmlNode *child = node->firstChild; child != nullptr; child = child->next) {
      adopt(child, model);
    }
    return model;
  }

  static void put(Model *model, const Given &given, uint32_t storage) {
    const uint32_t home = storageFor(model, storage);
    for (const Field field : kFields) {
      if (!isMissing(given.copies[field])) model->texts[field] = {given.copies[field], home};
    }
    bind(model, {storage});
  }

  // Binds a heap node, and those above it, to the sessions whose memory it refers to.
  static void bind(Model *model, const std::set<uint32_t> &sessions) {
    for (; model != nullptr && model->session == 0; model = model->parent) {
      model->boundSessions.insert(sessions.begin(), sessions.end());
      model->boundSessions.erase(0);
    }
  }

  void intern(Model *model) {
    Model *topmost = topmostOf(model);
    Text &name = model->texts[kName];
    if (topmost->type != kDocument || isMissing(name.text) || name.isInterned) return;
    if (model->session != 0 && model->session != topmost->session) return;
    auto &names = topmost->names;
    if (std::find(names.begin(), names.end(), *name.text) == names.end()) {
      if (names.size() == kInternedNames || name.text->size() > kLongestInterned) return;
      names.push_back(*name.text);
    }
    name.home = topmost->session;
    name.isInterned = true;
    bind(model, {topmost->session});
  }

  static void link(Model *model, Model *parent) {
    model->parent = parent;
    if (parent != nullptr) model->siblings().push_back(model);
  }

  static void unlink(Model *model) {
    Model *parent = model->parent;
    if (parent == nullptr) return;
    auto &siblings = model->siblings();
    std::erase(siblings, model);
    model->parent = nullptr;
    if (parent->node != nullptr || siblings.size() > 1) return;
    for (Model *last : siblings) last->parent = nullptr;  // no longer a chain
    siblings.clear();
  }

  // Heap nodes stay together as a chain. Nodes of sessions become single.
  void orphan(std::vector<Model *> siblings) {
    for (Model *each : siblings) unlink(each);
    std::erase_if(siblings, [](const Model *each) { return each->session != 0; });
    if (siblings.size() < 2) return;
    Model *chain = add(nullptr, 0, kElement);
    for (Model *each : siblings) link(each, chain);
  }

  // Nodes of a session that has not ended remain, detached. Their strings are freed with the tree,
  // except those of an attribute whose element ends with another session.
  static void bury(Model *top, uint32_t ended = 0) {
    unlink(top);
    std::vector<Model *> left;
    forTree(top, [&](Model *each) {
      each->isAlive = each->session != 0 && each->session != ended;
      if (each->isAlive) left.push_back(each);
    });
    for (Model *each : left) {
      if (ended == 0 || each->parent->session != ended) each->texts = {};
      unlink(each);
      each->children = each->attributes = {};
    }
  }

  void endSession(uint32_t session) {
    for (Model *model : alive()) {
      if (model->session == session) bury(model, session);
    }
    gone_.insert(session);
  }

  // Creation and removal.

  void createNode(Model * /*unused*/) {
    const uint32_t type = bytes_.pick(3) == 0 ? kDocument : kElement;
    const bool isEx = bytes_.pick(2) == 0;
    const bool opensSession = isEx && type == kDocument;
    uint32_t session = isEx ? anySession() : 0;
    const Given texts = given();
    XmlNode *node = nullptr;
    const uint32_t result =
        isEx ? NEB_XML_CreateNodeEx(session, type, texts.prefix, texts.name, texts.value, &node)
             : NEB_XML_CreateNode(type, texts.prefix, texts.name, texts.value, &node);
    if (!opensSession && !isOpen(session)) return require(result == kNoMemory);
    if (!succeeded(result)) return;
    if (opensSession) sessions_[session = node->sessionId] = true;
    Model *model = add(node, session, type);
    model->endsSession = opensSession;
    put(model, texts, session);
  }

  void parse(Model * /*unused*/) {
    constexpr decltype(&NEB_XML_Parse) kParses[] = {NEB_XML_ParseEx, NEB_XML_Parse, readStrictly,
                                                    NEB_XML_Parse};
    const size_t way = bytes_.pick(std::size(kParses));
    const bool withSession = way % 2 == 0;
    const char *text = bytes_.pickFrom(kDocuments);
    XmlNode *node = nullptr;
    const uint32_t result = kParses[way](text, &node);
    const bool isRefused = kParses[way] == readStrictly && text == kSeveralRoots;
    require(result == kOk ? !isRefused : isRefused || guarded::hasFailed());
    require(result == kOk || node == nullptr);
    if (result != kOk) return;
    Model *chain = node->next == nullptr ? nullptr : add(nullptr, 0, kElement);
    if (withSession) sessions_[node->sessionId] = true;
    for (; node != nullptr; node = node->next) {
      adopt(node, chain)->endsSession = withSession && node->prev == nullptr;
    }
  }

  void newNode(Model * /*unused*/) {
    constexpr uint32_t kTypes[] = {kAttribute, kAttribute, kElement, kDocument, kOther, kBeyond};
    const uint32_t type = bytes_.pickFrom(kTypes);
    const uint32_t session = anySession();
    XmlNode *node = XML_NewNode(session, type);
    require((node != nullptr) == isOpen(session) || guarded::hasFailed());
    if (node == nullptr) return;
    Model *model = add(node, session, type == kBeyond ? kElement : type);
    if (type != kDocument || session == 0) return;
    model->endsSession = !std::exchange(sessions_[session], true);
  }

  void beginSession(Model * /*unused*/) {
    constexpr int32_t kSizes[] = {1, 100, 300, 8192};
    const uint32_t session = XML_MemSessionBegin(bytes_.pickFrom(kSizes));
    require(session != 0 || guarded::hasFailed());
    if (session != 0) sessions_[session] = false;
  }

  // A heap node that is removed from the tree of a session stays bound to it, with its subtree.
  void remove(Model *model) {
    const bool isRemovable = !model->isAttribute() && model->parent != nullptr;
    const uint32_t session = model->session == 0 ? storageOf(model) : 0;
    require(NEB_XML_RemoveNode(model->node) == (isRemovable ? kOk : kInvalid));
    if (!isRemovable) return;
    unlink(model);
    forTree(model, [&](Model *each) {
      if (session != 0 && !each->isAttribute()) each->boundSessions.insert(session);
    });
  }

  // A node of a session is only detached.
  void release(Model *model) {
    NEB_XML_FreeNode(model->node);
    if (model->isAttribute() && (model->isAttached() || model->session != 0)) return;
    unlink(model);
    if (model->endsSession) return endSession(model->session);
    if (model->session == 0) bury(model);
  }

  void releaseOnward(Model *model) {
    const bool isOfSession = storageOf(model) != 0;
    const bool isHead = !model->isChained() || model->siblings()[0] == model;
    if (!isOfSession && (model->isAttached() || !isHead)) return;
    XML_FreeNode(model->node);
    if (model->endsSession) return endSession(model->session);
    if (isOfSession) return;
    const std::vector<Model *> alone = {model};
    const std::vector<Model *> released = model->isChained() ? model->siblings() : alone;
    for (Model *each : released) bury(each);
  }

  void releaseSingle(Model *model) {
    const bool isSpared = !model->isAttribute() || model->isAttached() || model->session != 0;
    const bool asAttribute = bytes_.pick(2) == 0;
    asAttribute ? XML_FreeSingleAttrNode(model->node) : XML_FreeSingleNode(model->node);
    if (storageOf(model) != 0 || (asAttribute && isSpared)) return;
    unlink(model);
    orphan(model->children);
    for (Model *each : std::vector<Model *>(model->attributes)) unlink(each);
    model->texts = {};
    model->isAlive = model->session != 0;
  }

  void endAny(Model * /*unused*/) { end(anySession()); }

  void end(uint32_t session) {
    require(XML_MemSessionEnd(session) == (session != 0 && isOpen(session) ? 1 : 0));
    if (session != 0) endSession(session);
  }

  // Insertion.

  static bool isAccepted(Model *anchor, Model *node, bool asSibling) {
    if (anchor->isAttribute() || node->isAttribute() || node->parent != nullptr) return false;
    Model *topmost = topmostOf(anchor);
    if (topmost == nullptr || topmost == node) return false;
    if (!asSibling && anchor->type == kOther) return false;
    if (node->type == kDocument && (asSibling || node->session != 0)) return false;
    const bool isSessionDocument = anchor->type == kDocument && anchor->session != 0;
    if (asSibling && (anchor->parent == nullptr || isSessionDocument)) return false;
    if (node->session != 0) return node->session == topmost->session;
    return node->boundSessions.empty() ||
           node->boundSessions == std::set<uint32_t>{topmost->session};
  }

  void insert(Model *node) {
    constexpr uint32_t (*kCalls[])(XmlNode *, XmlNode *) = {
        NEB_XML_AddFirstChildNode, NEB_XML_AppendChildNode, NEB_XML_AddNextSiblingNode,
        NEB_XML_AddPrevSiblingNode};
    const size_t how = bytes_.pick(std::size(kCalls));
    const bool asSibling = how >= 2;
    Model *anchor = any();
    if (!isReadable(anchor)) return;
    const uint32_t result = kCalls[how](anchor->node, node->node);
    if (!isAccepted(anchor, node, asSibling)) return require(result == kInvalid);
    if (!succeeded(result, kInvalid)) return;
    Model *parent = asSibling ? anchor->parent : anchor;
    auto &children = parent->children;
    auto at = how == 0 ? children.begin() : children.end();
    if (asSibling) at = std::find(children.begin(), children.end(), anchor) + (how == 2 ? 1 : 0);
    children.insert(at, node);
    node->parent = parent;
    intern(node);
  }

  // Changes.

  // A table of names is the exception: it is freed with the last name.
  void changesIn(Model *model) {
    keepsMemory_ = storageOf(model) != 0;
    forTree(model, [&](const Model *each) { keepsMemory_ &= !each->texts[kName].holdsTable(); });
  }

  // Some strings are the node's own.
  void setStrings(Model *model) {
    changesIn(model);
    const char *own[] = {text(), text(), text(), model->node->name, model->node->value};
    const Given texts = {bytes_.pickFrom(own), bytes_.pickFrom(own), bytes_.pickFrom(own)};
    const uint32_t result = NEB_XML_SetNode(model->node, texts.prefix, texts.name, texts.value);
    if (isDuplicate(model, texts)) return require(result == kExists);
    for (const Field field : kFields) {
      if (texts.copies[field] == "") model->texts[field] = {};
    }
    if (succeeded(result)) put(model, texts, storageOf(model));
  }

  // Whether the new name of an attribute is a duplicate.
  static bool isDuplicate(const Model *model, const Given &given) {
    const bool isRenamed = given.copies[kPrefix] || given.copies[kName];
    if (!model->isAttribute() || !model->isAttached() || !isRenamed) return false;
    const auto textAfter = [&](Field field) {
      const auto &text = given.copies[field];
      if (!text) return model->texts[field].text;
      return text->empty() ? std::nullopt : text;
    };
    return attributeOf(*model->parent, textAfter(kPrefix), textAfter(kName), model) != nullptr;
  }

  // With the storage of the node's own tree, of any other tree, or of the heap.
  void setStringsOf(Model *model) {
    Model *const owners[] = {nullptr, model, any()};
    Model *owner = bytes_.pickFrom(owners);
    if (owner != nullptr && !isReadable(owner)) return;
    const uint32_t home = owner == nullptr ? 0 : storageOf(owner);
    XmlNode *ownerNode = owner == nullptr ? nullptr : owner->node;
    const Given texts = given();
    const uint32_t result =
        XML_SetNode(ownerNode, model->node, texts.prefix, texts.name, texts.value);
    if (succeeded(result)) put(model, texts, home);
  }

  void addOrRefuse(Model *element, const Given &texts, uint32_t result) {
    if (element->isAttribute() || isMissing(texts.copies[kName]) || !topmostOf(element)) {
      return require(result == kInvalid);
    }
    if (attributeOf(*element, knownPrefix(texts), texts.copies[kName]) != nullptr) {
      return require(result == kExists || (result == kNoMemory && guarded::hasFailed()));
    }
    if (!succeeded(result)) return;
    XmlNode *last = element->node->firstAttr;
    while (last->next != nullptr) last = last->next;
    Model *attribute = add(last, storageOf(element), kAttribute);
    put(attribute, texts, attribute->session);
    link(attribute, element);
    bind(element, {attribute->session});
    intern(attribute);
  }

  void addAttribute(Model *element) {
    changesIn(element);
    const Given texts = given();
    addOrRefuse(element, texts,
                NEB_XML_AddAttr(element->node, texts.prefix, texts.name, texts.value));
  }

  // Sets the value of the node, or of an attribute that may be new.
  void setNumber(Model *model) {
    changesIn(model);
    constexpr uint32_t kNumber = 42;
    constexpr uint32_t kType = NEB_XML_VALUE_UINT32;
    enum How { kOfAttribute, kAtomic };
    const size_t how = bytes_.pick(3);
    const bool isOfAttribute = how == kOfAttribute;
    const Given texts = {text(), text(), "42"};
    const uint32_t result = isOfAttribute    ? NEB_XML_SetAttrValueEx(model->node, texts.prefix,
                                                                      texts.name, kType, &kNumber)
                            : how == kAtomic ? NEB_XML_WriteValue(model->node, kType, &kNumber)
                                             : NEB_XML_SetNodeValueEx(model->node, kType, &kNumber);
    if (how == kAtomic && result == kNoMemory) return require(guarded::hasFailed());
    const auto &[prefix, name, value] = texts.copies;
    Model *changed = !isOfAttribute    ? model
                     : isMissing(name) ? nullptr
                                       : attributeOf(*model, prefix, name);
    if (changed == nullptr) return addOrRefuse(model, texts, result);
    changed->texts[kValue] = {};
    if (succeeded(result)) put(changed, {nullptr, nullptr, "42"}, storageOf(changed));
  }

  // What the calls that take lengths make of a name: letters begin all the names of this program.
  static uint32_t resultOfName(const std::string &name) {
    if (name.empty()) return kInvalid;
    const bool isName = name[0] >= 'a' && name[0] <= 'z' && name.back() != ':';
    return isName ? kOk : kUnwritable;
  }

  // Sets one string to a part of a string, which may be the node's own.
  void setPart(Model *model) {
    changesIn(model);
    const Field field = bytes_.pickFrom(kFields);
    const char *own[] = {text(), model->node->prefix, model->node->name, model->node->value};
    const char *whole = bytes_.pickFrom(own);
    const size_t length = whole == nullptr ? 0 : std::strlen(whole);
    const size_t from = bytes_.pick(8) < length ? bytes_.pick(2) : 0;
    const std::string part(whole == nullptr ? "" : whole + from, bytes_.pick(length - from + 1));
    const char *bytes = whole == nullptr ? nullptr : whole + from;
    const uint32_t result = NEB_XML_SetString(model->node, field, bytes, part.size());
    const bool mayBeEmpty = field == kPrefix && part.empty();
    const uint32_t ofName = field == kValue || mayBeEmpty ? kOk : resultOfName(part);
    if (ofName != kOk) return require(result == ofName);
    const char *given[3] = {};
    given[field] = part.c_str();
    const Given texts = {given[kPrefix], given[kName], given[kValue]};
    if (isDuplicate(model, texts)) return require(result == kExists);
    if (!succeeded(result)) return;
    model->texts[field] = {};
    if (!part.empty()) put(model, texts, storageOf(model));
  }

  // The whole name of a call, with a byte behind it that does not belong to it.
  static std::string wholeName(const Given &texts) {
    const std::string prefix = isMissing(texts.copies[kPrefix]) ? "" : *texts.copies[kPrefix] + ":";
    return prefix + texts.copies[kName].value_or("") + "!";
  }

  void putAttribute(Model *element) {
    changesIn(element);
    const Given texts = named(element);
    const std::string name = wholeName(texts), value = texts.copies[kValue].value_or("");
    XmlNode *put = nullptr;
    const uint32_t result = NEB_XML_PutAttr(element->node, name.data(), name.size() - 1,
                                            (value + "!").data(), value.size(), &put);
    require((put != nullptr) == (result == kOk));
    if (element->isAttribute()) return require(result == kInvalid);
    const uint32_t ofName = resultOfName(name.substr(0, name.size() - 1));
    if (ofName != kOk) return require(result == ofName);
    Model *attribute = attributeOf(*element, knownPrefix(texts), texts.copies[kName]);
    if (attribute == nullptr) return addOrRefuse(element, texts, result);
    if (topmostOf(element) == nullptr) return require(result == kInvalid);
    if (!succeeded(result)) return;
    require(put == attribute->node);
    attribute->texts[kValue] = {};
    if (value.empty()) return;
    Machine::put(attribute, {nullptr, nullptr, value.c_str()}, storageOf(element));
  }

  void newElement(Model *reference) {
    if (models_.size() >= kMostModels) return;
    const auto where = static_cast<uint32_t>(bytes_.pick(5));
    const Given texts = {text(), text(), nullptr};
    const std::string name = wholeName(texts);
    XmlNode *node = nullptr;
    const uint32_t result =
        NEB_XML_NewElement(reference->node, where, name.data(), name.size() - 1, &node);
    const bool asSibling = where >= NEB_XML_POSITION_AFTER;
    const bool isSessionDocument = reference->type == kDocument && reference->session != 0;
    const bool isAllowed =
        asSibling ? reference->parent != nullptr && !isSessionDocument : reference->type != kOther;
    const bool isWrong = where > NEB_XML_POSITION_BEFORE || reference->isAttribute();
    if (isWrong || !isAllowed || !topmostOf(reference)) return require(result == kInvalid);
    const uint32_t ofName = resultOfName(name.substr(0, name.size() - 1));
    if (ofName != kOk) return require(result == ofName);
    if (!succeeded(result)) return;
    Model *made = add(node, storageOf(reference), kElement);
    put(made, texts, made->session);
    made->parent = asSibling ? reference->parent : reference;
    auto &children = made->parent->children;
    auto at = where == NEB_XML_POSITION_FIRST_CHILD ? children.begin() : children.end();
    if (asSibling) at = std::find(children.begin(), children.end(), reference);
    if (where == NEB_XML_POSITION_AFTER) ++at;
    children.insert(at, made);
    intern(made);
  }

  // An empty prefix is none.
  static std::optional<std::string> knownPrefix(const Given &texts) {
    return isMissing(texts.copies[kPrefix]) ? std::nullopt : texts.copies[kPrefix];
  }

  // For a call on an attribute, which mostly exists.
  Given named(const Model *element) {
    if (element->attributes.empty() || bytes_.pick(4) == 0) return given();
    const XmlNode *attribute = bytes_.pickFrom(element->attributes)->node;
    return {attribute->prefix, attribute->name, text()};
  }

  // The attribute of a call; null if the call must not find it.
  static Model *found(Model *element, const Given &texts, uint32_t result) {
    const bool isLookup = !element->isAttribute() && texts.copies[kName].has_value();
    Model *attribute =
        isLookup ? attributeOf(*element, knownPrefix(texts), texts.copies[kName]) : nullptr;
    if (attribute == nullptr) require(result == (isLookup ? kNotFound : kInvalid));
    return attribute;
  }

  void setAttribute(Model *element) {
    changesIn(element);
    const Given texts = named(element);
    const uint32_t result = NEB_XML_SetAttr(element->node, texts.prefix, texts.name, texts.value);
    Model *attribute = found(element, texts, result);
    if (attribute == nullptr) return;
    if (topmostOf(element) == nullptr) return require(result == kInvalid);
    if (!succeeded(result)) return;
    attribute->texts[kValue] = {};
    if (!isMissing(texts.copies[kValue])) {
      put(attribute, {nullptr, nullptr, texts.copies[kValue]->c_str()}, storageOf(element));
    }
    intern(attribute);
  }

  void takeAttribute(Model *element) {
    changesIn(element);
    const Given texts = named(element);
    const uint32_t result = NEB_XML_RemoveAttr(element->node, texts.prefix, texts.name);
    Model *attribute = found(element, texts, result);
    if (attribute == nullptr) return;
    require(result == kOk);
    unlink(attribute);
    attribute->isAlive = false;
  }

  // Adds a detached attribute to any element of any storage.
  void attach(Model *element) {
    Model *attribute = nullptr;
    for (Model *each : alive()) {
      if (each->isAttribute() && each->parent == nullptr && isReadable(each)) attribute = each;
    }
    if (attribute == nullptr || bytes_.pick(8) == 0) attribute = any();
    if (!isReadable(attribute)) return;
    const uint32_t result = XML_AddAttrNode(attribute->node, element->node);
    if (element->isAttribute() || !attribute->isAttribute() || attribute->parent != nullptr) {
      return require(result == kInvalid);
    }
    if (attributeOf(*element, attribute->texts[kPrefix].text, attribute->texts[kName].text)) {
      return require(result == kExists);
    }
    if (!succeeded(result)) return;
    link(attribute, element);
    bind(element, attribute->boundSessions);
    bind(element, {attribute->session});
  }

  // Copies.

  void copy(Model *source) {
    enum How { kWhole, kSelf, kImport };
    const size_t how = bytes_.pick(4) % 3;
    Model *target = how == kImport ? any() : source;
    if (alive().size() > kMostNodes || models_.size() > kMostModels || !isReadable(target)) return;
    XmlNode *copy = nullptr;
    const uint32_t result = how == kImport ? NEB_XML_ImportNode(target->node, source->node, &copy)
                            : how == kSelf ? NEB_XML_CloneNodeSelf(source->node, &copy)
                                           : NEB_XML_CloneNode(source->node, &copy);
    if (source->isAttribute() || target->isAttribute() || topmostOf(target) == nullptr) {
      return require(result == kInvalid);
    }
    if (!succeeded(result)) return;
    std::string expected = trees::described(source->node, true);
    if (how == kSelf) expected.resize(std::min(expected.size(), expected.find('(')));
    if (how == kImport) expected = tables::replaced(expected, "12:", "0:");
    require(trees::described(copy) == expected);
    Model *made = adopt(copy, nullptr);
    made->endsSession = how != kImport && source->endsSession;
    const uint32_t session = made->endsSession ? made->session : storageOf(target);
    if (made->endsSession) require(sessions_.emplace(session, true).second);
    forTree(made, [&](const Model *each) {
      require(each->session == session && (how != kImport || each->type != kDocument));
    });
  }

  // Calls that only read.

  // Finds the nodes or attributes of a name from a node on.
  void select(Model *model) {
    const std::optional<std::string> name = copyOf(text());
    const bool findsAttributes = bytes_.pick(2) == 0, isAny = isMissing(name);
    const std::string pattern = (findsAttributes ? "**.@" : "**.") + (isAny ? "*" : *name);
    NEB_XML_CURSOR cursor = {};
    const auto selectNext = [&] { return NEB_XML_Select(model->node, pattern.c_str(), &cursor); };
    std::vector<Model *> open = {model};
    while (!open.empty() && !model->isAttribute()) {
      Model *each = open.back();
      open.pop_back();
      open.insert(open.end(), each->children.rbegin(), each->children.rend());
      for (Model *found : findsAttributes ? each->attributes : std::vector<Model *>{each}) {
        if (!isAny && found->texts[kName].text != name) continue;
        require(selectNext() == kOk && cursor.node == found->node);
      }
    }
    require(selectNext() == (model->isAttribute() ? kInvalid : kNotFound));
  }

  void print(Model *model) {
    const size_t how = bytes_.pick(std::size(kPrints));
    char *text = nullptr;
    const uint32_t result = kPrints[how](model->node, &text);
    constexpr size_t kExact = 3;  // also refuses what XML cannot represent
    if (how == kExact) printStrictly(*model, result, text);
    if (model->isAttribute()) return require(result == kInvalid);
    bool hasNameless = false;
    forTree(model, [&](const Model *each) {
      const bool isLeftOut = each->isAttribute() && (how == 0 || each->parent->type == kOther);
      hasNameless |= !each->texts[kName].text && !isLeftOut;
    });
    // Memory may run out before the printer reaches a node without a name.
    const bool isShort = result == kNoMemory && guarded::hasFailed();
    if (hasNameless && !isShort) return require(result == kInvalid);
    if (how == kExact && result == kInvalid) return;
    if (succeeded(result)) NEB_XML_FreeMem(text);
  }

  // Finds a node in its printed tree, and renames it there to its own name.
  void locate(Model *model) {
    const Model *topmost = topmostOf(model);
    char *text = nullptr;
    if (topmost == nullptr || NEB_XML_TransformIndented(topmost->node, 1, &text) != kOk) return;
    const XmlNode *node = model->node;
    const size_t length = std::strlen(text);
    NEB_XML_LOCATION at = {};
    if (succeeded(NEB_XML_Locate(node, text, length, &at))) {
      require(std::string(text + at.name.begin, text + at.name.end) == trees::qualifiedName(node));
    }
    locateTwice(node, {text, length}, at);
    const NEB_XML_EDIT edit = {NEB_XML_EDIT_RENAME, 0,       node,    nullptr,
                               node->name,          nullptr, nullptr, {}};
    std::string edited;
    if (succeeded(NEB_XML_EditBytes(text, length, &edit, 1, appendTo, &edited))) {
      require(edited == text);
    }
    NEB_XML_FreeMem(text);
  }

  // With its parent, and again.
  void locateTwice(const XmlNode *node, std::string_view text, const NEB_XML_LOCATION &expected) {
    const XmlNode *const nodes[] = {node, NEB_XML_GetNodeParent(node), node};
    const size_t count = nodes[1] == nullptr ? 1 : std::size(nodes);
    NEB_XML_LOCATION at[std::size(nodes)] = {};
    if (!succeeded(NEB_XML_LocateNodes(nodes, count, text.data(), text.size(), at))) return;
    if (expected.line == 0) return;  // memory ran out for it
    for (const size_t i : {size_t{0}, count - 1}) {
      require(std::memcmp(&at[i], &expected, sizeof expected) == 0);
    }
    require(count == 1 || at[1].whole.begin < at[0].whole.begin);
  }

  // All strings are ASCII, so that it writes and refuses what exact printing does.
  static void printStrictly(const Model &model, uint32_t exact, const char *text) {
    const NEB_XML_PRINT_OPTIONS options = {sizeof options, 0, 2};
    std::string whole;
    const uint32_t result = NEB_XML_Print(model.node, &options, appendTo, &whole);
    if (exact == kNoMemory || result == kNoMemory) return require(guarded::hasFailed());
    const uint32_t refusal = model.isAttribute() ? kInvalid : kUnwritable;
    require(result == (exact == kOk ? kOk : refusal));
    require(exact != kOk || whole == text);
  }

  static uint32_t stepOn(const XmlNode *element, const char *(&texts)[3], XmlNode **cursor) {
    return NEB_XML_GetNextSiblingAttrEx(element, &texts[0], &texts[1], &texts[2], cursor);
  }

  // The steps within an element are checked in checkBelow.
  void stepFromElsewhere(Model *element) {
    const Model *from = any();
    if (from->isAttribute() && from->parent == element) return;
    XmlNode *cursor = from->node;
    const char *texts[3] = {};
    require(stepOn(element->node, texts, &cursor) == kInvalid && cursor == from->node);
  }

  void allocate(Model *model) {
    void *memory = XML_Malloc(model->node, 1 + bytes_.pick(100));
    if (memory == nullptr) return require(guarded::hasFailed());
    require(guarded::holds(memory) == (storageOf(model) == 0));
    XML_Free(model->node, memory);
  }

  // Checks.

  void check() {
    for (const auto &model : models_) {
      if (!model->isAlive) continue;
      checkSiblings(model->children);
      checkSiblings(model->attributes);
      if (model->node == nullptr) continue;
      checkRecord(*model);
      if (!model->isAttribute()) checkBelow(*model);
    }
  }

  static void checkSiblings(const std::vector<Model *> &siblings) {
    const XmlNode *before = nullptr;
    for (const Model *each : siblings) {
      require(before == nullptr || NEB_XML_GetNodeNextSibling(before) == each->node);
      require(each->isAttribute() || NEB_XML_GetNodePrevSibling(each->node) == before);
      before = each->node;
    }
    require(before == nullptr || before->next == nullptr);
  }

  void checkRecord(Model &model) {
    const XmlNode *node = model.node;
    require(guarded::holds(node) == (model.session == 0));
    require(node->sessionId == model.session && node->type == static_cast<int8_t>(model.type));
    require((node->isDocument == 1) == (model.type == kDocument));
    require(((node->marks & kOwnsSession) != 0) == model.endsSession);
    require(NEB_XML_GetNodeParent(node) == (model.isAttached() ? model.parent->node : nullptr));
    if (model.parent == nullptr) {
      require(node->next == nullptr && NEB_XML_GetNodePrevSibling(node) == nullptr);
    }
    int32_t type = -1;
    const char *texts[3] = {};
    require(NEB_XML_GetNodeValue(node, &type, &texts[0], &texts[1], &texts[2]) == kOk);
    require(type == node->type);
    checkText(model, kPrefix, texts[kPrefix], kPrefixElsewhere);
    checkText(model, kName, texts[kName], kNameElsewhere);
    checkText(model, kValue, texts[kValue], kValueElsewhere);
    const bool hasLost = std::any_of(model.texts.begin(), model.texts.end(),
                                     [this](const Text &text) { return isLost(text); });
    if (!hasLost) links::checkInfo(node, [](bool holds) { require(holds); });
    if (model.texts[kName].text) require((node->nameOwned == 0) == model.texts[kName].isInterned);
    if (model.texts[kValue].text) require(node->valueOwned == 1);
    if (model.session != 0 || storageOf(&model) != 0) return;
    const uint32_t oneOrNone = model.boundSessions.empty() ? 0 : *model.boundSessions.begin();
    require(node->boundSession == (model.boundSessions.size() > 1 ? kSeveralSessions : oneOrNone));
  }

  void checkText(const Model &model, Field field, const char *actual, NodeMark elsewhere) {
    const Text &text = model.texts[field];
    require((actual != nullptr) == text.text.has_value());
    if (actual == nullptr || isLost(text)) return;
    require(*text.text == actual);
    if (!text.isInterned) require(guarded::holds(actual) == (text.home == 0));
    const bool isElsewhere = !text.isInterned && (text.home == 0) != (model.session == 0);
    require(((model.node->marks & elsewhere) != 0) == isElsewhere);
  }

  void checkBelow(const Model &model) {
    const XmlNode *node = model.node;
    const auto &children = model.children;
    const bool isEmpty = children.empty();
    require(NEB_XML_GetNodeFirstChild(node) == (isEmpty ? nullptr : children.front()->node));
    require(NEB_XML_GetNodeLastChild(node) == (isEmpty ? nullptr : children.back()->node));
    const XmlNode *next = node->firstChild;
    for (const XmlNode *up = node; next == nullptr && up != nullptr; up = up->parent) {
      next = up->next;
    }
    require(NEB_XML_Iterator(node) == next);
    uint32_t count = 0;
    require(NEB_XML_GetNodeChildNum(node, &count) == kOk && count == model.children.size());
    XmlNode *cursor = nullptr;
    const char *texts[3] = {};
    for (const Model *expected : model.attributes) {
      require(stepOn(node, texts, &cursor) == kOk && cursor == expected->node);
      require(texts[kName] == cursor->name && texts[kValue] == cursor->value);
    }
    require(stepOn(node, texts, &cursor) == kNotFound);
    checkFound(model);
  }

  // An attribute is found by its whole name, and of duplicates the first.
  void checkFound(const Model &element) const {
    const auto hasLost = [this](const Model *attribute) {
      return isLost(attribute->texts[kName]) || isLost(attribute->texts[kPrefix]);
    };
    const auto &attributes = element.attributes;
    if (std::any_of(attributes.begin(), attributes.end(), hasLost)) return;
    for (const Model *attribute : attributes) {
      const auto &[prefix, name, value] = attribute->texts;
      if (isMissing(name.text)) continue;
      const std::string whole = (prefix.text ? *prefix.text + ":" : "") + *name.text;
      const Model *first = attributeOf(element, prefix.text, name.text);
      require(NEB_XML_FindAttr(element.node, whole.c_str(), whole.size()) == first->node);
    }
  }

  // In the order that the first byte selects.
  void releaseAll() {
    for (size_t next = releaseStep_; !alive().empty(); next += releaseStep_) {
      Model *root = rootOf(alive()[next % alive().size()]);
      root->session == 0 || root->endsSession ? release(root) : end(root->session);
      check();
    }
    for (const auto &[session, hasDocument] : sessions_) XML_MemSessionEnd(session);
  }

  Bytes bytes_;
  size_t releaseStep_;
  bool keepsMemory_ = false;
  std::map<uint32_t, bool> sessions_;  // ever opened; whether a document of it has been made
  std::set<uint32_t> gone_;            // sessions that have ended
  std::vector<std::unique_ptr<Model>> models_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > kLongestProgram) return 0;
  guarded::begin();
  Machine(data, size).run();
  require(guarded::outstanding() == 0);
  return 0;
}
