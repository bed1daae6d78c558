// Parses any bytes through every entry point, and by the tokenizer alone. All must return the same
// code and tree, read nothing behind the input, and report the position of an error.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "../../tests/support/page_edge.h"
#include "../../tests/support/tokenized.h"
#include "support/hooks.h"
#include "support/require.h"
#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

constexpr size_t kLongestInput = 1 << 16;

// Bytes that no document needs stand for runs as long as the library's chunks, or longer, because
// inputs are too short for such runs.
constexpr size_t kRuns[] = {0, 600, 2100, 4100, 9000};
constexpr size_t kLongestWithRuns = 12000;

std::string withRuns(std::string_view input) {
  std::string document;
  for (const char byte : input) {
    const auto kind = static_cast<uint8_t>(byte);
    if (kind != 0 && kind < std::size(kRuns) && document.size() + kRuns[kind] < kLongestWithRuns) {
      document.append(kRuns[kind], 'r');
    } else {
      document.push_back(byte);
    }
  }
  return document;
}

// The input, in the form of each kind of entry point. Files are parsed by the same code.
std::string g_input;
const char *g_text;    // terminated
const char *g_buffer;  // not terminated
const char *g_long;    // behind white space, so that the library does not copy it

constexpr uint32_t kSession = NEB_XML_PARSE_SESSION;
using Error = NEB_XML_PARSE_ERROR;

struct Entry {
  uint32_t (*parse)(XmlNode **document, Error *error);
  bool withSession;
  bool clearsPointer;
  bool fillsError;
};

constexpr Entry kEntries[] = {
    {[](XmlNode **out, Error *) { return tokenized(g_text, out); }, true, true, false},
    {[](XmlNode **out, Error *) { return NEB_XML_Parse(g_text, out); }, false, true, false},
    {[](XmlNode **out, Error *) { return NEB_XML_ParseEx(g_text, out); }, true, true, false},
    {[](XmlNode **out, Error *) { return NEB_XML_ParseEx(g_long, out); }, true, true, false},
    {[](XmlNode **out, Error *error) {
       return NEB_XML_ParseBuffer(g_buffer, g_input.size(), 0, out, error);
     },
     false, false, true},
    {[](XmlNode **out, Error *error) {
       return NEB_XML_ParseBuffer(g_buffer, g_input.size(), kSession, out, error);
     },
     true, false, true},
};

bool isName(size_t offset, size_t length) {
  return length <= g_input.size() && offset <= g_input.size() - length;
}

void checkError(const Error &error, uint32_t result, bool hasPosition) {
  require(error.code == result && error.reason != nullptr && error.reason[0] != '\0');
  if (!hasPosition) return require(error.line == 0 && error.column == 0 && error.offset == 0);
  const std::string_view before = std::string_view(g_input).substr(0, error.offset);
  require(before.size() == error.offset && before.find('\0') == std::string::npos);
  require(error.line == 1 + static_cast<size_t>(std::count(before.begin(), before.end(), '\n')));
  require(error.column == before.size() - (before.rfind('\n') + 1) + 1);
  require(isName(error.endNameOffset, error.endNameLength));
  require(isName(error.startNameOffset, error.startNameLength));
  if (error.startNameLength != 0) require(g_input[error.startTagOffset] == '<');
}

// Null after a failure.
XmlNode *parse(const Entry &entry, uint32_t *result, bool isEmpty) {
  XmlNode *const untouched = reinterpret_cast<XmlNode *>(&g_input);
  XmlNode *document = untouched;
  Error error = {};
  *result = entry.parse(&document, &error);
  if (*result == kOk) {
    require(document != untouched && document != nullptr);
    require((document->sessionId != 0) == entry.withSession);
    require(error.reason == nullptr);
    return document;
  }
  const bool isCleared = entry.clearsPointer && *result != kInvalid;
  require(document == (isCleared ? nullptr : untouched));
  if (entry.fillsError && !hooks::hasFailed()) checkError(error, *result, !isEmpty);
  return nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > kLongestInput / 2) return 0;
  hooks::begin();
  static const guarded::PageEdge textMemory(2 * kLongestInput);
  static const guarded::PageEdge bufferMemory(kLongestInput);
  g_input = withRuns({reinterpret_cast<const char *>(data), size});
  g_text = textMemory.text(g_input);
  g_buffer = bufferMemory.before(g_input);
  const bool isEmpty = size == 0 || data[0] == 0;
  static const guarded::PageEdge longMemory(2 * kLongestInput);
  constexpr size_t kWhitespace = 4096;
  const std::string longInput = std::string(kWhitespace, ' ') + g_input;
  g_long = isEmpty ? g_text : longMemory.text(longInput);

  XmlNode *first = nullptr;
  std::string expected;
  size_t hash = size;
  for (size_t i = 0; i < size; ++i) hash = hash * 31 + data[i];
  // Not the first entry: tokenized() does not check its allocations.
  constexpr size_t kOthers = std::size(kEntries) - 1;
  const Entry &failingEntry = kEntries[1 + hash % kOthers];
  size_t failingAllocations = 0;
  for (const Entry &entry : kEntries) {
    const size_t outstanding = hooks::outstanding();
    const size_t allocations = hooks::allocations();
    uint32_t result = 0;
    XmlNode *document = parse(entry, &result, isEmpty);
    if (&entry == &failingEntry) failingAllocations = hooks::allocations() - allocations;
    if (isEmpty) {
      require(result == kInvalid);
    } else if (document == nullptr) {
      require(result == kSyntax && first == nullptr);
    } else if (&entry == kEntries) {
      first = document;
      expected = trees::described(first);
      continue;
    } else {
      require(first != nullptr && trees::described(document) == expected);
    }
    XML_FreeNode(document);
    require(hooks::outstanding() == outstanding);
  }
  require(std::memcmp(g_text, g_input.c_str(), g_input.size() + 1) == 0);
  XML_FreeNode(first);

  if (failingAllocations != 0) {
    uint32_t result = 0;
    hooks::failNth(1 + hash / kOthers % failingAllocations);
    require(parse(failingEntry, &result, false) == nullptr);
    require(result == kSyntax || result == kNoMemory);
  }
  require(hooks::outstanding() == 0);
  return 0;
}
