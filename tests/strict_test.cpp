// Strict reading: what is accepted, and what is said of the rest.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "support/calls.h"
#include "support/data.h"
#include "support/guarded_hooks.h"
#include "support/kernels.h"
#include "support/parses.h"
#include "support/tables.h"
#include "support/trees.h"

namespace {

using parses::strictOutcome;
using Strict = EachKernel;

// A document of the table, with what is expected of it.
struct Case {
  uint32_t code;
  std::string expected;  // the tree or the message
  std::string text;
  size_t offset;
  bool isWellFormed;
};

std::vector<Case> table() {
  std::vector<Case> cases;
  Case current = {};
  for (const std::string &line : tables::linesOf("strict.txt")) {
    const std::string kinds = "=SUM";
    const size_t kind = line.size() > 1 && line[1] == ' ' ? kinds.find(line[0]) : kinds.npos;
    if (kind != kinds.npos) {
      constexpr uint32_t kCodes[] = {NEB_XML_OK, NEB_XML_ERR_SYNTAX, NEB_XML_ERR_UNSUPPORTED,
                                     NEB_XML_ERR_UNSUPPORTED};
      current.code = kCodes[kind];
      current.isWellFormed = kinds[kind] == 'U';
      current.expected = line.substr(2);
      continue;
    }
    current.text = line;
    current.offset = current.code == NEB_XML_OK ? 0 : line.find('^');
    if (current.code != NEB_XML_OK) current.text.erase(current.offset, 1);
    cases.push_back(current);
  }
  return cases;
}

TEST_P(Strict, ReadsXmlAndSaysWhatIsWrong) {
  std::set<std::string> reasons;
  for (const Case &each : table()) {
    SCOPED_TRACE(each.text);
    const parses::Strict outcome = strictOutcome(each.text);
    EXPECT_EQ(outcome.error.code, each.code);
    const bool isOk = each.code == NEB_XML_OK;
    EXPECT_EQ(isOk ? outcome.tree : outcome.message, each.expected);
    EXPECT_EQ(outcome.error.offset, each.offset);
    EXPECT_EQ(outcome.error.isWellFormed != 0, each.isWellFormed);
    if (!isOk) reasons.insert(outcome.error.reason);
  }
  EXPECT_EQ(reasons.size(), 48U) << "every reason that a short document can give";
}

// The same at every place in the words of the index, and near the end of a document or not. What is
// in front holds a character of each length of UTF-8.
TEST_P(Strict, SaysSoAnywhere) {
  const std::string before = "<z>\n<y x='\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80'/>";
  for (const Case &each : table()) {
    const bool isContent = each.text.starts_with("<a") && each.text.find('\0') == each.text.npos;
    const bool isWhole = each.expected.find("<a> is not closed") == each.expected.npos &&
                         each.expected.find("not closed") == each.expected.npos &&
                         !each.text.starts_with("<a/>") &&
                         !each.text.ends_with(">\n<!-- c --><a/>");
    if (!isContent || !isWhole) continue;
    for (size_t spaces = 0; spaces < 70; spaces += 3) {
      for (const size_t behind : {size_t{0}, size_t{500}}) {
        const std::string begin = before + std::string(spaces, ' ');
        const std::string text = begin + each.text + std::string(behind, '\n') + "</z>";
        const parses::Strict outcome = strictOutcome(text);
        EXPECT_EQ(outcome.error.code, each.code) << text;
        const size_t offset = each.code == NEB_XML_OK ? 0 : begin.size() + each.offset;
        EXPECT_EQ(outcome.error.offset, offset) << text;
        EXPECT_EQ(outcome.error.isWellFormed != 0, each.isWellFormed) << text;
      }
    }
  }
}

// Every way to have wrong UTF-8, at every place in the vectors, is found; and nothing else.
TEST_P(Strict, FindsEachWrongSequence) {
  const auto isRead = [](const std::string &bytes, size_t before) {
    const std::string text =
        "<a>" + std::string(before, 'x') + bytes + std::string(70, 'y') + "</a>";
    return strictOutcome(text).tree != "rejected";
  };
  for (size_t first = 0x80; first < 0x100; ++first) {
    for (size_t second = 0x70; second < 0x100; second += second < 0x80 ? 16 : 1) {
      std::string bytes = {static_cast<char>(first), static_cast<char>(second)};
      const bool isTail = second >= 0x80 && second < 0xC0;
      bool isRight = first >= 0xC2 && first < 0xE0 && isTail;
      if (first >= 0xE0 && first < 0xF0) {
        bytes += '\x80';
        isRight = isTail && (first != 0xE0 || second >= 0xA0) && (first != 0xED || second < 0xA0);
      } else if (first >= 0xF0) {
        bytes += "\x80\x80";
        isRight = isTail && first < 0xF5 && (first != 0xF0 || second >= 0x90) &&
                  (first != 0xF4 || second < 0x90);
      }
      const size_t before = (first * 7 + second) % 64;
      EXPECT_EQ(isRead(bytes, before), isRight) << first << ' ' << second;
    }
  }
  for (size_t before = 0; before < 140; ++before) {
    EXPECT_TRUE(isRead("\xF0\x9F\x98\x80\xE2\x82\xAC\xC3\xA9", before));
    for (const char *wrong : {"\xF0\x9F\x98", "\xE2\x82", "\xC3", "\x80", "\xEF\xBF\xBF", "\x02"}) {
      EXPECT_FALSE(isRead(wrong, before)) << before;
    }
  }
}

NEB_XML_READ_OPTIONS optionsOfSize() {
  NEB_XML_READ_OPTIONS options = {};
  options.size = sizeof options;
  return options;
}

TEST_P(Strict, KeepsLimits) {
  const std::string text = "<a><b x='' y='1'><c>t</c><c/></b><d/></a>" + std::string(600, '\n');
  const auto read = [&](NEB_XML_READ_OPTIONS options, NEB_XML_PARSE_ERROR *error) {
    XmlNode *document = nullptr;
    const uint32_t result = NEB_XML_Read(text.data(), text.size(), &options, &document, error);
    EXPECT_EQ(document != nullptr, result == NEB_XML_OK);
    NEB_XML_FreeNode(document);
    return result;
  };
  for (uint32_t limit = 1; limit < 10; ++limit) {
    NEB_XML_READ_OPTIONS depth = optionsOfSize();
    NEB_XML_READ_OPTIONS nodes = depth;
    depth.maxDepth = limit;
    nodes.maxNodes = limit;
    NEB_XML_PARSE_ERROR error = {};
    constexpr size_t kDeep[] = {0, 3, 17};
    EXPECT_EQ(read(depth, &error), limit < 3 ? NEB_XML_ERR_LIMIT : NEB_XML_OK) << limit;
    EXPECT_EQ(error.offset, limit < 3 ? kDeep[limit] : 0);
    constexpr size_t kNodes[] = {0, 3, 6, 11, 17, 25, 33};
    error = {};
    EXPECT_EQ(read(nodes, &error), limit < 7 ? NEB_XML_ERR_LIMIT : NEB_XML_OK) << limit;
    EXPECT_EQ(error.offset, limit < 7 ? kNodes[limit] : 0);
  }
  NEB_XML_READ_OPTIONS noDoctype = optionsOfSize();
  noDoctype.flags = NEB_XML_PARSE_NO_DOCTYPE;
  EXPECT_EQ(read(noDoctype, nullptr), NEB_XML_OK);
}

// Behind what is not supported, a limit ends the check, and short memory the call.
TEST_P(Strict, SaysWhetherAllWasChecked) {
  // As many as take the same memory whatever the width of pointers.
  constexpr uint32_t kInner = 1600 / sizeof(void *);
  const std::string text =
      "<a>t<b>" + tables::repeated("<c>", kInner) + tables::repeated("</c>", kInner) + "</b></a>";
  NEB_XML_PARSE_ERROR error = {};
  const auto read = [&](const NEB_XML_READ_OPTIONS *options) {
    error = {};
    XmlNode *document = nullptr;
    return NEB_XML_Read(text.data(), text.size(), options, &document, &error);
  };
  const struct {
    uint32_t depth;
    size_t nodes, bytes;
    uint32_t code;
    size_t isWellFormed;
  } rows[] = {
      {kInner + 2, kInner + 2, 40'000, NEB_XML_ERR_UNSUPPORTED, 1},
      {kInner + 1, 0, 0, NEB_XML_ERR_UNSUPPORTED, 0},
      {1, 0, 0, NEB_XML_ERR_UNSUPPORTED, 0},
      {0, kInner + 1, 0, NEB_XML_ERR_UNSUPPORTED, 0},
      {0, 1, 0, NEB_XML_ERR_UNSUPPORTED, 0},
      {0, 0, 12'000, NEB_XML_ERR_UNSUPPORTED, 0},
      {0, 0, 9'000, NEB_XML_ERR_LIMIT, 0},
  };
  for (const auto &row : rows) {
    NEB_XML_READ_OPTIONS options = optionsOfSize();
    options.maxDepth = row.depth;
    options.maxNodes = row.nodes;
    options.maxBytes = row.bytes;
    EXPECT_EQ(read(&options), row.code);
    EXPECT_EQ(error.isWellFormed, row.isWellFormed) << row.depth << row.nodes << row.bytes;
    EXPECT_EQ(error.offset, row.code == NEB_XML_ERR_LIMIT ? 0U : 4U);
  }
  bool hasFailed = true;
  for (size_t n = 1; hasFailed; ++n) {
    const guarded::FailingAllocation failing(n);
    const bool isChecked = read(nullptr) == NEB_XML_ERR_UNSUPPORTED;
    hasFailed = failing.happened();
    EXPECT_EQ(error.code, isChecked ? NEB_XML_ERR_UNSUPPORTED : NEB_XML_ERR_NO_MEMORY) << n;
    EXPECT_EQ(error.isWellFormed, isChecked ? 1U : 0U) << n;
    EXPECT_TRUE(isChecked || hasFailed);
  }
}

TEST(ReadOptions, AreKnownOrRefused) {
  const std::string text = "<!DOCTYPE a><a/>";
  const auto read = [&](const void *options) {
    XmlNode *document = nullptr;
    const uint32_t result =
        NEB_XML_Read(text.data(), text.size(), static_cast<const NEB_XML_READ_OPTIONS *>(options),
                     &document, nullptr);
    NEB_XML_FreeNode(document);
    return result;
  };
  struct Later {
    NEB_XML_READ_OPTIONS options;
    char more[8];
  } later = {};
  EXPECT_EQ(read(nullptr), NEB_XML_OK);
  EXPECT_EQ(read(&later), NEB_XML_OK);
  later.options.maxDepth = 1;
  EXPECT_EQ(read(&later), NEB_XML_ERR_INVALID_PARAM) << "a size was forgotten";
  later.options.size = sizeof later.options - 1;
  EXPECT_EQ(read(&later), NEB_XML_ERR_INVALID_PARAM);
  later.options.size = sizeof later;
  EXPECT_EQ(read(&later), NEB_XML_OK);
  later.more[7] = 1;
  EXPECT_EQ(read(&later), NEB_XML_ERR_INVALID_PARAM) << "unknown fields";
  NEB_XML_READ_OPTIONS options = optionsOfSize();
  options.flags = NEB_XML_PARSE_NO_DOCTYPE;
  EXPECT_EQ(read(&options), NEB_XML_ERR_UNSUPPORTED);
  for (const uint32_t flags : {1U, 2U, 8U}) {
    options.flags = flags;
    EXPECT_EQ(read(&options), NEB_XML_ERR_INVALID_PARAM);
  }
  options.flags = 0;
  options.allocate = [](void *, size_t) -> void * { return nullptr; };
  EXPECT_EQ(read(&options), NEB_XML_ERR_INVALID_PARAM) << "nothing to free it with";
}

// A sentence that does not fit ends behind a whole character.
TEST(ReadOptions, CutMessages) {
  const std::string text = "<\xC3\xA9>";
  const std::string whole = "element <\xC3\xA9> is not closed";
  for (size_t size = 0; size < whole.size() + 3; ++size) {
    std::string message(40, '#');
    NEB_XML_READ_OPTIONS options = optionsOfSize();
    options.message = message.data();
    options.messageSize = size;
    XmlNode *document = nullptr;
    EXPECT_EQ(NEB_XML_Read(text.data(), text.size(), &options, &document, nullptr),
              NEB_XML_ERR_SYNTAX);
    const size_t written = message.find('#');
    EXPECT_LE(written, size);
    if (size == 0) continue;
    const std::string expected = whole.substr(0, size == 11 ? 9 : size - 1);
    EXPECT_EQ(std::string(message.c_str()), expected);
  }
}

TEST(ReadOptions, DoNotChangeWhatLoadingReads) {
  const std::string path = trees::temporaryFile("\xEF\xBB\xBF<a>\r\n</a>");
  XmlNode *document = nullptr;
  ASSERT_EQ(NEB_XML_Load(path.c_str(), nullptr, &document, nullptr), NEB_XML_OK);
  EXPECT_STREQ(document->value, "\n");
  NEB_XML_FreeNode(document);
  NEB_XML_PARSE_ERROR error = {};
  EXPECT_EQ(NEB_XML_Load(trees::temporaryFile("").c_str(), nullptr, &document, &error),
            NEB_XML_ERR_SYNTAX);
  EXPECT_STREQ(error.reason, "the file is empty");
}

// What is missing at the end of a document is missed, wherever it ends. Whole documents may be
// followed by white space and comments only.
TEST_P(Strict, RefusesEveryBeginning) {
  for (const char *name : {"device.xml", "inventory.xml", "measurements.xml"}) {
    const std::string sample = trees::readFile(std::string(NEB_XML_SAMPLES_DIR "/") + name);
    const size_t end = sample.rfind('>') + 1;
    const std::string whole = strictOutcome(sample).tree;
    EXPECT_NE(whole, "rejected");
    for (size_t length = 0; length <= sample.size(); ++length) {
      const std::string beginning =
          sample.substr(0, length) + (length % 2 == 0 ? "" : " <!---->\n");
      const std::string tree = beginning.empty() ? "rejected" : strictOutcome(beginning).tree;
      EXPECT_EQ(tree, length < end ? "rejected" : whole) << name << ' ' << length;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Kernels, Strict, allKernels(), nameOfKernel);

}  // namespace
