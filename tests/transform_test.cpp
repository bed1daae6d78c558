// Printing, lenient and exact, failures, and writing to a file. The fuzzer roundtrip compares whole
// trees and their halves with a model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/data.h"
#include "support/emulation.h"
#include "support/guarded_hooks.h"
#include "support/tables.h"
#include "support/trees.h"
#include "support/usable_size.h"
#include "xml/record/node.h"

#if defined(NEB_XML_POSIX)
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace neb::xml::internal;

namespace {

namespace fs = std::filesystem;

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

// With the hooks of a caller the output is gathered in chunks, else in one buffer that grows. Here
// every part of some markup comes last in a chunk or a buffer.
TEST(Transform, PrintsShortMarkupWhereverRoomEnds) {
  struct Case {
    size_t name, attributes;
    bool withHooks, withSession;
  };
  std::vector<Case> cases;
  for (const size_t name : {1U, 8U, 9U, 16U, 17U}) {
    for (unsigned flags = 0; flags < 12; ++flags) {
      cases.push_back({name, flags / 4, flags % 2 == 0, flags / 2 % 2 == 0});
    }
  }
  for (const auto &[name, attributes, withHooks, withSession] : cases) {
    const auto memory = withHooks ? nullptr : std::make_unique<guarded::UnclearedMemory>();
    for (size_t filler = withHooks ? 850 : 3920; filler < (withHooks ? 1150 : 4220); ++filler) {
      const std::string before = "<r>\n<f>" + std::string(filler, 'f') + "&lt;</f>\n";
      const std::string prefix = filler % 2 == 0 ? "p:" : "";
      const std::string element = prefix + std::string(name, 'n');
      std::string text = before + "<" + element;
      for (const char letter : std::string("ab").substr(0, attributes)) {
        text += " " + prefix + std::string(name, letter) + "=\"sixteen letters \"";
      }
      text += ">sixteen letters.</" + element + ">\n</r>\n";
      const trees::Held document{trees::parsed(text, withSession)};
      EXPECT_EQ(withHooks ? printedBy(NEB_XML_Transform, document) : trees::printed(document),
                text);
      text.insert(before.size(), "  ");
      text.insert(text.find("<f>"), "  ");
      EXPECT_EQ(trees::printed(document, kPrintIndented), text);
    }
  }
}

// The C library's allocator moves and trims the buffer.
TEST(Transform, TakesNoMoreMemoryThanTheTextNeeds) {
  const guarded::UnclearedMemory memory;
  constexpr size_t kTwoPages = 8192;
  std::string text = "<r>\n";
  for (size_t items = 1; items <= 1 << 16; items *= 4) {
    while (text.size() < 16 * items) text += "<i>" + std::to_string(text.size()) + "</i>\n";
    const trees::Held document{trees::parsed(text + "</r>")};
    char *printed = nullptr;
    ASSERT_EQ(NEB_XML_Transform(document, &printed), kOk);
    EXPECT_EQ(printed, text + "</r>\n");
    EXPECT_LT(usableSize(printed), text.size() + kTwoPages);
    NEB_XML_FreeMem(printed);
  }
}

// Other systems cannot be told.
#if defined(NEB_XML_POSIX) && !defined(NEB_XML_SANITIZED)

// While it lives, the C library gets no more memory from the system.
class NoMoreMemory {
 public:
  NoMoreMemory() {
    getrlimit(RLIMIT_AS, &before_);
    const rlimit none = {1, before_.rlim_max};
    setrlimit(RLIMIT_AS, &none);
  }
  ~NoMoreMemory() { setrlimit(RLIMIT_AS, &before_); }
  NoMoreMemory(const NoMoreMemory &) = delete;
  NoMoreMemory &operator=(const NoMoreMemory &) = delete;

 private:
  rlimit before_ = {};
};

// More than the C library keeps of what was freed. Only glibc says how much is in use.
#if defined(M_PERTURB)
TEST(Transform, FreesABufferThatCannotGrow) {
  if (kIsEmulated) GTEST_SKIP() << "an emulator does not limit memory";
  const guarded::UnclearedMemory memory;
  constexpr size_t kLong = 40 * 1024 * 1024;
  const trees::Held document{trees::parsed("<a>" + std::string(kLong, 'v') + "</a>")};
  const auto used = [] { return mallinfo2().hblkhd + mallinfo2().uordblks; };
  const size_t before = used();
  char *text = nullptr;
  {
    const NoMoreMemory none;
    EXPECT_EQ(NEB_XML_Transform(document, &text), kNoMemory);
  }
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(used(), before);
  EXPECT_EQ(trees::printed(document).size(), kLong + std::strlen("<a></a>\n"));
}
#endif

#endif

TEST(Transform, TellsTheFirstOfSeveralFailures) {
  for (const bool isNamelessFirst : {false, true}) {
    const trees::Held document{trees::parsed("<a><b/><b/></a>", false)};
    XmlNode *children[] = {document->firstChild, document->lastChild};
    const std::string value(3000, 'v');
    for (XmlNode *child : children) {
      EXPECT_EQ(NEB_XML_SetNode(child, nullptr, nullptr, value.c_str()), kOk);
    }
    EXPECT_EQ(NEB_XML_SetNode(children[isNamelessFirst ? 0 : 1], nullptr, "", nullptr), kOk);
    char *text = nullptr;
    const guarded::FailingAllocation second(2);
    EXPECT_EQ(NEB_XML_Transform(document, &text), isNamelessFirst ? kInvalid : kNoMemory);
    EXPECT_EQ(text, nullptr);
  }
}

// ---- Exact output. That edited trees read back or are refused, the fuzzer roundtrip checks.

std::string indented(const XmlNode *node, uint32_t width) {
  char *text = nullptr;
  if (NEB_XML_TransformIndented(node, width, &text) != kOk) return "error";
  std::string copy = text;
  NEB_XML_FreeMem(text);
  return copy;
}

TEST(Indented, PutsSpacesBeforeLinesAndNowhereElse) {
  const trees::Held document{trees::parsed("<r a='1'><b><c>x  y</c><d/></b><e>t\tt</e></r>")};
  EXPECT_EQ(indented(document, 0), trees::printed(document));
  EXPECT_EQ(indented(document, 2),
            "<r a=\"1\">\n  <b>\n    <c>x  y</c>\n    <d/>\n  </b>\n  <e>t\tt</e>\n</r>\n");
  EXPECT_EQ(indented(NEB_XML_GetNodeFirstChild(document), 1), "<b>\n <c>x  y</c>\n <d/>\n</b>\n");
  EXPECT_EQ(indented(document, 16).find("<b>"), indented(document, 0).find("<b>") + 16);
  const std::string before = trees::printed(document);
  XmlNode *other = nodeOfOtherType();
  for (const Print print : {NEB_XML_Transform, NEB_XML_TransformHead, NEB_XML_TransformTail}) {
    EXPECT_EQ(printedBy(print, other), "null");
  }
  EXPECT_EQ(NEB_XML_AddFirstChildNode(document, other), kOk);
  EXPECT_EQ(trees::printed(document), before) << "a node of another type";
  EXPECT_EQ(indented(document, 0), "error");
  NEB_XML_FreeNode(other);
  for (const auto &[value, isLayout] : {std::pair(" \t\n\r", true), {" \v", false}, {"x", false}}) {
    EXPECT_EQ(NEB_XML_SetNode(document, nullptr, nullptr, value), kOk);
    EXPECT_EQ(indented(document, 0) != "error", isLayout) << "beside children";
  }
}

// What a lenient parse gives is printed so that it reads back, or is refused.
TEST(Indented, PrintsExactlyOrRefuses) {
  const std::string error = "error";
  std::vector<std::pair<std::string, std::string>> cases;
  const std::vector<std::string> lines = tables::linesOf("exact.txt");
  for (size_t i = 0; i + 1 < lines.size(); i += 2) cases.emplace_back(lines[i], lines[i + 1]);
  std::string names =
      "1 -a .a 1:a <![CDATA[]]> a&#32;b a&#10;b a&lt; a] a&amp; a&#47; a@ a[ a` a{ a; ";
  for (std::istringstream each(names + "a\x7F a\x01 a!b more-than-sixteen!"); each >> names;) {
    cases.insert(cases.end(), {{"<a " + names + "=''/>", error}, {"<" + names + " />", error}});
  }
  cases.insert(cases.end(), {{"<a &#58;b=''/>", error}, {"<a b&#58;=''/>", error}});
  for (char control = 1; control < ' '; ++control) {
    if (std::strchr("\t\n\r", control) != nullptr) continue;
    for (const std::string &value : {control + std::string("a"), std::string(20, 'b') + control}) {
      cases.insert(cases.end(),
                   {{"<a x='" + value + "'/>", error}, {"<a>" + value + "</a>", error}});
    }
  }
  for (const auto &[input, expected] : cases) {
    for (const bool withSession : {false, true}) {
      const trees::Held document{trees::parsed(input, withSession)};
      const std::string whole = indented(document, 0);
      EXPECT_EQ(whole, expected == error ? error : expected + "\n") << input;
      const trees::Held again{trees::parsed(expected == error ? input : indented(document, 16))};
      EXPECT_EQ(indented(again, 0), whole);
    }
  }
}

// The last of many is the first's twin when its prefix is that of the first, printed with a name.
TEST(Indented, RefusesAttributesOfOneNameAndShortMemory) {
  for (const size_t count : {2U, 24U, 25U, 26U, 70U, 1000U}) {
    for (const bool isTwin : {false, true}) {
      std::string text = "<a p&#58;x&#58;y=''";
      for (size_t i = 2; i < count; ++i) text += " name" + std::to_string(i) + "=''";
      const trees::Held document{
          trees::parsed(text + (isTwin ? " p:x&#58;y=''/>" : " p:x&#58;z=''/>"))};
      const size_t before = guarded::outstanding();
      uint32_t result = kNoMemory;
      for (size_t n = 1; result == kNoMemory; ++n) {
        const guarded::FailingAllocation failing(n);
        char *printed = nullptr;
        result = NEB_XML_TransformIndented(document, 0, &printed);
        NEB_XML_FreeMem(printed);
        EXPECT_EQ(guarded::outstanding(), before);
        EXPECT_EQ(result == kNoMemory, failing.happened());
      }
      EXPECT_EQ(result, isTwin ? kInvalid : kOk);
    }
  }
}

TEST(Indented, StopsGrowingAt128Columns) {
  using tables::repeated;
  const trees::Held document{
      trees::parsed(repeated("<a>", 5000) + "<b/>" + repeated("</a>", 5000))};
  const std::string printed = indented(document, 16);
  const std::string widest = std::string(128, ' ') + "<a>\n";
  EXPECT_NE(printed.find("\n" + std::string(112, ' ') + "<a>\n" + widest + widest), printed.npos);
  EXPECT_LT(printed.size(), 10000 * (widest.size() + 1));
}

// ---- Into a file

class TransformFile : public testing::Test {
 protected:
  void SetUp() override { fs::create_directory(folder_); }
  void TearDown() override { fs::remove_all(folder_); }

  uint32_t write(const fs::path &path) {
    return NEB_XML_TransformFile(document_, path.string().c_str());
  }

  const fs::path folder_ = trees::temporaryFile("") + ".folder";
  const std::string file_ = (folder_ / "a.xml").string();
  const trees::Held document_{trees::parsed("<a><b>t</b></a>")};
  const std::string text_ = "<a>\n<b>t</b>\n</a>\n";
};

TEST_F(TransformFile, HoldsTheTextWhateverWasThereBefore) {
  for (const char *before : {"", "an older and much longer text", "<a>"}) {
    std::ofstream(file_, std::ios::binary) << before;
    EXPECT_EQ(write(file_), kOk);
    EXPECT_EQ(trees::readFile(file_), text_);
  }
  EXPECT_EQ(guarded::fileCalls(), 0U) << "the hooks are for input files";
  const trees::Held unprinted{nodeOfOtherType()};
  EXPECT_EQ(NEB_XML_TransformFile(unprinted, file_.c_str()), kFileWrite);
  EXPECT_EQ(trees::readFile(file_), "") << "no item was written";
}

TEST_F(TransformFile, FailuresLeaveFilesAndDirectoriesAlone) {
  for (const fs::path &path : {folder_ / "missing" / "a.xml", folder_, fs::path()}) {
    EXPECT_EQ(write(path), kFileOpen);
  }
  EXPECT_FALSE(fs::exists(folder_ / "missing"));
  if (fs::exists("/dev/full")) {
    EXPECT_EQ(write("/dev/full"), kFileWrite);
  }
  ASSERT_EQ(write(file_), kOk);
  EXPECT_EQ(NEB_XML_SetNode(NEB_XML_GetNodeFirstChild(document_), nullptr, "", nullptr), kOk);
  EXPECT_EQ(write(file_), kInvalid);
  EXPECT_EQ(write(folder_ / "new.xml"), kInvalid);
  EXPECT_EQ(trees::readFile(file_), text_);
  EXPECT_FALSE(fs::exists(folder_ / "new.xml"));
}

TEST_F(TransformFile, OpensPathsOf1024Bytes) {
  std::string path = folder_.string();
  path.append(1024 - path.size() - std::strlen("a.xml"), '/') += "a.xml";
  EXPECT_EQ(write("/" + path), kFileOpen) << "one byte too long";
  EXPECT_FALSE(fs::exists(file_));
  EXPECT_EQ(write(path), kOk) << "a new file";
  EXPECT_EQ(write(path), kOk) << "the same file";
  EXPECT_EQ(trees::readFile(file_), text_);
}

#if defined(NEB_XML_POSIX)

// To a file not made yet, and to a canonical path longer than the given one.
TEST_F(TransformFile, FollowsLinks) {
  fs::path deep = folder_;
  for (int i = 0; i < 6; ++i) deep /= std::string(200, 'd');
  fs::create_directories(deep);
  fs::create_symlink("target.xml", folder_ / "link.xml");
  fs::create_symlink(deep, folder_ / "deep");
  for (const fs::path &given : {folder_ / "link.xml", folder_ / "deep" / "b.xml"}) {
    EXPECT_EQ(write(given), kOk) << "a new file";
    EXPECT_EQ(write(given), kOk) << "the same file";
    EXPECT_EQ(trees::readFile(given.string()), text_);
  }
  EXPECT_TRUE(fs::is_symlink(folder_ / "link.xml"));
  EXPECT_EQ(trees::readFile((folder_ / "target.xml").string()), text_);
}

// More than a FIFO holds: the writer waits for its reader, but for none that is not there.
TEST_F(TransformFile, WritesToAFifoThatIsRead) {
  const std::string value(300'000, 'v');
  ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ(write(file_), kFileOpen);
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

#endif

}  // namespace
