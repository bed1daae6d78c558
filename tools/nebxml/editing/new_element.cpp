#include "editing/new_element.h"

#include <array>
#include <new>

#include "documents/attribute_name.h"
#include "documents/syntax_report.h"
#include "editing/edit_rules.h"

namespace nebxml {
namespace {

constexpr const char *kFragment = "the fragment";
constexpr size_t kLongestMessage = 512;

void requireMemory(uint32_t result) {
  if (result != NEB_XML_OK) throw std::bad_alloc();
}

Tree readFragment(const std::string &name, const std::string &fragment) {
  std::array<char, kLongestMessage> message{};
  NEB_XML_READ_OPTIONS settings{};
  settings.size = sizeof settings;
  settings.message = message.data();
  settings.messageSize = message.size();
  NEB_XML_PARSE_ERROR error{};
  XmlNode *root = nullptr;
  const uint32_t result = NEB_XML_Read(fragment.data(), fragment.size(), &settings, &root, &error);
  if (result == NEB_XML_ERR_NO_MEMORY) throw std::bad_alloc();
  if (result != NEB_XML_OK) throw syntaxReport(name, error, message.data(), fragment);
  return {root, &NEB_XML_FreeNode};
}

Tree createElement(const std::string &heading, const NewElement &element) {
  requireElementName(heading, element.content);
  requireCharacters(heading, element.value);
  const AttributeName name(element.content);
  XmlNode *node = nullptr;
  requireMemory(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, name.prefix(), name.name(),
                                   element.value.c_str(), &node));
  return {node, &NEB_XML_FreeNode};
}

void putAttribute(const std::string &heading, XmlNode *element, const std::string &attribute) {
  const size_t mark = attribute.find('=');
  const std::string name = attribute.substr(0, mark);
  const std::string value = mark == std::string::npos ? "" : attribute.substr(mark + 1);
  requireAttributeName(heading, name);
  requireCharacters(heading, value);
  requireMemory(
      NEB_XML_PutAttr(element, name.data(), name.size(), value.data(), value.size(), nullptr));
}

}  // namespace

bool isFragment(const std::string &content) { return content.rfind('<', 0) == 0; }

Tree makeElement(const Document &document, const Selection &selection, const NewElement &element) {
  const std::string heading = headingOf(document, selection);
  const std::string fragmentName =
      selection.source.empty() ? kFragment : heading + ": " + kFragment;
  Tree tree = isFragment(element.content) ? readFragment(fragmentName, element.content)
                                          : createElement(heading, element);
  for (const std::string &attribute : element.attributes) {
    putAttribute(heading, tree.get(), attribute);
  }
  return tree;
}

}  // namespace nebxml
