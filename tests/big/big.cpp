// Texts and files beyond 2 and 4 GiB end in a right tree or a clean code. Run on demand only: it
// takes minutes, and up to nine gigabytes.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

#include "support/trees.h"

namespace {

constexpr size_t kMiB = size_t{1} << 20;
constexpr size_t kGiB = size_t{1} << 30;

// A text that begins and ends as told and is full of one byte in between. All but its ends is one
// piece of memory, seen again and again.
class HugeText {
 public:
  HugeText(const std::string &begin, char fill, size_t size, const std::string &end)
      : size_((size + kPiece - 1) / kPiece * kPiece) {
    const int file = memfd_create("piece", 0);
    EXPECT_EQ(ftruncate(file, kPiece), 0);
    text_ = static_cast<char *>(
        mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    EXPECT_NE(static_cast<void *>(text_), MAP_FAILED);
    void *piece = mmap(nullptr, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    EXPECT_NE(piece, MAP_FAILED);
    std::memset(piece, fill, kPiece);
    munmap(piece, kPiece);
    for (size_t at = 0; at < size_; at += kPiece) {
      EXPECT_NE(mmap(text_ + at, kPiece, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_FIXED, file, 0),
                MAP_FAILED);
    }
    close(file);
    std::memcpy(text_, begin.data(), begin.size());
    std::memcpy(text_ + size_ - end.size() - 1, end.c_str(), end.size() + 1);
  }
  ~HugeText() { munmap(text_, size_); }
  HugeText(const HugeText &) = delete;
  HugeText &operator=(const HugeText &) = delete;

  const char *text() const { return text_; }
  size_t length() const { return size_ - 1; }
  size_t placeOf(const std::string &end) const { return size_ - 1 - end.size(); }

 private:
  static constexpr size_t kPiece = 16 * kMiB;
  size_t size_;
  char *text_ = nullptr;
};

size_t lengthOfValue(const XmlNode *node) {
  const char *value = nullptr;
  EXPECT_EQ(NEB_XML_GetNodeValue(node, nullptr, nullptr, nullptr, &value), kOk);
  return value == nullptr ? 0 : std::strlen(value);
}

// Elements before and after four gigabytes of white space and comments are parsed. Names and values
// of two gigabytes are refused, wherever they stand and whatever they hold.
TEST(Big, TextsBeyond4GiBAndStringsOf2GiB) {
  constexpr size_t kTexts = 4 * kGiB + 5 * kMiB, kStrings = 2 * kGiB + kMiB;
  const std::tuple<size_t, const char *, char, const char *> cases[] = {
      {kTexts, "<r><a>v</a>", ' ', "<b>w</b></r>"},
      {kTexts, "<r><a>v</a><!--", 'c', "--><b>w</b></r>"},
      {kTexts, "<r><a>v</a><?p", '>', "?><b>w</b></r>"},
      {kTexts, "<!DOCTYPE r [\"", 'd', "\"]><r><a>v</a><b>w</b></r>"},
      {kTexts, "<r><a>v</a><b ", '\n', ">w</b></r>"},
      {kStrings, "<r>", 'x', "</r>"},
      {kStrings, "<r>&amp;", 'x', "</r>"},
      {kStrings, "<r a='", 'x', "'/>"},
      {kStrings, "<r ", 'x', "='v'/>"},
      {kStrings, "<r ", 'x', ":a='v'/>"},
      {kStrings, "<", 'x', "/>"},
      {kStrings, "<r><![CDATA[", 'x', "]]></r>"},
      {kStrings, "<r>\n", ' ', "</r>"},
  };
  for (const auto &[size, begin, fill, end] : cases) {
    SCOPED_TRACE(begin);
    const HugeText text(begin, fill, size, end);
    for (const auto parse : {NEB_XML_Parse, NEB_XML_ParseEx}) {
      XmlNode *document = nullptr;
      EXPECT_EQ(parse(text.text(), &document), size == kTexts ? kOk : kSyntax);
      const trees::Held held{document};
      EXPECT_EQ(document != nullptr, size == kTexts);
      if (document == nullptr) continue;
      char *printed = nullptr;
      ASSERT_EQ(NEB_XML_Transform(document, &printed), kOk);
      EXPECT_STREQ(printed, "<r>\n<a>v</a>\n<b>w</b>\n</r>\n");
      NEB_XML_FreeMem(printed);
    }
  }
}

TEST(Big, AFaultBeyond4GiBIsFoundThere) {
  const std::string end = "<b></c></r>";
  const HugeText text("<r>", '\n', 4 * kGiB + 5 * kMiB, end);
  XmlNode *document = nullptr;
  NEB_XML_PARSE_ERROR error;
  ASSERT_EQ(NEB_XML_ParseBuffer(text.text(), text.length(), 0, &document, &error), kSyntax);
  EXPECT_EQ(error.offset, text.placeOf(end) + 3);
  EXPECT_EQ(error.line, text.placeOf(end) - std::strlen("<r>") + 1);
  EXPECT_EQ(error.column, 4U);
  EXPECT_EQ(error.startTagOffset, text.placeOf(end));
}

// A session takes pieces that its blocks cannot be doubled to.
TEST(Big, AStringBelow2GiBIsTakenByAllParses) {
  for (const size_t size : {kGiB + kMiB, 2 * kGiB - 48 * kMiB}) {
    const HugeText text("<r>", 'x', size, "</r>");
    for (const auto parse : {NEB_XML_Parse, NEB_XML_ParseEx}) {
      XmlNode *document = nullptr;
      ASSERT_EQ(parse(text.text(), &document), kOk);
      const trees::Held held{document};
      EXPECT_EQ(lengthOfValue(document), text.length() - std::strlen("<r></r>"));
      EXPECT_EQ(NEB_XML_AddAttr(document, nullptr, "a", "1"), kOk) << "the session goes on";
    }
  }
}

// Through the hooks a value may be longer than what a text may hold; a session has no such piece.
TEST(Big, AValueBeyond2GiBIsKeptPrintedAndCopied) {
  const HugeText value("", 'x', 2 * kGiB + kMiB, "");
  XmlNode *node = nullptr;
  ASSERT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "a", value.text(), &node), kOk);
  const trees::Held held{node};
  EXPECT_EQ(lengthOfValue(node), value.length());
  XmlNode *copy = nullptr;
  ASSERT_EQ(NEB_XML_CloneNode(node, &copy), kOk);
  EXPECT_EQ(lengthOfValue(copy), value.length());
  NEB_XML_FreeNode(copy);
  char *text = nullptr;
  ASSERT_EQ(NEB_XML_Transform(node, &text), kOk);
  const std::string end = "</a>\n";
  ASSERT_EQ(std::strlen(text), 3 + value.length() + end.size());
  EXPECT_EQ(text + 3 + value.length(), end);
  NEB_XML_FreeMem(text);

  ASSERT_EQ(NEB_XML_CreateNodeEx(0, NEB_XML_NODE_DOCUMENT, nullptr, "a", "old", &node), kOk);
  const trees::Held inSession{node};
  EXPECT_EQ(NEB_XML_SetNode(node, nullptr, nullptr, value.text()), kNoMemory);
  EXPECT_EQ(NEB_XML_ImportNode(node, held, &copy), kNoMemory);
  EXPECT_EQ(lengthOfValue(node), 3U);
}

TEST(Big, ATextOf4GiBIsNotPrinted) {
  const HugeText value("", '"', kGiB, "");  // six times as long once it is escaped
  XmlNode *node = nullptr;
  ASSERT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "a", value.text(), &node), kOk);
  const trees::Held held{node};
  char *text = nullptr;
  EXPECT_EQ(NEB_XML_Transform(node, &text), kNoMemory);
  EXPECT_EQ(text, nullptr);
  XmlMemBuf buffer;
  XML_MembufInit(&buffer);
  const HugeText half("", 'x', 3 * kGiB, "");
  ASSERT_EQ(XML_MemBufAppendStr(&buffer, half.text()), kOk);
  EXPECT_NE(XML_MemBufAppendStr(&buffer, half.text()), kOk);
  XML_MembufDestroy(&buffer);
}

// Files without blocks behind their first bytes; the text ends at the first NUL.
TEST(Big, AFileOf4GiBIsRefused) {
  std::string path = testing::TempDir() + "neb_xml_big_XXXXXX";
  close(mkstemp(path.data()));
  std::ofstream(path) << "<a/>";
  constexpr size_t kLargest = 4 * kGiB - 2;
  for (const size_t size : {kLargest, kLargest + 1, 4 * kGiB, 4 * kGiB + 4, 1024 * kGiB}) {
    std::filesystem::resize_file(path, size);
    XmlNode *document = nullptr;
    const uint32_t result = size == kLargest ? kOk : kFileRead;
    EXPECT_EQ(NEB_XML_ParseFile(path.c_str(), &document), result) << size;
    NEB_XML_FreeNode(document);
  }
  std::filesystem::remove(path);
}

}  // namespace
