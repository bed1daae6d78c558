// Any bytes through every entry point, and by the tokenizer alone: all agree on code, tree and
// layout, read nothing behind the document and report where it is wrong, as the tests demand it of
// their documents. What strict reading accepts, other parsers read alike; what it calls not
// well-formed, they refuse. Besides, one allocation fails.
#include <algorithm>
#include <string>
#include <string_view>

#include "../../tests/support/parses.h"
#include "other_parsers/outline.h"
#include "support/guarded_hooks.h"
#include "support/require.h"
#include "xml/parser/reasons.h"

using namespace neb::xml::internal;

namespace {

constexpr size_t kLongestText = 1 << 15;

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

uint32_t parse(const std::string &text, size_t kind, XmlNode **document) {
  NEB_XML_PARSE_ERROR error;
  return kind == 0   ? NEB_XML_Parse(text.c_str(), document)
         : kind == 1 ? NEB_XML_ParseEx(text.c_str(), document)
                     : NEB_XML_ParseBuffer(text.data(), text.size(),
                                           static_cast<uint32_t>(kind - 2), document, &error);
}

// The input chooses which of all allocations it is.
void parseWithoutMemory(const std::string &text) {
  constexpr size_t kKinds = 4;
  size_t hash = text.size();
  for (const char byte : text) hash = hash * 31 + static_cast<uint8_t>(byte);
  XmlNode *document = nullptr;
  const size_t before = guarded::allocations();
  if (parse(text, hash % kKinds, &document) == kOk) XML_FreeNode(document);
  const size_t allocations = guarded::allocations() - before;
  guarded::failNth(1 + hash / kKinds % allocations);
  document = nullptr;
  const uint32_t result = parse(text, hash % kKinds, &document);
  require((result == kSyntax || result == kNoMemory) && document == nullptr);
  guarded::failNth(0);
}

bool holds(const std::string &text, const char *part) { return text.find(part) != text.npos; }

// Expat knows names by the fourth edition of XML, and not every name of an encoding.
bool isLessKnown(const std::string &text) {
  return std::any_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) != 0; }) ||
         holds(text, "encoding");
}

// What another parser reads; "refused" if it reads nothing.
std::string outlineByOthers(const std::string &text) {
  using namespace other_parsers;
  const std::string byExpat = outlineBy(kExpat, text);
  return byExpat == "refused" && isLessKnown(text) ? outlineBy(kLibxml2, text) : byExpat;
}

// A document type declaration is not checked in all of its parts, and may change what is read.
void requireAccepted(const std::string &text, const std::string &outline) {
  require(holds(text, "<!DOCTYPE") || outlineByOthers(text) == outline);
}

// Only entities and other encodings end the check of what is not supported.
void requireUnsupported(const std::string &text, const NEB_XML_PARSE_ERROR &error) {
  if (holds(text, "<!DOCTYPE")) return;
  const bool isOther = error.reason == reasons::kEncoding || error.reason == reasons::kUtf16 ||
                       error.reason == reasons::kUtf32;
  require((error.isWellFormed == 1) != isOther);
  require(isOther || outlineByOthers(text) != "refused");
}

// Expat accepts any version.
void requireRefused(const std::string &text, const NEB_XML_PARSE_ERROR &error) {
  if (error.code == NEB_XML_ERR_UNSUPPORTED) return requireUnsupported(text, error);
  require(error.code == kSyntax && error.isWellFormed == 0);
  if (error.reason == reasons::kDeclarationVersion) return;
  require(other_parsers::outlineBy(other_parsers::kExpat, text) == "refused");
}

void compareWithOthers(const std::string &text) {
  XmlNode *document = nullptr;
  NEB_XML_PARSE_ERROR error = {};
  if (NEB_XML_Read(text.data(), text.size(), nullptr, &document, &error) != kOk) {
    return requireRefused(text, error);
  }
  const std::string outline = other_parsers::outlineOf(document);
  NEB_XML_FreeNode(document);
  requireAccepted(text, outline);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > kLongestText || size == 0 || data[0] == 0) return 0;
  GTEST_FLAG_SET(throw_on_failure, true);  // what is not as expected ends the program
  guarded::begin();
  const std::string text = withRuns({reinterpret_cast<const char *>(data), size});
  const std::string tree = parses::outcome(text);
  constexpr size_t kBlanks = 4096;  // which the structural index does not cover at once
  require(parses::outcome(std::string(kBlanks, ' ') + text) == tree);
  if (!other_parsers::kOtherParsers.empty()) compareWithOthers(text);
  parseWithoutMemory(text);
  require(guarded::outstanding() == 0);
  return 0;
}
