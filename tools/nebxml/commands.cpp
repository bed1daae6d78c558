#include "commands.h"

#include <algorithm>
#include <iostream>

#include "attribute_name.h"
#include "excerpt.h"
#include "file_output.h"
#include "node_reading.h"
#include "value_type.h"

namespace nebxml {
namespace {

CommandError refusal(const Target &target, const std::string &cause) {
  return {ExitStatus::notFound, target.fileName, cause + " '" + target.path + "'"};
}

void requireChange(uint32_t result, const Target &target) {
  switch (result) {
    case NEB_XML_OK:
      return;
    case NEB_XML_ERR_NOT_FOUND:
      throw refusal(target, "no attribute '" + target.attribute.value_or("") + "' at path");
    case NEB_XML_ERR_NO_MEMORY:
      throw noMemory(target.fileName);
    default:
      throw refusal(target, "XML or the document's encoding does not allow the change at path");
  }
}

// Throws CommandError if there is no such attribute.
std::string attributeValue(const XmlNode *element, const Target &target) {
  const AttributeName name(*target.attribute);
  const char *value = nullptr;
  requireChange(NEB_XML_GetAttr(element, name.prefix(), name.name(), &value), target);
  return value == nullptr ? "" : value;
}

NEB_XML_EDIT editOf(NEB_XML_EDIT_KIND kind, const char *value = nullptr) {
  NEB_XML_EDIT edit{};
  edit.kind = kind;
  edit.value = value;
  return edit;
}

NEB_XML_EDIT editOfAttribute(NEB_XML_EDIT_KIND kind, const AttributeName &name,
                             const char *value = nullptr) {
  NEB_XML_EDIT edit = editOf(kind, value);
  edit.prefix = name.prefix();
  edit.name = name.name();
  return edit;
}

// The value as the required type writes it.
std::string inRequiredForm(const Target &target, const std::string &text) {
  if (!target.valueType) return text;
  if (const auto typed = typedText(*target.valueType, text)) return *typed;
  throw refusal(target, "'" + shortened(text) + "' is not of type " + *target.valueType + " (" +
                            rangeOf(*target.valueType) + ") at path");
}

NEB_XML_EDIT settingOfAttribute(const XmlNode *element, const Target &target,
                                const AttributeName &name, const std::string &value) {
  const char *unused = nullptr;
  const bool isMissing =
      NEB_XML_GetAttr(element, name.prefix(), name.name(), &unused) == NEB_XML_ERR_NOT_FOUND;
  if (isMissing && !isAttributeName(*target.attribute)) {
    throw CommandError(ExitStatus::wrongUsage, target.fileName,
                       "not an attribute name: '" + *target.attribute + "'");
  }
  return editOfAttribute(NEB_XML_EDIT_SET_ATTR, name, value.c_str());
}

NEB_XML_EDIT settingOfText(const XmlNode *element, const Target &target, const std::string &value) {
  if (NEB_XML_GetNodeFirstChild(element) != nullptr) {
    throw refusal(target, "child elements leave no place for a text at path");
  }
  return editOf(NEB_XML_EDIT_SET_VALUE, value.c_str());
}

}  // namespace

ExitStatus checkFiles(const std::vector<std::string> &fileNames, const ReadingOptions &reading) {
  ExitStatus worst = ExitStatus::done;
  for (const std::string &fileName : fileNames) {
    try {
      const Document document(fileName, reading);
    } catch (const CommandError &error) {
      std::cerr << error.what() << '\n';
      worst = std::max(worst, error.status(), isLessSevere);
    }
  }
  return worst;
}

void formatDocument(const Target &target, const Destination &destination) {
  save(Document(target.fileName, target.reading), destination);
}

void printValue(const Target &target) {
  const Document document(target.fileName, target.reading);
  const XmlNode *node = document.find(target.path);
  std::string line(nodeStrings(node).value);
  if (target.attribute) {
    line = attributeValue(node, target);
  }
  writeStandardOutput(inRequiredForm(target, line) += '\n');
}

void setValue(const Target &target, const std::string &value, const Destination &destination) {
  const Document document(target.fileName, target.reading);
  XmlNode *node = document.find(target.path);
  const std::string text = inRequiredForm(target, value);
  const AttributeName name(target.attribute.value_or(""));
  const NEB_XML_EDIT edit = target.attribute ? settingOfAttribute(node, target, name, text)
                                             : settingOfText(node, target, text);
  requireChange(saveEdited(document, node, edit, destination), target);
}

void importNode(const Target &target, const Source &source, const Destination &destination) {
  const Document document(target.fileName, target.reading);
  XmlNode *parent = document.find(target.path);
  // White space beside children is not printed, so it does not count.
  if (nodeStrings(parent).value.find_first_not_of(" \t\r\n") != std::string_view::npos) {
    throw refusal(target, "a text leaves no place for child elements at path");
  }
  const Document other(source.fileName, target.reading);
  NEB_XML_EDIT edit = editOf(NEB_XML_EDIT_INSERT_LAST);
  edit.content = other.find(source.path);
  requireChange(saveEdited(document, parent, edit, destination), target);
}

void removeTarget(const Target &target, const Destination &destination) {
  const Document document(target.fileName, target.reading);
  XmlNode *node = document.find(target.path);
  const AttributeName name(target.attribute.value_or(""));
  NEB_XML_EDIT edit = editOf(NEB_XML_EDIT_REMOVE);
  if (target.attribute) {
    attributeValue(node, target);
    edit = editOfAttribute(NEB_XML_EDIT_REMOVE_ATTR, name);
  } else if (node == document.root()) {
    throw refusal(target, "the document element cannot be deleted:");
  }
  requireChange(saveEdited(document, node, edit, destination), target);
}

}  // namespace nebxml
