// Bytes drive the calls on trees: nodes, attributes and sibling chains, of the hooks and of
// sessions, in any order, with allocations that fail. After each step the trees, their texts and
// the marks of who owns what are those of a plain model; in the end every piece has gone back.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/hooks.h"
#include "support/require.h"
#include "support/trees.h"
#include "xml/xml_node.h"

namespace {

constexpr uint32_t kElement = NEB_XML_NODE_ELEMENT;
constexpr uint32_t kAttribute = NEB_XML_NODE_ATTRIBUTE;
constexpr uint32_t kDocument = NEB_XML_NODE_DOCUMENT;

constexpr size_t kLongestProgram = 1024;
constexpr ptrdiff_t kMostNodes = 250;
constexpr size_t kMostModels = 1000;
constexpr size_t kLongestInterned = 11;
constexpr size_t kInternedNames = 10;

constexpr const char *kGiven[] = {nullptr,        "",   "a",  "b",  "id", "p",  "longest-one",
                                  "too-long-one", "n0", "n1", "n2", "n3", "n4", "n5",
                                  "n6",           "n7"};
constexpr const char *kDocuments[] = {"<r/>", "<r a='1' p:b='2'><x y='z'>t</x><x/></r>",
                                      "<a k='1'/><p:b>t</p:b><c><d/></c>",
                                      "<n4><n5 n6='1'/><n7/></n4>"};

// What a text dies with: its node (0), a session, or the document whose table holds it.
using Home = uint64_t;

enum Field { kPrefix, kName, kValue };
constexpr Field kFields[] = {kPrefix, kName, kValue};

struct Text {
  std::optional<std::string> text;
  Home home = 0;
  bool isInterned = false;
};

struct Model {
  XmlNode *node = nullptr;  // null for the holder of a chain
  Home key = 0;
  uint32_t session = 0;  // carved from; 0: the hooks
  uint32_t type = 0;
  bool endsSession = false;
  bool isAlive = true;
  std::array<Text, 3> texts = {};
  std::vector<std::string> names = {};  // interned in this document
  std::set<uint32_t> livedIn = {};      // sessions
  Model *parent = nullptr;
  std::vector<Model *> children = {};
  std::vector<Model *> attributes = {};

  bool isAttribute() const { return type == kAttribute; }
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
  while (model->parent != nullptr && model->parent->node != nullptr) model = model->parent;
  return model;
}

Model *topmostOf(Model *model) {
  Model *root = rootOf(model);
  return root->isAttribute() || root->parent != nullptr ? nullptr : root;
}

// Of what is made on behalf of a node; 0: the hooks.
uint32_t storageOf(Model *model) {
  const Model *topmost = topmostOf(model);
  return topmost == nullptr ? 0 : topmost->session;
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

Model *attributeOf(Model *element, const std::optional<std::string> &prefix,
                   const std::optional<std::string> &name) {
  for (Model *attribute : element->attributes) {
    const auto &texts = attribute->texts;
    if (texts[kPrefix].text == prefix && texts[kName].text == name) return attribute;
  }
  return nullptr;
}

// Strings for a call, and copies of them, since they may be those of the node and go with the call.
struct Given {
  Given(const char *prefix, const char *name, const char *value)
      : texts{prefix, name, value}, copies{copyOf(prefix), copyOf(name), copyOf(value)} {}
  const char *operator[](Field field) const { return texts[field]; }

  std::array<const char *, 3> texts;
  std::array<std::optional<std::string>, 3> copies;
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
                                     &Machine::releaseSingle, &Machine::releaseSession};
    constexpr Operation kUsing[] = {
        &Machine::insert,        &Machine::insert,       &Machine::insert,
        &Machine::insert,        &Machine::addAttribute, &Machine::setStrings,
        &Machine::setNumber,     &Machine::setAttribute, &Machine::attach,
        &Machine::clone,         &Machine::setStringsOf, &Machine::setAttributeNumber,
        &Machine::takeAttribute, &Machine::import,       &Machine::print,
        &Machine::allocate};
    constexpr uint8_t kFailing = 200;  // programs from this byte on meet a failing allocation
    const uint8_t code = bytes_.take();
    if (code >= kFailing) hooks::failNth(1 + code % 4, code % 3 == 0);
    const size_t released = hooks::releases();
    keepsPieces_ = false;
    Model *model = any();
    if (model == nullptr || code % 5 == 0) {
      if (models_.size() < kMostModels) (this->*bytes_.pickFrom(kMaking))(nullptr);
    } else if (code % 5 == 1) {
      (this->*bytes_.pickFrom(kTaking))(model);
    } else if (isReadable(model)) {
      (this->*bytes_.pickFrom(kUsing))(model);
    }
    // What is given up inside a session's tree is kept until the session ends.
    if (keepsPieces_ && !hooks::hasFailed()) require(hooks::releases() == released);
    hooks::failNth(0);
  }

  // The registers: whatever is alive.

  Model *any() {
    std::vector<Model *> alive;
    for (const auto &model : models_) {
      if (model->isAlive && model->node != nullptr) alive.push_back(model.get());
    }
    return alive.empty() ? nullptr : bytes_.pickFrom(alive);
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

  // The bookkeeping of the model.

  bool succeeded(uint32_t result, uint32_t failure = kNoMemory) {
    require(result == kOk || (hooks::hasFailed() && result == failure));
    return result == kOk;
  }

  Model *add(XmlNode *node, uint32_t session, uint32_t type) {
    models_.push_back(std::make_unique<Model>());
    Model *model = models_.back().get();
    model->node = node;
    model->key = Home{models_.size()} << 32;
    model->session = session;
    model->type = type;
    return model;
  }

  void open(uint32_t session, bool hasDocument) { sessions_[session] |= hasDocument; }

  // Takes over what a parse or a copy has made, whose texts are known to be right.
  Model *adopt(XmlNode *node, Model *parent) {
    Model *model = add(node, node->sessionId, static_cast<uint32_t>(node->type));
    const char *texts[] = {node->prefix, node->name, node->value};
    for (const Field field : kFields) {
      model->texts[field] = {copyOf(texts[field]), model->session};
    }
    model->parent = parent;
    if (parent != nullptr) model->siblings().push_back(model);
    if (model->isAttribute()) return model;
    for (XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) adopt(attr, model);
    for (XmlNode *child = node->firstChild; child != nullptr; child = child->next) {
      adopt(child, model);
    }
    return model;
  }

  static void put(Model *model, const Given &given, Home home) {
    for (const Field field : kFields) {
      if (!isMissing(given.copies[field])) model->texts[field] = {given.copies[field], home};
    }
  }

  // A node of the hooks, and those above it, hold something of a session.
  static void settle(Model *model, const std::set<uint32_t> &sessions) {
    for (; model != nullptr && model->node != nullptr && model->session == 0;
         model = model->parent) {
      model->livedIn.insert(sessions.begin(), sessions.end());
    }
  }

  void settleIn(Model *model, uint32_t session) {
    if (session != 0) settle(model, {session});
  }

  void intern(Model *model) {
    Model *topmost = topmostOf(model);
    Text &name = model->texts[kName];
    if (topmost->type != kDocument || isMissing(name.text) || name.isInterned) return;
    auto &names = topmost->names;
    if (std::find(names.begin(), names.end(), *name.text) == names.end()) {
      if (names.size() == kInternedNames || name.text->size() > kLongestInterned) return;
      names.push_back(*name.text);
    }
    name.home = topmost->key;
    name.isInterned = true;
  }

  void unlink(Model *model) {
    Model *parent = model->parent;
    if (parent == nullptr) return;
    std::erase(model->siblings(), model);
    model->parent = nullptr;
    if (parent->node != nullptr || parent->children.size() > 1) return;
    for (Model *last : parent->children) last->parent = nullptr;  // no chain any more
    parent->children.clear();
  }

  void bury(Model *top) {
    unlink(top);
    forTree(top, [this](Model *each) {
      each->isAlive = false;
      gone_.insert(each->key);
    });
  }

  void endSession(uint32_t session) {
    for (size_t i = 0; i < models_.size(); ++i) {
      Model *model = models_[i].get();
      if (model->isAlive && model->node != nullptr && model->session == session) bury(model);
    }
    gone_.insert(session);
  }

  // Making and taking out.

  void createNode(Model * /*unused*/) {
    const uint32_t type = bytes_.pick(3) == 0 ? kDocument : kElement;
    const bool isEx = bytes_.pick(2) == 0;
    const bool opensSession = isEx && type == kDocument;
    uint32_t session = isEx ? anySession() : 0;
    const Given texts = given();
    XmlNode *node = nullptr;
    const auto &[prefix, name, value] = texts.texts;
    const uint32_t result = isEx ? NEB_XML_CreateNodeEx(session, type, prefix, name, value, &node)
                                 : NEB_XML_CreateNode(type, prefix, name, value, &node);
    if (!opensSession && !isOpen(session)) return require(result == kNoMemory);
    if (!succeeded(result)) return;
    if (opensSession) open(session = node->sessionId, true);
    Model *model = add(node, session, type);
    model->endsSession = opensSession;
    put(model, texts, session);
  }

  void parse(Model * /*unused*/) {
    const bool withSession = bytes_.pick(2) == 0;
    const char *text = bytes_.pickFrom(kDocuments);
    XmlNode *node = nullptr;
    const uint32_t result = withSession ? NEB_XML_ParseEx(text, &node) : NEB_XML_Parse(text, &node);
    require(result == kOk || (hooks::hasFailed() && node == nullptr));
    if (result != kOk) return;
    Model *chain = node->next == nullptr ? nullptr : add(nullptr, 0, kElement);
    if (withSession) open(node->sessionId, true);
    bool isFirst = true;
    for (; node != nullptr; node = node->next, isFirst = false) {
      adopt(node, chain)->endsSession = withSession && isFirst;
    }
  }

  void newNode(Model * /*unused*/) {
    constexpr uint32_t kTypes[] = {kAttribute, kAttribute, kElement, kDocument};
    const uint32_t type = bytes_.pickFrom(kTypes);
    const uint32_t session = anySession();
    XmlNode *node = XML_NewNode(session, type);
    require((node != nullptr) == isOpen(session) || hooks::hasFailed());
    if (node == nullptr) return;
    Model *model = add(node, session, type);
    if (type != kDocument || session == 0) return;
    model->endsSession = !sessions_[session];
    open(session, true);
  }

  void beginSession(Model * /*unused*/) {
    constexpr int32_t kSizes[] = {1, 100, 300, 8192};
    const uint32_t session = XML_MemSessionBegin(bytes_.pickFrom(kSizes));
    require(session != 0 || hooks::hasFailed());
    if (session != 0) open(session, false);
  }

  void remove(Model *model) {
    const bool isRemovable = !model->isAttribute() && model->parent != nullptr;
    require(NEB_XML_RemoveNode(model->node) == (isRemovable ? kOk : kInvalid));
    if (isRemovable) unlink(model);
  }

  void release(Model *model) {
    const bool isAttached = model->parent != nullptr;
    NEB_XML_FreeNode(model->node);
    if (model->isAttribute() && isAttached) return;
    unlink(model);
    released(model);
  }

  // A node of a session is only detached.
  void released(Model *model) {
    if (model->endsSession) {
      endSession(model->session);
    } else if (model->session == 0) {
      bury(model);
    }
  }

  void releaseOnward(Model *model) {
    Model *chain = model->parent;
    if (chain == nullptr) {
      XML_FreeNode(model->node);
      return model->isAttribute() ? bury(model) : released(model);
    }
    if (chain->node != nullptr || chain->children[0] != model) return;
    XML_FreeNode(model->node);
    if (model->endsSession) return endSession(model->session);
    for (Model *each : std::vector<Model *>(chain->children)) bury(each);
  }

  void releaseSingle(Model *model) {
    if (model->parent != nullptr || !model->children.empty() || !model->attributes.empty()) return;
    const bool asAttribute = bytes_.pick(2) == 0;
    if (asAttribute && !model->isAttribute()) return;
    asAttribute ? XML_FreeSingleAttrNode(model->node) : XML_FreeSingleNode(model->node);
    if (model->session == 0 || (model->isAttribute() && !asAttribute)) bury(model);
  }

  void releaseSession(Model * /*unused*/) {
    const uint32_t session = anySession();
    require(XML_MemSessionEnd(session) == (session != 0 && isOpen(session) ? 1 : 0));
    if (session != 0) endSession(session);
  }

  // Insertion.

  static bool isAccepted(Model *place, Model *node, bool asSibling) {
    if (place->isAttribute() || node->isAttribute() || node->parent != nullptr) return false;
    Model *topmost = topmostOf(place);
    if (topmost == nullptr || topmost == node) return false;
    if (node->type == kDocument && (asSibling || node->session != 0)) return false;
    const bool isSessionDocument = place->type == kDocument && place->session != 0;
    if (asSibling && (place->parent == nullptr || isSessionDocument)) return false;
    if (node->session != 0) return node->session == topmost->session;
    return node->livedIn.empty() || node->livedIn == std::set<uint32_t>{topmost->session};
  }

  void insert(Model *node) {
    constexpr uint32_t (*kCalls[])(XmlNode *, XmlNode *) = {
        NEB_XML_AddFirstChildNode, NEB_XML_AppendChildNode, NEB_XML_AddNextSiblingNode,
        NEB_XML_AddPrevSiblingNode};
    const size_t how = bytes_.pick(std::size(kCalls));
    const bool asSibling = how >= 2;
    Model *place = any();
    if (!isReadable(place)) return;
    const uint32_t result = kCalls[how](place->node, node->node);
    if (!isAccepted(place, node, asSibling)) return require(result == kInvalid);
    if (!succeeded(result, kInvalid)) return;
    Model *parent = asSibling ? place->parent : place;
    auto &children = parent->children;
    auto at = how == 0 ? children.begin() : children.end();
    if (asSibling) at = std::find(children.begin(), children.end(), place) + (how == 2 ? 1 : 0);
    children.insert(at, node);
    node->parent = parent;
    const uint32_t session = storageOf(node);
    if (session != 0) {
      forTree(node, [&](Model *each) { each->livedIn.insert(session); });
    }
    intern(node);
  }

  // Changes.

  void changesIn(Model *model) { keepsPieces_ = storageOf(model) != 0; }

  // Some are the node's own strings.
  void setStrings(Model *model) {
    changesIn(model);
    const char *own[] = {text(), text(), text(), model->node->name, model->node->value};
    const Given texts = {bytes_.pickFrom(own), bytes_.pickFrom(own), bytes_.pickFrom(own)};
    const auto &[prefix, name, value] = texts.texts;
    const bool isSet = succeeded(NEB_XML_SetNode(model->node, prefix, name, value));
    for (const Field field : kFields) {
      if (texts.copies[field] == "") model->texts[field] = {};
    }
    if (!isSet) return;
    put(model, texts, storageOf(model));
    settleIn(model, storageOf(model));
  }

  // As for the tree that the node is in or is about to join, or by the hooks.
  void setStringsOf(Model *model) {
    Model *owner = bytes_.pick(3) == 0 ? nullptr : model;
    const bool isLoose = model->parent == nullptr && model->session == 0;
    if (owner != nullptr && isLoose && bytes_.pick(2) == 0) owner = any();
    if (owner != nullptr && !isReadable(owner)) return;
    const uint32_t home = owner == nullptr ? 0 : storageOf(owner);
    XmlNode *ownerNode = owner == nullptr ? nullptr : owner->node;
    const Given texts = given();
    const auto &[prefix, name, value] = texts.texts;
    if (!succeeded(XML_SetNode(ownerNode, model->node, prefix, name, value))) return;
    put(model, texts, home);
    settleIn(model, home);
  }

  static constexpr uint32_t kNumber = 42;

  void putNumber(Model *model, uint32_t result) {
    model->texts[kValue] = {};
    if (!succeeded(result)) return;
    put(model, {nullptr, nullptr, "42"}, storageOf(model));
    settleIn(model, storageOf(model));
  }

  void setNumber(Model *model) {
    changesIn(model);
    putNumber(model, NEB_XML_SetNodeValueEx(model->node, NEB_XML_VALUE_UINT32, &kNumber));
  }

  void addOrRefuse(Model *element, const Given &texts, uint32_t result) {
    if (element->isAttribute() || isMissing(texts.copies[kName]) || !topmostOf(element)) {
      return require(result == kInvalid);
    }
    if (attributeOf(element, knownPrefix(texts), texts.copies[kName]) != nullptr) {
      return require(result == kExists || (result == kNoMemory && hooks::hasFailed()));
    }
    if (!succeeded(result)) return;
    XmlNode *last = element->node->firstAttr;
    while (last->next != nullptr) last = last->next;
    Model *attribute = add(last, storageOf(element), kAttribute);
    put(attribute, texts, attribute->session);
    attribute->parent = element;
    element->attributes.push_back(attribute);
    settleIn(element, attribute->session);
    intern(attribute);
  }

  void addAttribute(Model *element) {
    changesIn(element);
    const Given texts = given();
    const auto &[prefix, name, value] = texts.texts;
    addOrRefuse(element, texts, NEB_XML_AddAttr(element->node, prefix, name, value));
  }

  void setAttributeNumber(Model *element) {
    changesIn(element);
    const Given texts = {text(), text(), "42"};
    const auto &[prefix, name, value] = texts.texts;
    const uint32_t result =
        NEB_XML_SetAttrValueEx(element->node, prefix, name, NEB_XML_VALUE_UINT32, &kNumber);
    Model *attribute = attributeOf(element, texts.copies[kPrefix], texts.copies[kName]);
    const bool isThere = !isMissing(texts.copies[kName]) && attribute != nullptr;
    return isThere ? putNumber(attribute, result) : addOrRefuse(element, texts, result);
  }

  // An empty prefix is none.
  static std::optional<std::string> knownPrefix(const Given &texts) {
    return isMissing(texts.copies[kPrefix]) ? std::nullopt : texts.copies[kPrefix];
  }

  // For a call on an attribute, mostly one that is there.
  Given named(const Model *element) {
    if (element->attributes.empty() || bytes_.pick(4) == 0) return given();
    const XmlNode *attribute = bytes_.pickFrom(element->attributes)->node;
    return {attribute->prefix, attribute->name, text()};
  }

  // Null when the call could not find it.
  static Model *found(Model *element, const Given &texts, uint32_t result) {
    const bool isLookup = !element->isAttribute() && texts.copies[kName].has_value();
    Model *attribute =
        isLookup ? attributeOf(element, knownPrefix(texts), texts.copies[kName]) : nullptr;
    if (attribute == nullptr) require(result == (isLookup ? kNotFound : kInvalid));
    return attribute;
  }

  void setAttribute(Model *element) {
    changesIn(element);
    const Given texts = named(element);
    const auto &[prefix, name, value] = texts.texts;
    const uint32_t result = NEB_XML_SetAttr(element->node, prefix, name, value);
    Model *attribute = found(element, texts, result);
    if (attribute == nullptr) return;
    if (topmostOf(element) == nullptr) return require(result == kInvalid);
    if (!succeeded(result)) return;
    attribute->texts[kValue] = {};
    put(attribute, {nullptr, nullptr, value}, storageOf(element));
    if (!isMissing(texts.copies[kValue])) settleIn(attribute, storageOf(element));
    intern(attribute);
  }

  void takeAttribute(Model *element) {
    changesIn(element);
    const Given texts = named(element);
    const uint32_t result = NEB_XML_RemoveAttr(element->node, texts[kPrefix], texts[kName]);
    Model *attribute = found(element, texts, result);
    if (attribute == nullptr) return;
    require(result == kOk);
    bury(attribute);
  }

  // An attribute made by hand, to any element of any storage.
  void attach(Model *element) {
    Model *attribute = nullptr;
    for (const auto &model : models_) {
      const bool isLoose = model->isAlive && model->isAttribute() && model->parent == nullptr;
      if (isLoose && isReadable(model.get())) attribute = model.get();
    }
    if (attribute == nullptr || bytes_.pick(8) == 0) attribute = any();
    if (!isReadable(attribute)) return;
    const uint32_t result = XML_AddAttrNode(attribute->node, element->node);
    if (element->isAttribute() || !attribute->isAttribute() || attribute->parent != nullptr) {
      return require(result == kInvalid);
    }
    if (attributeOf(element, attribute->texts[kPrefix].text, attribute->texts[kName].text)) {
      return require(result == kExists);
    }
    if (!succeeded(result)) return;
    attribute->parent = element;
    element->attributes.push_back(attribute);
    settle(element, attribute->livedIn);
    settleIn(element, attribute->session);
    settleIn(attribute, storageOf(element));
  }

  // Copies.

  bool mayCopy() const {
    const auto alive = std::count_if(models_.begin(), models_.end(),
                                     [](const auto &model) { return model->isAlive; });
    return alive < kMostNodes && models_.size() < kMostModels;
  }

  Model *copied(const Model *source, XmlNode *copy, bool isWhole, uint32_t session) {
    const trees::Sameness sameness = {false};
    require(isWhole ? trees::isSameTree(source->node, copy, sameness)
                    : trees::isSameNode(source->node, copy, sameness) && !copy->firstChild);
    Model *made = adopt(copy, nullptr);
    forTree(made, [&](Model *each) { require(each->session == session); });
    return made;
  }

  void clone(Model *source) {
    if (!mayCopy()) return;
    const bool isWhole = bytes_.pick(3) != 0;
    XmlNode *copy = nullptr;
    const uint32_t result = isWhole ? NEB_XML_CloneNode(source->node, &copy)
                                    : NEB_XML_CloneNodeSelf(source->node, &copy);
    if (source->isAttribute() || topmostOf(source) == nullptr) return require(result == kInvalid);
    if (!succeeded(result)) return;
    const uint32_t session = source->endsSession ? uint32_t{copy->sessionId} : storageOf(source);
    if (source->endsSession) {
      require(sessions_.count(session) == 0);
      open(session, true);
    }
    Model *made = copied(source, copy, isWhole, session);
    require(made->type == source->type);
    made->endsSession = source->endsSession;
  }

  void import(Model *source) {
    Model *target = any();
    if (!mayCopy() || !isReadable(target)) return;
    XmlNode *copy = nullptr;
    const uint32_t result = NEB_XML_ImportNode(target->node, source->node, &copy);
    if (source->isAttribute() || target->isAttribute() || topmostOf(target) == nullptr) {
      return require(result == kInvalid);
    }
    if (!succeeded(result)) return;
    forTree(copied(source, copy, true, storageOf(target)),
            [](const Model *each) { require(each->type != kDocument); });
  }

  // Calls that only read.

  void print(Model *model) {
    using Print = uint32_t (*)(const XmlNode *, char **);
    constexpr Print kPrints[] = {
        NEB_XML_TransformTail, NEB_XML_TransformHead, NEB_XML_Transform,
        [](const XmlNode *node, char **text) { return NEB_XML_TransformIndented(node, 2, text); },
        [](const XmlNode *node, char **) { return NEB_XML_TransformFile(node, "/dev/null"); }};
    constexpr size_t kExact = 3;
    const size_t how = bytes_.pick(std::size(kPrints));
    bool hasNameless = false;
    forTree(model, [&](const Model *each) {
      hasNameless |= !each->texts[kName].text && !(each->isAttribute() && how == 0);
    });
    char *text = nullptr;
    const uint32_t result = kPrints[how](model->node, &text);
    if (model->isAttribute()) return require(result == kInvalid);
    // Memory may run out before a node without a name is met.
    const bool isShort = result == kNoMemory && hooks::hasFailed();
    if (hasNameless && !isShort) return require(result == kInvalid);
    if (how == kExact && result == kInvalid) return;  // what no text can hold
    if (succeeded(result)) NEB_XML_FreeMem(text);
  }

  void allocate(Model *model) {
    void *piece = bytes_.pick(2) == 0 ? XML_Malloc(model->node, 1 + bytes_.pick(100))
                                      : XML_Strdup(model->node, "text");
    if (piece == nullptr) return require(hooks::hasFailed());
    require(hooks::holds(piece) == (storageOf(model) == 0));
    XML_Free(model->node, piece);
    require(!hooks::holds(piece));
  }

  // The demands.

  void check() {
    for (const auto &model : models_) {
      if (!model->isAlive || model->node == nullptr) continue;
      checkRecord(*model);
      if (!model->isAttribute()) checkBelow(*model);
    }
  }

  void checkRecord(Model &model) {
    const XmlNode *node = model.node;
    require(hooks::holds(node) == (model.session == 0));
    require(node->sessionId == model.session && node->type == static_cast<int8_t>(model.type));
    require((node->isDocument == 1) == (model.type == kDocument));
    require(((node->marks & kOwnsSession) != 0) == model.endsSession);
    const bool hasParent = model.parent != nullptr && model.parent->node != nullptr;
    require(NEB_XML_GetNodeParent(node) == (hasParent ? model.parent->node : nullptr));
    checkText(model, kPrefix, node->prefix, kPrefixElsewhere);
    checkText(model, kName, node->name, kNameElsewhere);
    checkText(model, kValue, node->value, kValueElsewhere);
    if (model.texts[kName].text) require((node->nameOwned == 0) == model.texts[kName].isInterned);
    if (model.texts[kValue].text) require(node->valueOwned == 1);
    if (model.isAttribute() || model.session != 0 || storageOf(&model) != 0) return;
    const auto &lived = model.livedIn;
    require(node->livedIn == (lived.empty()       ? 0
                              : lived.size() == 1 ? *lived.begin()
                                                  : kSeveralSessions));
  }

  void checkText(const Model &model, Field field, const char *actual, NodeMark elsewhere) {
    const Text &text = model.texts[field];
    require((actual != nullptr) == text.text.has_value());
    if (actual == nullptr || isLost(text)) return;
    require(*text.text == actual);
    require(hooks::holds(actual) == (text.home == 0));
    const bool isElsewhere = !text.isInterned && (text.home == 0) != (model.session == 0);
    require(((model.node->marks & elsewhere) != 0) == isElsewhere);
  }

  void checkBelow(const Model &model) {
    const XmlNode *node = model.node;
    const XmlNode *before = nullptr;
    const XmlNode *child = NEB_XML_GetNodeFirstChild(node);
    for (const Model *expected : model.children) {
      require(child == expected->node && NEB_XML_GetNodePrevSibling(child) == before);
      before = child;
      child = NEB_XML_GetNodeNextSibling(child);
    }
    require(child == nullptr && NEB_XML_GetNodeLastChild(node) == before);
    uint32_t count = 0;
    require(NEB_XML_GetNodeChildNum(node, &count) == kOk && count == model.children.size());
    if (count != 0) require(NEB_XML_Iterator(node) == model.children[0]->node);
    XmlNode *cursor = nullptr;
    const char *prefix = nullptr;
    const char *name = nullptr;
    const char *value = nullptr;
    for (const Model *expected : model.attributes) {
      require(NEB_XML_GetNextSiblingAttrEx(node, &prefix, &name, &value, &cursor) == kOk);
      require(cursor == expected->node && name == cursor->name && value == cursor->value);
    }
    require(NEB_XML_GetNextSiblingAttrEx(node, &prefix, &name, &value, &cursor) == kNotFound);
    if (model.parent == nullptr) {
      require(node->prev == nullptr && node->next == nullptr);
    } else if (model.parent->node == nullptr) {
      const auto &chain = model.parent->children;
      const auto at = std::find(chain.begin(), chain.end(), &model);
      require(node->prev == (at == chain.begin() ? nullptr : at[-1]->node));
      require(node->next == (at + 1 == chain.end() ? nullptr : at[1]->node));
    }
  }

  // In an order that the first byte chooses.
  void releaseAll() {
    for (size_t next = releaseStep_;; next += releaseStep_) {
      std::vector<Model *> roots;
      for (const auto &model : models_) {
        const bool isRoot = model->parent == nullptr || model->parent->node == nullptr;
        const bool isLeft = model->isAlive && model->node != nullptr;
        if (isLeft && isRoot && (model->session == 0 || model->endsSession)) {
          roots.push_back(model.get());
        }
      }
      if (roots.empty()) break;
      release(roots[next % roots.size()]);
    }
    for (const auto &[session, hasDocument] : sessions_) {
      require(XML_MemSessionEnd(session) == (isOpen(session) ? 1 : 0));
    }
  }

  Bytes bytes_;
  size_t releaseStep_;
  bool keepsPieces_ = false;
  std::map<uint32_t, bool> sessions_;  // ever opened; whether a document of it has been made
  std::set<Home> gone_;                // sessions that have ended, documents that are no more
  std::vector<std::unique_ptr<Model>> models_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > kLongestProgram) return 0;
  hooks::begin();
  Machine(data, size).run();
  require(hooks::outstanding() == 0);
  return 0;
}
