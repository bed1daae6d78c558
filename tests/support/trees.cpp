#include "support/trees.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <sstream>

#include "support/links.h"

namespace trees {

namespace {

std::string quoted(const char *text) {
  return text == nullptr ? "-" : "'" + std::string(text) + "'";
}

std::string qualified(const XmlNode *node) {
  std::string name = node->name == nullptr ? "-" : node->name;
  return node->prefix == nullptr ? name : std::string(node->prefix) + "|" + name;
}

void describeAttributes(const XmlNode *node, std::string *text) {
  for (const XmlNode *attribute = node->firstAttr; attribute != nullptr;
       attribute = attribute->next) {
    *text += " " + qualified(attribute) + "=" + quoted(attribute->value);
  }
}

}  // namespace

XmlNode *parsed(const std::string &text, bool withSession) {
  XmlNode *document = nullptr;
  const uint32_t result = withSession ? NEB_XML_ParseEx(text.c_str(), &document)
                                      : NEB_XML_Parse(text.c_str(), &document);
  EXPECT_EQ(result, uint32_t{NEB_XML_OK}) << text;
  return document;
}

// Written without recursion, since tests describe deep trees too.
std::string described(const XmlNode *node) {
  std::string text;
  size_t depth = 0;
  while (node != nullptr) {
    links::checkNode(node, [](bool holds) { EXPECT_TRUE(holds); });
    text += std::to_string(node->type) + ":" + qualified(node) + "=" + quoted(node->value);
    describeAttributes(node, &text);
    if (node->firstChild != nullptr) {
      text += "(";
      node = node->firstChild;
      ++depth;
      continue;
    }
    while (node->next == nullptr && depth > 0) {
      text += ")";
      node = node->parent;
      --depth;
    }
    node = node->next;
    if (node != nullptr) text += ",";
  }
  return text;
}

std::string printed(const XmlNode *node) {
  char *text = nullptr;
  const uint32_t result = NEB_XML_Transform(node, &text);
  if (result != NEB_XML_OK) return "error " + std::to_string(result);
  std::string copy = text == nullptr ? "" : text;
  NEB_XML_FreeMem(text);
  return copy;
}

std::string readFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string temporaryFile(const std::string &text, int number) {
  const auto *test = testing::UnitTest::GetInstance()->current_test_info();
  std::string name = std::string(test->test_suite_name()) + "_" + test->name();
  std::replace(name.begin(), name.end(), '/', '_');
  const std::string path = testing::TempDir() + name + "_" + std::to_string(number) + ".xml";
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

std::string temporaryFile(const std::string &text) {
  static std::atomic<unsigned> number;
  return temporaryFile(text, static_cast<int>(number++ % 4));
}

}  // namespace trees
