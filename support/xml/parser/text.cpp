// Copying runs of the text into strings of the tree.
#include <algorithm>
#include <bit>
#include <cstring>

#include "parser/parser.h"
#include "parser/tokens.h"
#include "platform/bounded_memory.h"
#include "simd/vector.h"
#include "tree/references.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kTerminator = 1;
constexpr uint32_t kLargestCharacter = 0x10FFFF;
constexpr uint32_t kNotADigit = UINT32_MAX;
constexpr size_t kStride = 4 * kVectorSize;

uint32_t digitOf(char byte, uint32_t base) {
  if (byte >= '0' && byte <= '9') return static_cast<uint32_t>(byte - '0');
  if (base == 10) return kNotADigit;
  if (byte >= 'a' && byte <= 'f') return static_cast<uint32_t>(byte - 'a') + 10;
  if (byte >= 'A' && byte <= 'F') return static_cast<uint32_t>(byte - 'A') + 10;
  return kNotADigit;
}

// The Char production of XML 1.0.
bool isCharacter(uint32_t code) {
  if (code < 0x20) return code == 0x9 || code == 0xA || code == 0xD;
  if (code < 0xD800) return true;
  if (code < 0xE000) return false;
  return code < 0xFFFE || (code >= 0x10000 && code <= kLargestCharacter);
}

char utf8Tail(uint32_t code, unsigned shift) {
  return static_cast<char>(0x80 | ((code >> shift) & 0x3F));
}

char *writeUtf8(char *to, uint32_t code) {
  if (code < 0x80) {
    *to++ = static_cast<char>(code);
  } else if (code < 0x800) {
    *to++ = static_cast<char>(0xC0 | (code >> 6));
    *to++ = utf8Tail(code, 0);
  } else if (code < 0x10000) {
    *to++ = static_cast<char>(0xE0 | (code >> 12));
    *to++ = utf8Tail(code, 6);
    *to++ = utf8Tail(code, 0);
  } else {
    *to++ = static_cast<char>(0xF0 | (code >> 18));
    *to++ = utf8Tail(code, 12);
    *to++ = utf8Tail(code, 6);
    *to++ = utf8Tail(code, 0);
  }
  return to;
}

// Decodes one run into a string that has room for the run as it stands.
class Decoder {
 public:
  // Behind both the run and the string's room may be some more bytes, so many that whole vectors
  // can be copied up to the end.
  Decoder(const char *run, size_t length, char *string, bool hasBytesBehind)
      : from_(run),
        end_(run + length),
        to_(string),
        roomEnd_(string + length + kTerminator),
        leastForVectors_(hasBytesBehind ? 1 : static_cast<ptrdiff_t>(kVectorSize)) {}

  // False for a malformed reference or section, and for one that goes on behind the run. The reason
  // is then told, and the place is where it begins.
  bool decode() {
    while (from_ < end_) {
      copyPlain();
      if (from_ == end_) return true;
      const bool decoded = *from_ == '&' ? decodeReference() : copyMarkup();
      if (!decoded) return false;
    }
    return true;
  }

  // A reference is longer than what it stands for, so the string ends before its room does.
  void clearRest() { std::memset(to_, 0, static_cast<size_t>(roomEnd_ - to_)); }

  const char *reason() const { return reason_; }
  const char *place() const { return from_; }

 private:
  bool fail(const char *reason) {
    reason_ = reason;
    return false;
  }

  // Whole vectors are written: what goes too far is written again, or cleared at the end.
  void copyPlain() {
    while (static_cast<size_t>(end_ - from_) >= kStride) {
      const size_t plain = copyStride(from_, to_);
      moveOn(plain);
      if (plain < kStride) return;
    }
    while (end_ - from_ >= leastForVectors_) {
      const auto left = static_cast<size_t>(end_ - from_);
      const size_t plain = std::min(countBeforeFound(copyVector(from_, to_)), left);
      if (plain < kVectorSize) return moveOn(plain);
      // Does not wait for what was counted.
      moveOn(kVectorSize);
    }
    while (from_ < end_ && *from_ != '&' && *from_ != '<') *to_++ = *from_++;
  }

  void moveOn(size_t count) {
    from_ += count;
    to_ += count;
  }

  // Returns how many bytes come before markup.
  static size_t copyStride(const char *from, char *to) {
    const Vector a = copyVector(from, to);
    const Vector b = copyVector(from + kVectorSize, to + kVectorSize);
    const Vector c = copyVector(from + 2 * kVectorSize, to + 2 * kVectorSize);
    const Vector d = copyVector(from + 3 * kVectorSize, to + 3 * kVectorSize);
    if (bitsOf(a | b | c | d) == 0) return kStride;
    const uint64_t low = bitsOf(a) | bitsOf(b) << kVectorSize;
    const uint64_t high = bitsOf(c) | bitsOf(d) << kVectorSize;
    return static_cast<size_t>(std::countr_zero(low | high << (2 * kVectorSize)));
  }

  // Returns the markup in it, as bytes that are all ones.
  static Vector copyVector(const char *from, char *to) {
    const Vector bytes = loadVector(from);
    storeVector(to, bytes);
    return findMarkup(bytes);
  }

  static Vector findMarkup(Vector bytes) { return (bytes == '&') | (bytes == '<'); }

  bool copyMarkup() {
    if (!begins(from_, kCdataBegin)) {
      *to_++ = *from_++;
      return true;
    }
    const char *content = from_ + lengthOf(kCdataBegin);
    const char *close = find(content, kCdataEnd);
    if (close == nullptr) return fail(reasons::kSectionOpen);
    if (close + lengthOf(kCdataEnd) > end_) return fail(reasons::kSectionCut);
    const auto count = static_cast<size_t>(close - content);
    platform::memcpy_s(to_, static_cast<size_t>(end_ - from_), content, count);
    to_ += count;
    from_ = close + lengthOf(kCdataEnd);
    return true;
  }

  bool decodeReference() {
    if (const NamedReference *reference = namedReferenceAt(from_)) {
      if (from_ + reference->length > end_) return fail(reasons::kReferenceUnknown);
      *to_++ = reference->character;
      from_ += reference->length;
      return true;
    }
    return from_[1] == '#' ? decodeNumber() : fail(reasons::kReferenceUnknown);
  }

  bool decodeNumber() {
    const char *digits = from_ + 2;
    const uint32_t base = *digits == 'x' ? 16 : 10;
    if (base == 16) ++digits;
    uint32_t code = 0;
    for (; *digits != ';'; ++digits) {
      const uint32_t digit = digitOf(*digits, base);
      if (digit == kNotADigit) return fail(reasons::kReferenceNumber);
      code = code * base + digit;
      if (code > kLargestCharacter) return fail(reasons::kReferenceCharacter);
    }
    if (!isCharacter(code)) return fail(reasons::kReferenceCharacter);
    if (digits + 1 > end_) return fail(reasons::kReferenceNumber);
    from_ = digits + 1;
    to_ = writeUtf8(to_, code);
    return true;
  }

  const char *from_;
  const char *end_;
  char *to_;
  char *roomEnd_;
  ptrdiff_t leastForVectors_;
  const char *reason_ = nullptr;
};

bool isPlain(const char *run, size_t length) {
  return std::memchr(run, '&', length) == nullptr && std::memchr(run, '<', length) == nullptr;
}

}  // namespace

bool Parser_decode(const char *run, size_t length, char *string, bool hasBytesBehind) {
  Decoder decoder(run, length, string, hasBytesBehind);
  if (!decoder.decode()) return false;
  decoder.clearRest();
  return true;
}

uint32_t Parser_CopyBufToString(const XmlParser *parser, const char *run, size_t length,
                                char **string) {
  if (length == 0) return NEB_XML_OK;
  if (run == nullptr || string == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (length > INT32_MAX) return Parser_syntaxError(parser, reasons::kTextTooLong, run);
  const Storage &storage = parser->storage;
  if (isPlain(run, length)) {
    *string = storage.duplicate(run, length);
    return *string != nullptr ? uint32_t{NEB_XML_OK} : Parser_memoryError(parser);
  }
  auto *decoded = static_cast<char *>(storage.allocate(length + kTerminator));
  *string = decoded;
  if (decoded == nullptr) return Parser_memoryError(parser);
  Decoder decoder(run, length, decoded, false);
  if (decoder.decode()) {
    decoder.clearRest();
    return NEB_XML_OK;
  }
  storage.freeUnused(decoded);
  *string = nullptr;
  return Parser_syntaxError(parser, decoder.reason(), decoder.place());
}

}  // namespace neb::xml::internal
