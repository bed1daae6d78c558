#include "neb_xml.h"

#include "library.h"

namespace {

using namespace bench;

std::string version() {
  char banner[32];
  if (NEB_XML_GetVersion(banner, sizeof banner) != NEB_XML_OK) return "?";
  return std::string(banner).substr(sizeof "NEB XML");
}

XmlNode *node(Document document) { return static_cast<XmlNode *>(document); }

template <uint32_t (*Parse)(const char *, XmlNode **)>
Document parse(const std::string &input) {
  XmlNode *document = nullptr;
  return Parse(input.c_str(), &document) == NEB_XML_OK ? document : nullptr;
}

template <uint32_t (*ParseFile)(const char *, XmlNode **)>
Document load(const char *path) {
  XmlNode *document = nullptr;
  return ParseFile(path, &document) == NEB_XML_OK ? document : nullptr;
}

// The language of strict reading; only the parse differs.
Document readStrictly(const std::string &input) {
  XmlNode *document = nullptr;
  const uint32_t result = NEB_XML_Read(input.data(), input.size(), nullptr, &document, nullptr);
  return result == NEB_XML_OK ? document : nullptr;
}

Document loadStrictly(const char *path) {
  XmlNode *document = nullptr;
  return NEB_XML_Load(path, nullptr, &document, nullptr) == NEB_XML_OK ? document : nullptr;
}

void release(Document document) { NEB_XML_FreeNode(node(document)); }

// The one call that reads a node, and what a caller would do with its answer.
template <class Visitor>
void visitStrings(const XmlNode *node, NEB_XML_NODE_INFO &info, Visitor &visitor) {
  NEB_XML_GetNodeInfo(node, &info);
  visitor.qualified(info.prefix, info.name);
  visitor.string(info.value);
}

const XmlNode *following(const XmlNode *element, const NEB_XML_NODE_INFO &info) {
  if (info.firstChild) return info.firstChild;
  return info.nextSibling ? info.nextSibling : NEB_XML_Iterator(element);
}

template <class Visitor>
void visit(Document document, Visitor &visitor) {
  NEB_XML_NODE_INFO info;
  NEB_XML_NODE_INFO attributeInfo;
  for (const XmlNode *element = node(document); element; element = following(element, info)) {
    visitor.element();
    visitStrings(element, info, visitor);
    const XmlNode *attribute = info.firstAttribute;
    for (; attribute; attribute = attributeInfo.nextSibling) {
      visitor.attribute();
      visitStrings(attribute, attributeInfo, visitor);
    }
  }
}

Census inspect(Document document) {
  CensusVisitor visitor;
  visit(document, visitor);
  return visitor.census;
}

size_t walk(Document document) {
  TouchVisitor visitor;
  visit(document, visitor);
  return visitor.sum;
}

size_t print(Document document, std::string *keep) {
  char *text = nullptr;
  if (NEB_XML_Transform(node(document), &text) != NEB_XML_OK) return 0;
  const std::string_view printed = text;
  if (keep) *keep = printed;
  NEB_XML_FreeMem(text);
  return printed.size();
}

Document clone(Document document) {
  XmlNode *copy = nullptr;
  return NEB_XML_CloneNode(node(document), &copy) == NEB_XML_OK ? copy : nullptr;
}

const char *find(Document document, const Path &path) {
  XmlNode *found = nullptr;
  const char *value = nullptr;
  if (NEB_XML_GetNodeByUrl(node(document), path.text.c_str(), &found) != NEB_XML_OK) return nullptr;
  NEB_XML_GetNodeValue(found, nullptr, nullptr, nullptr, &value);
  return value;
}

size_t readAttribute(Document document, const char *name) {
  TouchVisitor visitor;
  XmlNode *child = NEB_XML_GetNodeFirstChild(node(document));
  for (; child; child = NEB_XML_GetNodeNextSibling(child)) {
    const char *value = nullptr;
    if (NEB_XML_GetAttr(child, nullptr, name, &value) == NEB_XML_OK) visitor.string(value);
  }
  return visitor.sum;
}

int64_t addNumbers(Document document) {
  int64_t sum = 0;
  int32_t number = 0;
  XmlNode *child = NEB_XML_GetNodeFirstChild(node(document));
  for (; child; child = NEB_XML_GetNodeNextSibling(child)) {
    if (NEB_XML_GetNodeValueEx(child, NEB_XML_VALUE_INT32, &number) == NEB_XML_OK) sum += number;
  }
  return sum;
}

// The calls are checked as a caller would check them. The benchmark checks the resulting document.
Document editIn(uint32_t session, XmlNode *list, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    XmlNode *item = nullptr;
    if (NEB_XML_CreateNodeEx(session, NEB_XML_NODE_ELEMENT, nullptr, kItemName, kItemText, &item) ||
        NEB_XML_AddAttr(item, nullptr, kItemAttribute, kItemOldState) ||
        NEB_XML_AppendChildNode(list, item)) {
      return list;
    }
  }
  int32_t number = 0;
  XmlNode *item = NEB_XML_GetNodeFirstChild(list);
  for (; item; item = NEB_XML_GetNodeNextSibling(item), ++number) {
    if (NEB_XML_SetNodeValueEx(item, NEB_XML_VALUE_INT32, &number) ||
        NEB_XML_SetAttr(item, nullptr, kItemAttribute, kItemNewState)) {
      return list;
    }
  }
  return list;
}

Document editSession(size_t count) {
  const uint32_t session = XML_MemSessionBegin(8192);
  XmlNode *list = XML_NewNode(session, NEB_XML_NODE_DOCUMENT);
  if (NEB_XML_SetNode(list, nullptr, kListName, nullptr)) return list;
  return editIn(session, list, count);
}

Document editHooks(size_t count) {
  XmlNode *list = nullptr;
  if (NEB_XML_CreateNode(NEB_XML_NODE_DOCUMENT, nullptr, kListName, nullptr, &list)) return list;
  return editIn(0, list, count);
}

Subject subject(const char *mode, Document (*parse)(const std::string &),
                Document (*load)(const char *), Document (*edit)(size_t)) {
  return {.library = "NEB-XML",
          .mode = mode,
          .version = version(),
          .maxDepth = 0,
          .parse = parse,
          .load = load,
          .release = release,
          .inspect = inspect,
          .walk = walk,
          .print = print,
          .clone = clone,
          .find = find,
          .readAttribute = readAttribute,
          .addNumbers = addNumbers,
          .edit = edit};
}

Subject strict() {
  return {.library = "NEB-XML",
          .mode = "strict",
          .version = version(),
          .maxDepth = 0,
          .parse = readStrictly,
          .load = loadStrictly,
          .release = release,
          .inspect = inspect};
}

const Registration registration(
    0, {nebXmlSession(), subject("hooks", parse<NEB_XML_Parse>, load<NEB_XML_ParseFile>, editHooks),
        strict()});

}  // namespace

bench::Subject bench::nebXmlSession() {
  return subject("session", parse<NEB_XML_ParseEx>, load<NEB_XML_ParseFileEx>, editSession);
}
