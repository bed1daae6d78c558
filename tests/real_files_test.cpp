// Files from outside: the samples, and what other packages of the system install.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/trees.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> xmlFilesIn(const fs::path &folder) {
  std::vector<fs::path> files;
  if (!fs::is_directory(folder)) return files;
  for (const auto &entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().extension() == ".xml") files.push_back(entry.path());
  }
  return files;
}

// The tree without what printing leaves out: after an empty last child the white space before an
// element's end tag becomes its value, but a value beside children is never printed.
std::string describedAsPrinted(XmlNode *document) {
  for (XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
    if (NEB_XML_GetNodeFirstChild(node) != nullptr) NEB_XML_SetNode(node, nullptr, nullptr, "");
  }
  return trees::described(document);
}

// Both kinds of storage give one tree, which survives being printed and parsed again.
void expectRoundTrip(const fs::path &file) {
  SCOPED_TRACE(file.string());
  std::string text;
  for (const auto parse : {NEB_XML_ParseFile, NEB_XML_ParseFileEx}) {
    XmlNode *document = nullptr;
    ASSERT_EQ(parse(file.c_str(), &document), uint32_t{NEB_XML_OK});
    const std::string printed = trees::printed(document);
    EXPECT_TRUE(text.empty() || printed == text) << "storage matters";
    text = printed;
    XmlNode *again = trees::parsed(text, parse == NEB_XML_ParseFileEx);
    EXPECT_TRUE(describedAsPrinted(again) == describedAsPrinted(document)) << "another tree";
    EXPECT_TRUE(trees::printed(again) == text) << "another text";
    XML_FreeNode(again);
    XML_FreeNode(document);
  }
}

TEST(RealFiles, SurviveARoundTrip) {
  EXPECT_GE(xmlFilesIn(NEB_XML_SAMPLES_DIR).size(), 3U);
  for (const char *folder :
       {NEB_XML_SAMPLES_DIR, "/usr/share/mime/packages", "/usr/share/X11/xkb/rules",
        "/usr/share/mobile-broadband-provider-info"}) {
    for (const fs::path &file : xmlFilesIn(folder)) expectRoundTrip(file);
  }
}

}  // namespace
