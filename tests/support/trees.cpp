#include "support/trees.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/links.h"

namespace trees {

XmlNode *parsed(const std::string &text, bool withSession) {
  XmlNode *document = nullptr;
  const auto parse = withSession ? NEB_XML_ParseEx : NEB_XML_Parse;
  EXPECT_EQ(parse(text.c_str(), &document), kOk) << text;
  return document;
}

std::string described(const XmlNode *node) {
  return links::described(node, [](bool holds) { EXPECT_TRUE(holds); });
}

std::string printed(const XmlNode *node, Print print) {
  char *text = nullptr;
  const uint32_t result = print(node, &text);
  if (result != kOk) return "error " + std::to_string(result);
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

std::vector<std::string> realFiles() {
  namespace fs = std::filesystem;
  std::vector<std::string> files;
  for (const char *folder :
       {NEB_XML_SAMPLES_DIR, "/usr/share/mime/packages", "/usr/share/X11/xkb/rules",
        "/usr/share/mobile-broadband-provider-info"}) {
    if (!fs::is_directory(folder)) continue;
    for (const auto &file : fs::recursive_directory_iterator(folder)) {
      if (file.path().extension() == ".xml") files.push_back(file.path().string());
    }
    EXPECT_GE(files.size(), 3U);
  }
  return files;
}

std::string temporaryFile(const std::string &text) {
  static std::atomic<unsigned> number;
  const std::string path = testing::TempDir() + std::to_string(number++) + ".xml";
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

}  // namespace trees
