// Printing: escaping, failures, and writing to a file. The text of whole trees and of their halves
// the fuzzer roundtrip compares with a model.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "support/guarded_hooks.h"
#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

namespace fs = std::filesystem;

using Print = uint32_t (*)(const XmlNode *, char **);

constexpr uint32_t kOk = NEB_XML_OK;
constexpr uint32_t kInvalid = NEB_XML_ERR_INVALID_PARAM;

// "null" when nothing was written. The text must be exactly as large as needed and stand alone.
std::string printedBy(Print print, const XmlNode *node) {
  char *text = nullptr;
  const size_t before = guarded::outstanding();
  EXPECT_EQ(print(node, &text), kOk);
  if (text == nullptr) return "null";
  const std::string copy = text;
  EXPECT_EQ(guarded::mallocSizes().back(), copy.size() + 1) << copy;
  EXPECT_EQ(guarded::outstanding(), before + 1) << copy;
  NEB_XML_FreeMem(text);
  return copy;
}

XmlNode *nodeOfOtherType() {
  XmlNode *node = XML_NewNode(0, 3);
  EXPECT_EQ(XML_SetNode(nullptr, node, nullptr, "other", "value"), kOk);
  return node;
}

TEST(Transform, EscapesTextsAndAttributesAlike) {
  const char *const cases[][2] = {
      {"a<b & \"c\", it's>", "a&lt;b &amp; &quot;c&quot;, it&apos;s&gt;"},
      {"&lt;&gt;&amp;&apos;&quot;", "&lt;&gt;&amp;&apos;&quot;"},
      {"&#;&#x;&#0;&#00065;&#1114111;&#x10FFFF;&#x10ffff;&#x0000000041;",
       "&#;&#x;&#0;&#00065;&#1114111;&#x10FFFF;&#x10ffff;&#x0000000041;"},
      {"&#1114112;&#x110000;&#4294967361;&#x100000041;&#X41;&#12a;&#xg;&#-1;&# 1;&#b;",
       "&amp;#1114112;&amp;#x110000;&amp;#4294967361;&amp;#x100000041;&amp;#X41;&amp;#12a;&amp;#xg;"
       "&amp;#-1;&amp;# 1;&amp;#b;"},
      {"&LT;&nbsp;&ampx;&; &amp", "&amp;LT;&amp;nbsp;&amp;ampx;&amp;; &amp;amp"},
      {"&a&amp;&&lt;&#6&#65;", "&amp;a&amp;&amp;&lt;&amp;#6&#65;"},
      {"<![CDATA[x]]>AT&T&", "&lt;![CDATA[x]]&gt;AT&amp;T&amp;"},
      {"\t\r\n\x01\x7F\xC3\xA9\xFF&#x41", "\t\r\n\x01\x7F\xC3\xA9\xFF&amp;#x41"},
  };
  for (const auto &[value, escaped] : cases) {
    XmlNode *node = nullptr;
    ASSERT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "e", value, &node), kOk);
    ASSERT_EQ(NEB_XML_AddAttr(node, nullptr, "a", value), kOk);
    const std::string text = escaped;
    EXPECT_EQ(printedBy(NEB_XML_Transform, node), "<e a=\"" + text + "\">" + text + "</e>\n");
    NEB_XML_FreeNode(node);
  }
}

// The output is gathered in chunks. Here every part of some markup comes last in a chunk.
TEST(Transform, PrintsShortMarkupWhereverAPieceOfTheTextEnds) {
  for (size_t filler = 850; filler < 1150; ++filler) {
    for (const size_t nameLength : {1U, 15U, 16U, 17U}) {
      for (size_t attributes = 0; attributes <= 2; ++attributes) {
        const std::string before = "<r>\n<f>" + std::string(filler, 'f') + "&lt;</f>\n";
        const std::string name = "p:" + std::string(nameLength, 'n');
        std::string text = before + "<" + name;
        for (const char letter : std::string("ab").substr(0, attributes)) {
          text += " p:" + std::string(nameLength, letter) + "=\"sixteen letters \"";
        }
        text += ">sixteen letters.</" + name + ">\n</r>\n";
        XmlNode *document = trees::parsed(text);
        const auto indented = [](const XmlNode *node, char **out) {
          return NEB_XML_TransformIndented(node, 1, out);
        };
        EXPECT_EQ(printedBy(NEB_XML_Transform, document), text);
        text.insert(before.size(), " ");
        text.insert(text.find("<f>"), " ");
        EXPECT_EQ(printedBy(indented, document), text);
        NEB_XML_FreeNode(document);
      }
    }
  }
}

TEST(Transform, TellsTheFirstOfSeveralFailures) {
  for (const bool isNamelessFirst : {false, true}) {
    XmlNode *document = trees::parsed("<a><b/><b/></a>", false);
    XmlNode *children[] = {document->firstChild, document->lastChild};
    const std::string value(3000, 'v');
    for (XmlNode *child : children) {
      EXPECT_EQ(NEB_XML_SetNode(child, nullptr, nullptr, value.c_str()), kOk);
    }
    EXPECT_EQ(NEB_XML_SetNode(children[isNamelessFirst ? 0 : 1], nullptr, "", nullptr), kOk);
    char *text = nullptr;
    const guarded::FailingAllocation second(2);
    EXPECT_EQ(NEB_XML_Transform(document, &text),
              isNamelessFirst ? kInvalid : uint32_t{NEB_XML_ERR_NO_MEMORY});
    EXPECT_EQ(text, nullptr);
    NEB_XML_FreeNode(document);
  }
}

TEST(Transform, SkipsOtherTypes) {
  XmlNode *node = trees::parsed("<a><b/></a>", false);
  XmlNode *other = nodeOfOtherType();
  for (const Print print : {NEB_XML_Transform, NEB_XML_TransformHead, NEB_XML_TransformTail}) {
    EXPECT_EQ(printedBy(print, other), "null");
  }
  ASSERT_EQ(NEB_XML_AddFirstChildNode(node, other), kOk);
  EXPECT_EQ(trees::printed(node), "<a>\n<b/>\n</a>\n");
  NEB_XML_FreeNode(node);
}

class TransformFile : public testing::Test {
 protected:
  void SetUp() override { fs::create_directory(folder_); }
  void TearDown() override {
    NEB_XML_FreeNode(document_);
    fs::remove_all(folder_);
  }

  uint32_t write(const fs::path &path) { return NEB_XML_TransformFile(document_, path.c_str()); }

  const fs::path folder_ = trees::temporaryFile("") + ".folder";
  const std::string file_ = folder_ / "a.xml";
  XmlNode *document_ = trees::parsed("<a><b>t</b></a>");
  const std::string text_ = "<a>\n<b>t</b>\n</a>\n";
};

TEST_F(TransformFile, HoldsTheTextWhateverWasThereBefore) {
  for (const char *before : {"", "an older and much longer text", "<a>"}) {
    std::ofstream(file_) << before;
    EXPECT_EQ(write(file_), kOk);
    EXPECT_EQ(trees::readFile(file_), text_);
  }
  EXPECT_EQ(guarded::fileCalls(), 0U) << "the hooks are for input files";
  XmlNode *unprinted = nodeOfOtherType();
  EXPECT_EQ(NEB_XML_TransformFile(unprinted, file_.c_str()), uint32_t{NEB_XML_ERR_FILE_WRITE});
  EXPECT_EQ(trees::readFile(file_), "") << "no item was written";
  NEB_XML_FreeNode(unprinted);
}

TEST_F(TransformFile, FailuresLeaveFilesAndDirectoriesAlone) {
  for (const fs::path &path : {folder_ / "missing" / "a.xml", folder_, fs::path()}) {
    EXPECT_EQ(write(path), uint32_t{NEB_XML_ERR_FILE_OPEN});
  }
  EXPECT_FALSE(fs::exists(folder_ / "missing"));
  EXPECT_EQ(write("/dev/full"), uint32_t{NEB_XML_ERR_FILE_WRITE});
  ASSERT_EQ(write(file_), kOk);
  EXPECT_EQ(NEB_XML_SetNode(NEB_XML_GetNodeFirstChild(document_), nullptr, "", nullptr), kOk);
  EXPECT_EQ(write(file_), kInvalid);
  EXPECT_EQ(write(folder_ / "new.xml"), kInvalid);
  EXPECT_EQ(trees::readFile(file_), text_);
  EXPECT_FALSE(fs::exists(folder_ / "new.xml"));
}

TEST_F(TransformFile, OpensPathsOf1024BytesAndFollowsLinks) {
  std::string path = folder_.string();
  path.append(1024 - path.size() - std::strlen("a.xml"), '/') += "a.xml";
  EXPECT_EQ(write("/" + path), uint32_t{NEB_XML_ERR_FILE_OPEN}) << "one byte too long";
  EXPECT_FALSE(fs::exists(file_));
  // A file not made yet, and a canonical path longer than the given one.
  fs::path deep = folder_;
  for (int i = 0; i < 6; ++i) deep /= std::string(200, 'd');
  fs::create_directories(deep);
  fs::create_symlink("target.xml", folder_ / "link.xml");
  fs::create_symlink(deep, folder_ / "deep");
  for (const fs::path &given : {fs::path(path), folder_ / "link.xml", folder_ / "deep" / "b.xml"}) {
    EXPECT_EQ(write(given), kOk) << "a new file";
    EXPECT_EQ(write(given), kOk) << "the same file";
    EXPECT_EQ(trees::readFile(given), text_);
  }
  EXPECT_TRUE(fs::is_symlink(folder_ / "link.xml"));
  EXPECT_EQ(trees::readFile(folder_ / "target.xml"), text_);
}

// More than a FIFO holds: the writer waits for its reader, but for none that is not there.
TEST_F(TransformFile, WritesToAFifoThatIsRead) {
  const std::string value(300'000, 'v');
  ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ(write(file_), uint32_t{NEB_XML_ERR_FILE_OPEN});
  EXPECT_EQ(NEB_XML_SetNode(NEB_XML_GetNodeFirstChild(document_), nullptr, nullptr, value.c_str()),
            kOk);
  const int reader = open(file_.c_str(), O_RDONLY | O_NONBLOCK);
  std::string text;
  std::thread reading([&] {
    pollfd readable = {reader, POLLIN, 0};
    char bytes[4096];
    for (ssize_t count = 1; count > 0 && poll(&readable, 1, -1) == 1;) {
      count = read(reader, bytes, sizeof bytes);
      text.append(bytes, static_cast<size_t>(std::max<ssize_t>(count, 0)));
    }
  });
  EXPECT_EQ(write(file_), kOk);
  reading.join();
  close(reader);
  EXPECT_EQ(text, "<a>\n<b>" + value + "</b>\n</a>\n");
  EXPECT_TRUE(fs::is_fifo(file_));
}

}  // namespace
