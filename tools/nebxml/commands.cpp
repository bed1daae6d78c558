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
  if (result == NEB_XML_ERR_NOT_FOUND) {
    throw refusal(target, "no attribute '" + target.attribute.value_or("") + "' at path");
  }
  if (result != NEB_XML_OK) {
    throw CommandError(ExitStatus::fileTrouble, target.fileName, "change does not fit into memory");
  }
}

void setAttribute(XmlNode *element, const Target &target, const std::string &value) {
  const AttributeName name(*target.attribute);
  const uint32_t result = NEB_XML_SetAttr(element, name.prefix(), name.name(), value.c_str());
  if (result != NEB_XML_ERR_NOT_FOUND) {
    requireChange(result, target);
    return;
  }
  if (!name.isWellFormed()) {
    throw CommandError(ExitStatus::wrongUsage, target.fileName,
                       "not an attribute name: '" + *target.attribute + "'");
  }
  requireChange(NEB_XML_AddAttr(element, name.prefix(), name.name(), value.c_str()), target);
}

// The value as the required type writes it.
std::string inRequiredForm(const Target &target, const std::string &text) {
  if (!target.valueType) return text;
  if (const auto typed = typedText(*target.valueType, text)) return *typed;
  throw refusal(target, "'" + shortened(text) + "' is not of type " + *target.valueType + " (" +
                            rangeOf(*target.valueType) + ") at path");
}

void setText(XmlNode *element, const Target &target, const std::string &value) {
  if (NEB_XML_GetNodeFirstChild(element) != nullptr) {
    throw refusal(target, "child elements leave no place for a text at path");
  }
  requireChange(NEB_XML_SetNode(element, nullptr, nullptr, value.c_str()), target);
}

}  // namespace

ExitStatus checkFiles(const std::vector<std::string> &fileNames) {
  ExitStatus worst = ExitStatus::done;
  for (const std::string &fileName : fileNames) {
    try {
      const Document document(fileName);
    } catch (const CommandError &error) {
      std::cerr << error.what() << '\n';
      worst = std::max(worst, error.status());
    }
  }
  return worst;
}

void formatDocument(const std::string &fileName, const Destination &destination) {
  save(Document(fileName), destination);
}

void printValue(const Target &target) {
  const Document document(target.fileName);
  const XmlNode *node = document.find(target.path);
  std::string line(nodeStrings(node).value);
  if (target.attribute) {
    const AttributeName name(*target.attribute);
    const char *value = nullptr;
    requireChange(NEB_XML_GetAttr(node, name.prefix(), name.name(), &value), target);
    line = value == nullptr ? "" : value;
  }
  writeStandardOutput(inRequiredForm(target, line) += '\n');
}

void setValue(const Target &target, const std::string &value, const Destination &destination) {
  const Document document(target.fileName);
  XmlNode *node = document.find(target.path);
  const std::string text = inRequiredForm(target, value);
  if (target.attribute) {
    setAttribute(node, target, text);
  } else {
    setText(node, target, text);
  }
  save(document, destination);
}

void importNode(const Target &target, const Source &source, const Destination &destination) {
  const Document document(target.fileName);
  XmlNode *parent = document.find(target.path);
  // White space beside children is not printed, so it does not count.
  if (nodeStrings(parent).value.find_first_not_of(" \t\r\n") != std::string_view::npos) {
    throw refusal(target, "a text leaves no place for child elements at path");
  }
  const Document other(source.fileName);
  XmlNode *copy = nullptr;
  requireChange(NEB_XML_ImportNode(parent, other.find(source.path), &copy), target);
  requireChange(NEB_XML_AppendChildNode(parent, copy), target);
  save(document, destination);
}

void removeTarget(const Target &target, const Destination &destination) {
  const Document document(target.fileName);
  XmlNode *node = document.find(target.path);
  if (target.attribute) {
    const AttributeName name(*target.attribute);
    requireChange(NEB_XML_RemoveAttr(node, name.prefix(), name.name()), target);
  } else if (node == document.root()) {
    throw refusal(target, "the document element cannot be deleted:");
  } else {
    requireChange(NEB_XML_RemoveNode(node), target);
  }
  save(document, destination);
}

}  // namespace nebxml
