#include "editing/new_element.h"

#include <new>

#include "documents/parsing.h"
#include "documents/qualified_name.h"
#include "documents/syntax_report.h"
#include "editing/edit_rules.h"

namespace nebxml {
namespace {

constexpr const char *kFragment = "the fragment";

Tree readFragment(const std::string &name, const std::string &fragment) {
  Parsed parsed = parseStrictly(fragment);
  if (parsed.tree) return std::move(parsed.tree);
  throw syntaxReport(name, parsed.error, parsed.cause, fragment);
}

Tree makeNamed(const std::string &heading, const NewElement &element) {
  requireElementName(heading, element.content);
  requireCharacters(heading, element.value);
  const QualifiedName name(element.content);
  return createElement(name.prefix(), name.name(), element.value.c_str());
}

void putAttribute(const std::string &heading, XmlNode *element, const std::string &attribute) {
  const size_t mark = attribute.find('=');
  const std::string name = attribute.substr(0, mark);
  const std::string value = mark == std::string::npos ? "" : attribute.substr(mark + 1);
  requireAttributeName(heading, name);
  requireCharacters(heading, value);
  if (NEB_XML_PutAttr(element, name.data(), name.size(), value.data(), value.size(), nullptr) !=
      NEB_XML_OK) {
    throw std::bad_alloc();
  }
}

}  // namespace

bool isFragment(const std::string &content) { return content.starts_with('<'); }

Tree makeElement(const Document &document, const Selection &selection, const NewElement &element) {
  const std::string heading = headingOf(document, selection);
  const std::string fragmentName =
      selection.source.empty() ? kFragment : heading + ": " + kFragment;
  Tree tree = isFragment(element.content) ? readFragment(fragmentName, element.content)
                                          : makeNamed(heading, element);
  for (const std::string &attribute : element.attributes) {
    putAttribute(heading, tree.get(), attribute);
  }
  return tree;
}

}  // namespace nebxml
