#include "documents/loading.h"

#include <array>
#include <chrono>
#include <new>
#include <string_view>

#include "documents/input.h"
#include "documents/syntax_report.h"
#include "terminal/command_error.h"
#include "terminal/excerpt.h"
#include "terminal/progress_note.h"

namespace nebxml {
namespace {

constexpr size_t kLongestMessage = 512;

// What the library says of a document.
struct Verdict {
  uint32_t result;
  NEB_XML_PARSE_ERROR error;
  std::string cause;
};

Verdict readStrictly(std::string_view text, uint32_t maxDepth, XmlNode *&root) {
  std::array<char, kLongestMessage> message{};
  NEB_XML_READ_OPTIONS options{};
  options.size = sizeof options;
  options.maxDepth = maxDepth;
  options.message = message.data();
  options.messageSize = message.size();
  NEB_XML_PARSE_ERROR error{};
  const uint32_t result = NEB_XML_Read(text.data(), text.size(), &options, &root, &error);
  return {result, error, message.data()};
}

Verdict readLeniently(std::string_view text, XmlNode *&root) {
  NEB_XML_PARSE_ERROR error{};
  const uint32_t result =
      NEB_XML_ParseBuffer(text.data(), text.size(), NEB_XML_PARSE_SESSION, &root, &error);
  return {result, error, error.reason == nullptr ? "" : error.reason};
}

ProgressNote::Text aboutReading(const std::string &fileName) {
  return [name = shortened(fileName)](std::chrono::milliseconds elapsed) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    return "nebxml: reading " + name + ", " + std::to_string(seconds) + " s";
  };
}

}  // namespace

XmlNode *loadDocument(const std::string &fileName, const ReadingOptions &options,
                      std::string &bytes, Encoding &encoding) try {
  const ProgressNote note(aboutReading(fileName), !isTypedByUser(fileName));
  bytes = readInput(fileName, options.encoding, options.maxBytes);
  encoding = Encoding(fileName, options.encoding, bytes);
  const bool isStrict = options.language == Reading::strict;
  const std::string_view whole(bytes);
  const std::string_view text = isStrict ? whole : whole.substr(0, whole.find('\0'));
  XmlNode *root = nullptr;
  const Verdict verdict =
      isStrict ? readStrictly(text, options.maxDepth, root) : readLeniently(text, root);
  if (verdict.result == NEB_XML_OK) return root;
  if (verdict.result == NEB_XML_ERR_NO_MEMORY) throw noMemory(fileName);
  const std::string cause = text.empty() ? "the file is empty" : verdict.cause;
  throw syntaxReport(fileName, verdict.error, cause, encoding.asInFile(std::string(text)));
} catch (const std::bad_alloc &) {
  throw noMemory(fileName);
}

}  // namespace nebxml
