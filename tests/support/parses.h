// Parses a document in every way, between unreadable pages.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/calls.h"
#include "support/guarded_hooks.h"
#include "support/layout.h"
#include "support/page_edge.h"
#include "support/trees.h"
#include "xml/memory/session_table.h"
#include "xml/parser/builder.h"
#include "xml/parser/language.h"

namespace parses {

using namespace neb::xml::internal;

inline const guarded::PageEdge kEdge(size_t{1} << 18);

// A tree in an arena that the tokenizer has read alone, without the scanner.
template <typename Language>
uint32_t tokenized(const char *text, XmlNode **document) {
  if (isMissing(text)) return kInvalid;
  *document = nullptr;
  const uint32_t session = XML_MemSessionBegin(kDocumentSessionSize);
  using Builder = TreeBuilder<ArenaAllocation, Language::kIsStrict>;
  Builder builder(Storage(session), XML_NewNode(session, NEB_XML_NODE_DOCUMENT));
  typename Language::template TokenizerOf<Builder> tokenizer(&builder, text);
  if (tokenizer.skipProlog() && tokenizer.readAll()) {
    *document = builder.release();
    return kOk;
  }
  XML_MemSessionEnd(session);
  return kSyntax;
}

// The tree, released with what stands beside it; "rejected" if there is none.
inline std::string releasedTree(XmlNode *document) {
  if (document == nullptr) return "rejected";
  const std::string tree = trees::described(document);
  XML_FreeNode(document);
  return tree;
}

inline std::string outcomeOf(uint32_t result, XmlNode *document) {
  EXPECT_EQ(result, uint32_t{document == nullptr ? kSyntax : kOk});
  return releasedTree(document);
}

// Where the allocations of a session's tree lie. Checks that the next allocation is zeroed.
template <typename Parse>
std::string laidOut(const std::string &text, Parse parse) {
  XmlNode *document = nullptr;
  if (parse(kEdge.text(text), &document) != kOk) return "";
  const XmlMemSession &session = *findSession(document->sessionId);
  EXPECT_EQ(std::string(document->nameTable[0], sizeof document->nameTable),
            std::string(sizeof document->nameTable, '\0'));
  std::vector<layout::Allocation> allocations = layout::inParseOrder(document);
  const bool isVerbatim = text.find('&') == text.npos && text.find("<![") == text.npos;
  const layout::Model model(kDocumentSessionSize);
  EXPECT_EQ(isVerbatim ? layout::misplaced(model, session, allocations) : "", "") << text;
  allocations.push_back({XML_MemSpecialMalloc(document->sessionId, 100), 100});
  const auto *next = static_cast<const char *>(allocations.back().start);
  EXPECT_EQ(std::string(next, 100), std::string(100, '\0'));
  std::string layout = trees::described(document);
  for (const auto &each : allocations) layout += " " + layout::locationIn(session, each.start);
  for (const XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
    layout += std::to_string(node->nameOwned) + std::to_string(node->valueOwned);
  }
  NEB_XML_FreeNode(document);
  return layout;
}

// A report of a malformed document names a line and a column of it, and what stands in it.
inline void expectPosition(const std::string &text, const NEB_XML_PARSE_ERROR &error) {
  const std::string before = text.substr(0, error.offset);
  EXPECT_TRUE(before.size() == error.offset && before.find('\0') == before.npos) << text;
  EXPECT_EQ(error.line, 1U + static_cast<size_t>(std::count(before.begin(), before.end(), '\n')));
  EXPECT_EQ(error.column, before.size() - (before.rfind('\n') + 1) + 1) << text;
  EXPECT_LE(error.endNameOffset + error.endNameLength, text.size());
  EXPECT_LE(error.startNameOffset + error.startNameLength, text.size());
  EXPECT_TRUE(error.startNameLength == 0 || text[error.startTagOffset] == '<') << text;
}

// The byte order mark of UTF-8, which the calls that report skip.
inline constexpr std::string_view kMark = "\xEF\xBB\xBF";

// What strict reading makes of a document.
struct Strict {
  std::string tree;  // "rejected" if there is none
  NEB_XML_PARSE_ERROR error = {};
  char message[256] = {};
};

// The tree that strict reading makes, by the scanner on the heap and in a session, and by the
// tokenizer alone.
inline Strict strictOutcome(const std::string &text) {
  Strict outcome;
  NEB_XML_READ_OPTIONS options = {};
  options.size = sizeof options;
  options.message = outcome.message;
  options.messageSize = sizeof outcome.message;
  XmlNode *document = nullptr;
  const char *bytes = kEdge.before(text);
  const uint32_t result = NEB_XML_Read(bytes, text.size(), &options, &document, &outcome.error);
  outcome.tree = releasedTree(document);
  EXPECT_EQ(result == kOk, outcome.tree != "rejected") << text;
  EXPECT_EQ(outcome.error.code, result) << text;
  XmlNode *onHeap = nullptr;
  EXPECT_EQ(
      NEB_XML_ParseBuffer(kEdge.behind(text), text.size(), NEB_XML_PARSE_STRICT, &onHeap, nullptr),
      result)
      << text;
  EXPECT_EQ(releasedTree(onHeap), outcome.tree) << text;
  if (result != kOk) {
    EXPECT_NE(outcome.message[0], '\0');
    expectPosition(text, outcome.error);
    return outcome;
  }
  const std::string_view terminated(text.c_str(), text.size() + 1);
  const char *begin = kEdge.before(terminated) + (text.starts_with(kMark) ? kMark.size() : 0);
  EXPECT_EQ(tokenized<StrictLanguage>(begin, &document), kOk) << text;
  EXPECT_EQ(releasedTree(document), outcome.tree) << text;
  return outcome;
}

// The tree that every entry point makes of a text, by the scanner and by the tokenizer alone.
inline std::string outcome(const std::string &text) {
  const std::string_view terminated(text.c_str(), text.size() + 1);
  std::string outcomes[6];
  NEB_XML_PARSE_ERROR errors[2] = {};
  for (const uint32_t kind : {0U, 1U}) {
    const auto parse = kind == 0 ? NEB_XML_Parse : NEB_XML_ParseEx;
    XmlNode *document = nullptr;
    uint32_t result = parse(kEdge.before(terminated), &document);
    outcomes[kind] = outcomeOf(result, document);
    result = parse(kEdge.behind(terminated), &document);
    outcomes[2 + kind] = outcomeOf(result, document);
    document = nullptr;
    if (text.starts_with(kMark)) {
      outcomes[4 + kind] = outcomes[kind];
      continue;
    }
    const char *bytes = kEdge.before(text);
    result = NEB_XML_ParseBuffer(bytes, text.size(), kind, &document, &errors[kind]);
    outcomes[4 + kind] = outcomeOf(result, document);
    EXPECT_EQ(std::string(bytes, text.size()), text) << "the input was written to";
  }
  for (const std::string &each : outcomes) EXPECT_EQ(each, outcomes[0]) << text;
  EXPECT_EQ(errors[0].offset, errors[1].offset) << text;
  const bool isRefused = outcomes[0] == "rejected" && !text.starts_with(kMark);
  EXPECT_EQ(errors[0].reason != nullptr, isRefused) << text;
  if (errors[0].reason != nullptr) expectPosition(text, errors[0]);
  const std::string layout = laidOut(text, NEB_XML_ParseEx);
  EXPECT_EQ(layout, laidOut(text, tokenized<LenientLanguage>)) << text;
  strictOutcome(text);
  const guarded::UnclearedMemory memory;
  EXPECT_EQ(layout, laidOut(text, NEB_XML_ParseEx)) << text;
  return outcomes[0];
}

}  // namespace parses
