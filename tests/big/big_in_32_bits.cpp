// Sizes near 2 and 4 GiB where addresses have 32 bits: documents, values and files end in a right
// tree or a clean code. Run on demand only: it takes four gigabytes of memory and two of a disk.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/trees.h"

namespace {

constexpr size_t kMiB = size_t{1} << 20;
constexpr uint64_t kGiB = uint64_t{1} << 30;

XmlNode *elementOf(size_t length, char byte) {
  const std::string value(length, byte);
  XmlNode *node = nullptr;
  EXPECT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "a", value.c_str(), &node), kOk);
  return node;
}

size_t lengthOfValue(const XmlNode *node) {
  const char *value = nullptr;
  EXPECT_EQ(NEB_XML_GetNodeValue(node, nullptr, nullptr, nullptr, &value), kOk);
  return std::strlen(value);
}

// Up to the last address: one more allocation would begin at the lowest ones again.
TEST(BigIn32Bits, ASessionGrowsUntilMemoryRunsOut) {
  constexpr size_t kLength = 160 * kMiB, kFew = 4, kMany = 26;
  const trees::Held source{elementOf(kLength, 'v')};
  XmlNode *node = nullptr;
  ASSERT_EQ(NEB_XML_CreateNodeEx(0, NEB_XML_NODE_DOCUMENT, nullptr, "r", nullptr, &node), kOk);
  const trees::Held document{node};
  size_t copies = 0;
  uint32_t result = kOk;
  for (; copies < kMany; ++copies) {
    result = NEB_XML_ImportNode(document, source, &node);
    if (result != kOk) break;
    ASSERT_EQ(NEB_XML_AppendChildNode(document, node), kOk);
  }
  EXPECT_EQ(result, kNoMemory);
  EXPECT_GE(copies, kFew);
  node = NEB_XML_GetNodeFirstChild(document);
  for (; node != nullptr; node = NEB_XML_GetNodeNextSibling(node), --copies) {
    EXPECT_EQ(lengthOfValue(node), kLength);
  }
  EXPECT_EQ(copies, 0U);
}

// A quotation mark takes six bytes once it is escaped. A file takes what no string can.
TEST(BigIn32Bits, WhatIsPrintedMayPass2GiBInAFileOnly) {
  constexpr size_t kLength = 400 * kMiB;
  const trees::Held node{elementOf(kLength, '"')};
  char *text = nullptr;
  EXPECT_EQ(NEB_XML_Transform(node, &text), kNoMemory);
  EXPECT_EQ(text, nullptr);
  const std::string path = testing::TempDir() + "out.xml";
  EXPECT_EQ(NEB_XML_Save(node, path.c_str(), nullptr), kOk);
  EXPECT_EQ(std::filesystem::file_size(path), 6ULL * kLength + std::strlen("<a></a>\n"));
}

// Files without blocks behind their first bytes; the document ends at the first NUL.
TEST(BigIn32Bits, FilesThatMemoryCannotHoldAreRefused) {
  const std::string path = testing::TempDir() + "in.xml";
  std::ofstream(path) << "<a/>";
  for (const uint64_t size : {kGiB / 2, 2 * kGiB - 2, 2 * kGiB - 1, 2 * kGiB, 2 * kGiB + 4,
                              4 * kGiB - 1, 4 * kGiB, 4 * kGiB + 4, 1024 * kGiB}) {
    std::filesystem::resize_file(path, size);
    XmlNode *document = nullptr;
    const uint32_t result = NEB_XML_ParseFile(path.c_str(), &document);
    const trees::Held held{document};
    // With its terminator the largest that an allocation can be: some systems have the memory.
    if (size != 2 * kGiB - 2) {
      EXPECT_EQ(result == kOk, size < kGiB) << size;
    }
    EXPECT_TRUE(result == kOk || result == kNoMemory || result == kFileRead) << size;
  }
}

}  // namespace
