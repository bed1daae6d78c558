// Random sequences of calls on trees of mixed storage, against a model that knows who lives where.
//
// The hooks of every test see to it that each piece goes back once and that nothing is left over;
// the model sees to it that links stay right and that nothing reaches the free hook too early.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "support/guarded_hooks.h"
#include "support/trees.h"
#include "xml/xml_node.h"

namespace {

constexpr const char *kTexts[] = {nullptr, "", "a", "id", "longer-name", "a-name-of-13-c", "7"};

struct Model {
  XmlNode *node = nullptr;
  uint32_t session = 0;  // carved from; 0: the hooks
  bool opensSession = false;
  std::set<uintptr_t> homes;   // documents and sessions that some of its texts may belong to
  std::set<uint32_t> livedIn;  // sessions
  bool hasLostTexts = false;   // one of them is gone: the node may only be taken out and released
  bool isAlive = true;
  Model *parent = nullptr;
  std::vector<Model *> children;
};

class Machine {
 public:
  Machine(unsigned seed, bool withFailures) : random_(seed), withFailures_(withFailures) {}

  void run(int steps) {
    for (int i = 0; i < steps; ++i) {
      step();
      if (i % 8 == 0) check();
      if (testing::Test::HasFailure()) return;
    }
    check();
    releaseAll();
  }

 private:
  int pick(size_t count) { return static_cast<int>(random_() % count); }
  const char *text() { return kTexts[pick(std::size(kTexts))]; }

  static Model *rootOf(Model *model) {
    while (model->parent != nullptr) model = model->parent;
    return model;
  }
  static bool isSessionTree(Model *model) { return rootOf(model)->session != 0; }
  static uintptr_t keyOf(const Model *model) { return reinterpret_cast<uintptr_t>(model); }

  bool isReadable(Model *model) {
    bool isReadable = true;
    forTree(rootOf(model), [&](Model *each) { isReadable &= !each->hasLostTexts; });
    return isReadable;
  }

  Model *any() {
    std::vector<Model *> alive;
    for (const auto &model : models_) {
      if (model->isAlive) alive.push_back(model.get());
    }
    return alive.empty() ? nullptr : alive[static_cast<size_t>(pick(alive.size()))];
  }

  static void settle(Model *model, const Model *root) {
    model->homes.insert(keyOf(root));
    if (root->session == 0) return;
    model->homes.insert(root->session);
    model->livedIn.insert(root->session);
  }

  Model *add(XmlNode *node, Model *parent = nullptr) {
    models_.push_back(std::make_unique<Model>());
    Model *model = models_.back().get();
    model->node = node;
    model->session = node->sessionId;
    model->parent = parent;
    if (parent != nullptr) {
      parent->children.push_back(model);
      settle(model, rootOf(model));
    }
    return model;
  }

  // Takes a whole tree over.
  Model *addTree(XmlNode *top) {
    Model *first = add(top);
    std::vector<Model *> open = {first};
    while (!open.empty()) {
      Model *parent = open.back();
      open.pop_back();
      for (XmlNode *child = NEB_XML_GetNodeFirstChild(parent->node); child != nullptr;
           child = NEB_XML_GetNodeNextSibling(child)) {
        open.push_back(add(child, parent));
      }
    }
    return first;
  }

  void step() {
    const bool fails = withFailures_ && pick(4) == 0;
    const auto failing =
        fails ? std::make_unique<guarded::FailingAllocation>(1 + pick(3)) : nullptr;
    const size_t released = guarded::releases();
    Model *model = any();
    if (model == nullptr || models_.size() % 5 == 0 || pick(6) == 0) return create();
    const bool isReadable = this->isReadable(model);
    if (!isReadable || pick(5) == 0) return pick(3) == 0 ? release(model) : remove(model);
    switch (pick(4)) {
      case 0:
        return insert(any(), model);
      case 1:
        return clone(model);
      case 2:
        return changeByHand(model);
      default:
        break;
    }
    const bool staysInSession = isSessionTree(model);
    change(model);
    // What is given up inside a session's tree is kept until the session ends.
    const bool hadMemory = failing == nullptr || !failing->happened();
    EXPECT_TRUE(!staysInSession || !hadMemory || guarded::releases() == released);
  }

  void create() {
    XmlNode *node = nullptr;
    switch (pick(6)) {
      case 0:
        NEB_XML_CreateNodeEx(0, NEB_XML_NODE_DOCUMENT, nullptr, "doc", nullptr, &node);
        break;
      case 1:
        NEB_XML_CreateNode(NEB_XML_NODE_DOCUMENT, "p", "heapdoc", text(), &node);
        break;
      case 2:
        NEB_XML_ParseEx("<r a='1' p:b='2'><x y='z'>t</x><x/></r>", &node);
        break;
      case 3:
        if (Model *model = any(); model != nullptr && model->session != 0) {
          NEB_XML_CreateNodeEx(model->session, NEB_XML_NODE_ELEMENT, text(), "e", text(), &node);
        }
        break;
      default:
        NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, text(), "heap", text(), &node);
        break;
    }
    if (node != nullptr)
      addTree(node)->opensSession = node->isDocument == 1 && node->sessionId != 0;
  }

  static bool isAccepted(Model *place, Model *node, bool asSibling) {
    if (node->parent != nullptr || place == node || rootOf(place) == node) return false;
    if (node->node->isDocument == 1 && (asSibling || node->session != 0)) return false;
    const bool isSessionDocument = place->node->isDocument == 1 && place->session != 0;
    if (asSibling && (place->parent == nullptr || isSessionDocument)) return false;
    const uint32_t destination = rootOf(place)->session;
    if (node->session != 0) return node->session == destination;
    return node->livedIn.empty() || node->livedIn == std::set<uint32_t>{destination};
  }

  void insert(Model *place, Model *node) {
    const int how = pick(4);
    const bool asSibling = how >= 2;
    if (!isReadable(place)) return;
    const bool isExpected = isAccepted(place, node, asSibling);
    uint32_t (*const calls[])(XmlNode *, XmlNode *) = {
        NEB_XML_AddFirstChildNode, NEB_XML_AppendChildNode, NEB_XML_AddNextSiblingNode,
        NEB_XML_AddPrevSiblingNode};
    const uint32_t result = calls[how](place->node, node->node);
    ASSERT_TRUE((result == NEB_XML_OK) == isExpected || (withFailures_ && isExpected));
    if (result != NEB_XML_OK) return;
    Model *parent = asSibling ? place->parent : place;
    auto &siblings = parent->children;
    auto at = how == 0 ? siblings.begin() : siblings.end();
    if (asSibling) at = std::find(siblings.begin(), siblings.end(), place) + (how == 2 ? 1 : 0);
    siblings.insert(at, node);
    node->parent = parent;
    const Model *root = rootOf(node);
    forTree(node, [&](Model *each) { settle(each, root); });
  }

  void unlink(Model *model) {
    if (model->parent == nullptr) return;
    auto &siblings = model->parent->children;
    siblings.erase(std::find(siblings.begin(), siblings.end(), model));
    model->parent = nullptr;
  }

  template <typename Action>
  void forTree(Model *top, Action action) {
    std::vector<Model *> open = {top};
    while (!open.empty()) {
      Model *model = open.back();
      open.pop_back();
      action(model);
      open.insert(open.end(), model->children.begin(), model->children.end());
    }
  }

  void remove(Model *model) {
    const bool isAttached = model->parent != nullptr;
    EXPECT_EQ(NEB_XML_RemoveNode(model->node) == NEB_XML_OK, isAttached);
    unlink(model);
  }

  void release(Model *model) {
    unlink(model);
    NEB_XML_FreeNode(model->node);
    if (model->opensSession) {
      endSession(model->session);
    } else {
      forTree(model, [this](Model *each) { bury(each); });
    }
    for (const auto &other : models_) {
      for (const uintptr_t home : other->homes) other->hasLostTexts |= gone_.count(home) != 0;
    }
  }

  void bury(Model *model) {
    model->isAlive = false;
    gone_.insert(keyOf(model));
  }

  // Nodes of the session go, and so does what hangs from them; other nodes lose what was theirs.
  void endSession(uint32_t session) {
    for (const auto &model : models_) {
      if (!model->isAlive || model->session != session) continue;
      forTree(model.get(), [this](Model *each) { bury(each); });
    }
    for (const auto &model : models_) {
      std::erase_if(model->children, [](const Model *child) { return !child->isAlive; });
    }
    gone_.insert(session);
  }

  void clone(Model *model) {
    XmlNode *copy = nullptr;
    const uint32_t result = pick(2) == 0 ? NEB_XML_CloneNode(model->node, &copy)
                                         : NEB_XML_CloneNodeSelf(model->node, &copy);
    if (result != NEB_XML_OK) {
      EXPECT_TRUE(withFailures_ && copy == nullptr);
      return;
    }
    Model *made = addTree(copy);
    made->opensSession = model->opensSession;
    EXPECT_EQ(made->opensSession, made->session != 0 && made->session != rootOf(model)->session);
  }

  void change(Model *model) {
    XmlNode *node = model->node;
    const auto number = static_cast<uint32_t>(random_());
    switch (pick(7)) {
      case 0:
        NEB_XML_SetNode(node, text(), text(), text());
        break;
      case 1:
        NEB_XML_AddAttr(node, text(), text(), text());
        break;
      case 2:
        NEB_XML_SetAttr(node, text(), "id", text());
        break;
      case 3:
        NEB_XML_RemoveAttr(node, nullptr, pick(2) == 0 ? "a" : "id");
        break;
      case 4:
        NEB_XML_SetNodeValueEx(node, NEB_XML_VALUE_UINT32, &number);
        break;
      case 5:
        NEB_XML_SetAttrValueEx(node, text(), "id", NEB_XML_VALUE_BOOL, &number);
        break;
      default:
        XML_SetNode(rootOf(model)->node, node, text(), "renamed", text());
        break;
    }
  }

  // Strings of the hooks whatever the tree, or an attribute from the hooks or from any session.
  void changeByHand(Model *model) {
    if (pick(2) == 0) {
      XML_SetNode(nullptr, model->node, text(), "renamed", text());
      return;
    }
    Model *other = any();
    XmlNode *attribute = XML_NewNode(other->session, NEB_XML_NODE_ATTRIBUTE);
    if (attribute == nullptr) return;
    const bool isNamed = XML_SetNode(attribute, attribute, nullptr, "hand", "made") == NEB_XML_OK;
    if (!isNamed || XML_AddAttrNode(attribute, model->node) != NEB_XML_OK) {
      NEB_XML_FreeNode(attribute);
    } else if (other->session != 0) {
      for (Model *each = model; each != nullptr; each = each->parent) {
        each->homes.insert(other->session);
      }
      for (; model != nullptr && model->session == 0; model = model->parent) {
        model->livedIn.insert(other->session);
      }
    }
  }

  void check() {
    for (const auto &model : models_) {
      if (!model->isAlive) continue;
      const XmlNode *node = model->node;
      EXPECT_TRUE(node->parent == (model->parent == nullptr ? nullptr : model->parent->node));
      const XmlNode *child = node->firstChild;
      const XmlNode *before = nullptr;
      for (const Model *expected : model->children) {
        ASSERT_TRUE(child == expected->node && child->prev == before);
        before = child;
        child = child->next;
      }
      EXPECT_TRUE(child == nullptr && node->lastChild == before);
      for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
        EXPECT_TRUE(attr->parent == node);
      }
      if (model->parent == nullptr && isReadable(model.get())) trees::described(node);
    }
  }

  // Detached parts of a session before the document that owns it, other trees in any order.
  void releaseAll() {
    std::shuffle(models_.begin(), models_.end(), random_);
    for (const bool documents : {false, true}) {
      for (size_t i = 0; i < models_.size(); ++i) {
        Model *model = models_[i].get();
        if (!model->isAlive || model->parent != nullptr) continue;
        if (model->session == 0 ? pick(2) == 0 || documents : model->opensSession == documents) {
          release(model);
        }
      }
    }
  }

  std::mt19937 random_;
  bool withFailures_;
  std::set<uintptr_t> gone_;  // nodes and sessions that are no more
  std::vector<std::unique_ptr<Model>> models_;
};

TEST(Storage, RandomSequencesGiveEveryPieceBackOnce) {
  for (const bool withFailures : {false, true}) {
    for (unsigned seed = 0; seed < 300; ++seed) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", failures " << withFailures);
      Machine(seed, withFailures).run(150);
      ASSERT_EQ(guarded::outstanding(), 0U);
    }
  }
}

// The commonest edit there is: a node made through the hooks in a document that owns a session.
TEST(Storage, NodeOfTheHooksTakenOutOfADocumentOutlivesIt) {
  for (const bool documentFirst : {false, true}) {
    XmlNode *document = trees::parsed("<doc><x/></doc>");
    XmlNode *node = nullptr;
    XmlNode *child = nullptr;
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "node", "text", &node);
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "a-name-too-long-to-intern", "t", &child);
    ASSERT_EQ(NEB_XML_AppendChildNode(document, node), uint32_t{NEB_XML_OK});
    ASSERT_EQ(NEB_XML_AppendChildNode(node, child), uint32_t{NEB_XML_OK});
    NEB_XML_AddAttr(child, nullptr, "of-the-session", "1");
    NEB_XML_SetNode(node, "p", "renamed", "other");
    XmlNode *carved = NEB_XML_GetNodeFirstChild(document);
    NEB_XML_RemoveNode(carved);
    ASSERT_EQ(NEB_XML_AppendChildNode(node, carved), uint32_t{NEB_XML_OK});
    NEB_XML_RemoveNode(node);
    NEB_XML_FreeNode(documentFirst ? document : node);
    NEB_XML_FreeNode(documentFirst ? node : document);
    EXPECT_EQ(guarded::outstanding(), 0U);
  }
}

TEST(Storage, NodesLeftInADocumentOrBelowItsDetachedPartsGoWithIt) {
  XmlNode *document = trees::parsed("<doc><kept/><detached/></doc>");
  XmlNode *detached = NEB_XML_GetNodeLastChild(document);
  NEB_XML_RemoveNode(detached);
  for (XmlNode *parent : {document, NEB_XML_GetNodeFirstChild(document), detached}) {
    XmlNode *node = nullptr;
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, "p", "node", "value", &node);
    NEB_XML_AddAttr(node, "q", "attribute", "value");
    ASSERT_EQ(NEB_XML_AppendChildNode(parent, node), uint32_t{NEB_XML_OK});
  }
  const size_t released = guarded::releases();
  NEB_XML_SetNode(NEB_XML_GetNodeFirstChild(detached), "", "", "");
  NEB_XML_RemoveAttr(NEB_XML_GetNodeFirstChild(detached), "q", "attribute");
  EXPECT_EQ(guarded::releases(), released);
  NEB_XML_FreeNode(document);
}

// In a chain of top-level elements the hooks serve changes, though the nodes are the session's.
TEST(Storage, TextsOfTheHooksInAChainOfASessionGoWithTheSession) {
  XmlNode *document = trees::parsed("<a x='1'/><b y='2'/><c/>");
  XmlNode *second = NEB_XML_GetNodeNextSibling(document);
  const uint32_t number = 1;
  NEB_XML_SetNode(second, "prefix", "name", "value");
  NEB_XML_SetAttrValueEx(second, nullptr, "y", NEB_XML_VALUE_UINT32, &number);
  NEB_XML_SetNode(NEB_XML_GetNodeNextSibling(second), nullptr, nullptr, "value");
  EXPECT_EQ(guarded::mallocSizes().size(), 6U) << "the parser's record and five texts";
  NEB_XML_FreeNode(document);
}

}  // namespace
