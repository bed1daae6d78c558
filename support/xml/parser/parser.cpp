// The parse entry points.
#include "parser/parser.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <type_traits>

#include "kernels/chosen.h"
#include "ownership/new_session.h"
#include "parser/scanner.h"
#include "platform/compiler.h"

namespace neb::xml::internal {

namespace {

// The scanner's vectors are written by hand. Others, of fields that it keeps in registers, cost it
// more than they save. Where small code is wanted, the compiler decides what is inlined into the
// loops, and all machines share them. An attribute cannot depend on a constant.
#if defined(__OPTIMIZE_SIZE__)
#define NEB_XML_LOOP NEB_XML_NOINLINE NEB_XML_NO_VECTORS_OF_FIELDS
#else
#define NEB_XML_LOOP NEB_XML_NOINLINE NEB_XML_FLATTEN NEB_XML_NO_VECTORS_OF_FIELDS
#endif

// A build for machines with wide vectors alone has them in the only copy.
#if defined(__AVX2__) && defined(__BMI__) && defined(__BMI2__)
#define NEB_XML_ONLY_WIDE
#endif

struct AnyMachine {
#if defined(NEB_XML_ONLY_WIDE)
  using Vectors = WideVectors;
#else
  using Vectors = AnyVectors;
#endif
  template <typename Scanner>
  NEB_XML_LOOP static void scan(Scanner *scanner) {
    scanner->scan();
  }
  template <typename Scanner>
  NEB_XML_LOOP static const char *scanTag(Scanner *scanner, const char *cursor) {
    return scanner->scanTag(cursor);
  }
  template <typename Scanner, typename... Token>
  NEB_XML_LOOP static const char *scanDecoded(Scanner *scanner, Token... token) {
    return scanner->scanDecoded(token...);
  }
};

#if defined(NEB_XML_TARGETS) && !defined(__OPTIMIZE_SIZE__) && !defined(NEB_XML_ONLY_WIDE)
// The same, for machines with wide vectors.
struct WideMachine {
  using Vectors = WideVectors;
  template <typename Scanner>
  NEB_XML_TARGET("avx2,bmi,bmi2")
  NEB_XML_LOOP static void scan(Scanner *scanner) {
    scanner->scan();
  }
  template <typename Scanner>
  NEB_XML_TARGET("avx2,bmi,bmi2")
  NEB_XML_LOOP static const char *scanTag(Scanner *scanner, const char *cursor) {
    return scanner->scanTag(cursor);
  }
  template <typename Scanner, typename... Token>
  NEB_XML_TARGET("avx2,bmi,bmi2")
  NEB_XML_LOOP static const char *scanDecoded(Scanner *scanner, Token... token) {
    return scanner->scanDecoded(token...);
  }
};
#else
using WideMachine = AnyMachine;
#endif

// A program of few bytes has one builder for each language, and the tokenizer alone reads for it.
#if defined(NEB_XML_SMALL)
using InArena = AnyAllocation;
using OnHeap = AnyAllocation;
#else
using InArena = ArenaAllocation;
using OnHeap = HeapAllocation;
#endif

// Memory for the record of one parse, in an arena or on the heap.
class RecordMemory {
 public:
  explicit RecordMemory(const Allocator &allocator)
      : allocator_(allocator), memory_(allocator.allocate(kSize)) {}
  ~RecordMemory() { allocator_.release(memory_, kSize); }
  RecordMemory(const RecordMemory &) = delete;
  RecordMemory &operator=(const RecordMemory &) = delete;

  explicit operator bool() const { return memory_ != nullptr; }
  void *get() const { return memory_; }
  const Allocator &allocator() const { return allocator_; }

 private:
  static constexpr size_t kSize = std::max(
      {sizeof(XmlParser<OnHeap, LenientLanguage>), sizeof(XmlParser<InArena, LenientLanguage>),
       sizeof(XmlParser<OnHeap, StrictLanguage>), sizeof(XmlParser<InArena, StrictLanguage>)});

  const Allocator &allocator_;
  void *memory_;
};

// The whole document by the tokenizer, as the scanner does it. Characters are checked first, since
// a NUL ends the tokens.
template <typename Allocation, typename Language>
bool readTokens(XmlParser<Allocation, Language> *parser, std::string_view text) {
  auto &[builder, tokenizer] = *parser;
  const char *end = text.data() + text.size();
  if (Language::kIsStrict && !areAllowed(text.data(), end)) return false;
  if (!tokenizer.skipProlog()) return false;
  while (*tokenizer.cursor() != '\0') {
    if (!tokenizer.readNext() || !builder.isWithinLimits()) return false;
  }
  if (!tokenizer.finish()) return false;
  if constexpr (Language::kIsStrict) {
    return !tokenizer.declaresAscii() || findOtherThanAscii(text.data(), end) == end;
  }
  return true;
}

template <typename Machine, typename Allocation, typename Language>
bool readDocument(XmlParser<Allocation, Language> *parser, std::string_view text) {
  if constexpr (platform::kIsSmall) return readTokens(parser, text);
  return Scanner<Allocation, Machine, Language>(parser, text.size()).run();
}

template <typename Allocation, typename Machine, typename Language>
uint32_t parseWith(const RecordMemory &record, std::string_view text, uint32_t session,
                   const ReadRequest &request, XmlNode **outDocument) {
  XmlNode *document = XML_NewNode(session, NEB_XML_NODE_DOCUMENT);
  if (document == nullptr) return NEB_XML_ERR_NO_MEMORY;
  using Parser = XmlParser<Allocation, Language>;
  auto *parser = new (record.get()) Parser(text.data(), Storage(session), document);
  if constexpr (Language::kIsStrict) {
    parser->builder.setLimits(request.limits);
    if (request.refusesDoctype) parser->tokenizer.refuseDoctype();
  }
  const bool isParsed = readDocument<Machine>(parser, text);
  if (isParsed) *outDocument = parser->builder.release();
  parser->~Parser();
  return isParsed ? uint32_t{NEB_XML_OK} : uint32_t{NEB_XML_ERR_SYNTAX};
}

// On the heap, allocations take most of the time of strict reading.
template <typename Allocation, typename Language>
using BestMachine =
    std::conditional_t<Language::kIsStrict && !Allocation::kIsArena, AnyMachine, WideMachine>;

template <typename Allocation, typename Language>
uint32_t parseInto(const RecordMemory &record, std::string_view text, uint32_t session,
                   const ReadRequest &request, XmlNode **document) {
  const bool isWide = !platform::kIsSmall && chosenKernel().isWide;
  const auto parseOn = isWide ? parseWith<Allocation, BestMachine<Allocation, Language>, Language>
                              : parseWith<Allocation, AnyMachine, Language>;
  return parseOn(record, text, session, request, document);
}

template <typename Language>
uint32_t parse(const RecordMemory &record, std::string_view text, const ReadRequest &request,
               XmlNode **document) {
  if (!request.withSession) return parseInto<OnHeap, Language>(record, text, 0, request, document);
  NewSession session(record.allocator());
  if (session.handle() == 0) return NEB_XML_ERR_NO_MEMORY;
  const uint32_t result =
      parseInto<InArena, Language>(record, text, session.handle(), request, document);
  if (result == NEB_XML_OK) session.release();
  return result;
}

ReadRequest lenientRequest(bool withSession) {
  ReadRequest request;
  request.withSession = withSession;
  return request;
}

uint32_t parseText(const char *text, bool withSession, XmlNode **outDoc) {
  if (isMissing(text) || outDoc == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  *outDoc = nullptr;
  return parseDocument<LenientLanguage>(text, lenientRequest(withSession), outDoc);
}

uint32_t parseFile(const char *path, bool withSession, XmlNode **outDoc) {
  const RecordMemory record(kHooks);
  if (!record) return NEB_XML_ERR_NO_MEMORY;
  LoadedDocument loaded;
  const uint32_t result = loaded.load(path);
  if (result != NEB_XML_OK) return result;
  return parse<LenientLanguage>(record, loaded.text(), lenientRequest(withSession), outDoc);
}

}  // namespace

template <typename Language>
uint32_t parseDocument(std::string_view text, const ReadRequest &request, XmlNode **document) {
  const RecordMemory record(request.allocator);
  if (!record) return NEB_XML_ERR_NO_MEMORY;
  return parse<Language>(record, text, request, document);
}

template uint32_t parseDocument<LenientLanguage>(std::string_view, const ReadRequest &, XmlNode **);
template uint32_t parseDocument<StrictLanguage>(std::string_view, const ReadRequest &, XmlNode **);

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_Parse(const char *text, XmlNode **outDoc) {
  return parseText(text, false, outDoc);
}

uint32_t NEB_XML_ParseEx(const char *text, XmlNode **outDoc) {
  return parseText(text, true, outDoc);
}

uint32_t NEB_XML_ParseFile(const char *path, XmlNode **outDoc) {
  if (path == nullptr || outDoc == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return parseFile(path, false, outDoc);
}

uint32_t NEB_XML_ParseFileEx(const char *path, XmlNode **outDoc) {
  if (path == nullptr || outDoc == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  *outDoc = nullptr;
  return parseFile(path, true, outDoc);
}
