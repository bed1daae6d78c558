#include "parser/decoder.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "characters/characters.h"
#include "characters/utf8.h"
#include "memory/terminator.h"
#include "parser/reasons.h"
#include "platform/bounded_memory.h"
#include "simd/vector.h"
#include "tree/references.h"

namespace neb::xml::internal {

namespace {

constexpr uint32_t kNotADigit = UINT32_MAX;
constexpr size_t kCopyStride = 4 * kVectorSize;

uint32_t digitOf(char byte, uint32_t base) {
  if (byte >= '0' && byte <= '9') return static_cast<uint32_t>(byte - '0');
  if (base == 10) return kNotADigit;
  if (byte >= 'a' && byte <= 'f') return static_cast<uint32_t>(byte - 'a') + 10;
  if (byte >= 'A' && byte <= 'F') return static_cast<uint32_t>(byte - 'A') + 10;
  return kNotADigit;
}

// What stands for something else, in a byte or a vector of them.
template <Decoding decoding, typename Bytes>
auto isMarkup(Bytes bytes) {
  const auto isReferenceOrTag = (bytes == '&') | (bytes == '<');
  if constexpr (decoding == Decoding::lenient) return isReferenceOrTag;
  const auto isReturn = isReferenceOrTag | (bytes == '\r');
  if constexpr (decoding == Decoding::strictText) return isReturn;
  return isReturn | (bytes == '\t') | (bytes == '\n');
}

// Decodes one run into a string with room for the undecoded run.
template <Decoding decoding>
class Decoder {
 public:
  Decoder(const Run &run, char *string)
      : from_(run.begin),
        end_(run.begin + run.length),
        to_(string),
        roomEnd_(string + run.length + kTerminator) {}

  // False for a malformed reference or section, and for one that continues behind the run. Its
  // reason and beginning are then recorded.
  bool decode() {
    while (from_ < end_) {
      copyVerbatim();
      if (from_ == end_) return true;
      const bool isDecoded = *from_ == '&' ? decodeReference() : decodeMarkup();
      if (!isDecoded) return false;
    }
    return true;
  }

  // A reference is longer than its character, so the string never outgrows its room.
  void clearRest() { std::memset(to_, 0, static_cast<size_t>(roomEnd_ - to_)); }

  DecodingFailure failure() const { return {reason_, from_}; }

 private:
  bool fail(const char *reason) {
    reason_ = reason;
    return false;
  }

  // Whole vectors are written: surplus bytes are overwritten, or cleared at the end.
  void copyVerbatim() {
    while (!platform::kIsSmall && static_cast<size_t>(end_ - from_) >= kCopyStride) {
      const size_t verbatim = copyStride(from_, to_);
      moveOn(verbatim);
      if (verbatim < kCopyStride) return;
    }
    while (!platform::kIsSmall && static_cast<size_t>(end_ - from_) >= kVectorSize) {
      const size_t verbatim = countBeforeFound(copyVector(from_, to_));
      if (verbatim < kVectorSize) return moveOn(verbatim);
      // Does not wait for the count.
      moveOn(kVectorSize);
    }
    while (from_ < end_ && !isMarkup<decoding>(*from_)) *to_++ = *from_++;
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
    if (bitsOf(a | b | c | d) == 0) return kCopyStride;
    const uint64_t low = bitsOf(a) | bitsOf(b) << kVectorSize;
    const uint64_t high = bitsOf(c) | bitsOf(d) << kVectorSize;
    return static_cast<size_t>(std::countr_zero(low | high << (2 * kVectorSize)));
  }

  // Returns the markup in it, as bytes that are all ones.
  static Vector copyVector(const char *from, char *to) {
    const Vector bytes = loadVector(from);
    storeVector(to, bytes);
    return std::bit_cast<Vector>(isMarkup<decoding>(bytes));
  }

  bool decodeMarkup() {
    if constexpr (decoding == Decoding::lenient) {
      if (begins(from_, kCdataBegin)) return copySection();
      *to_++ = *from_++;
      return true;
    }
    if (isWhitespace(*from_)) return copyWhitespace();
    if constexpr (decoding == Decoding::strictValue) return fail(reasons::kAttributeLess);
    return begins(from_, kCdataBegin) ? copySection() : skipMarkup();
  }

  // A carriage return counts as the line feed that it stands before, or as one.
  bool copyWhitespace() {
    const bool isLineEnd = *from_ == '\r' && from_ + 1 < end_ && from_[1] == '\n';
    from_ += isLineEnd ? 2 : 1;
    *to_++ = decoding == Decoding::strictValue ? ' ' : '\n';
    return true;
  }

  // A comment or a processing instruction, which the tokenizer has checked.
  bool skipMarkup() {
    const bool isComment = begins(from_, kCommentBegin);
    const char *end = isComment ? find(from_ + lengthOf(kCommentBegin), kCommentEnd)
                                : find(from_, kInstructionEnd);
    from_ = end + (isComment ? lengthOf(kCommentEnd) : lengthOf(kInstructionEnd));
    return true;
  }

  bool copySection() {
    const char *content = from_ + lengthOf(kCdataBegin);
    const char *close = find(content, kCdataEnd);
    if (close == nullptr) return fail(reasons::kSectionOpen);
    if (close + lengthOf(kCdataEnd) > end_) return fail(reasons::kSectionCut);
    if constexpr (decoding != Decoding::lenient) return copyLines(content, close);
    const auto count = static_cast<size_t>(close - content);
    platform::memcpy_s(to_, static_cast<size_t>(end_ - from_), content, count);
    to_ += count;
    from_ = close + lengthOf(kCdataEnd);
    return true;
  }

  // The content of a section.
  bool copyLines(const char *content, const char *close) {
    for (from_ = content; from_ < close;) {
      const void *found = std::memchr(from_, '\r', static_cast<size_t>(close - from_));
      const char *lineEnd = found != nullptr ? static_cast<const char *>(found) : close;
      const auto count = static_cast<size_t>(lineEnd - from_);
      std::memcpy(to_, from_, count);
      moveOn(count);
      if (from_ < close) copyWhitespace();
    }
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
    return from_[1] == '#' ? decodeNumber() : failReference();
  }

  bool failReference() {
    if constexpr (decoding == Decoding::lenient) return fail(reasons::kReferenceUnknown);
    const char *name = from_ + 1;
    const char *end = findNameEnd(name);
    return fail(end != name && *end == ';' ? reasons::kEntity : reasons::kTextAmpersand);
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
  const char *reason_ = nullptr;
};

template <Decoding decoding>
bool decodeAs(const Run &run, char *string, DecodingFailure *failure) {
  Decoder<decoding> decoder(run, string);
  if (!decoder.decode()) {
    *failure = decoder.failure();
    return false;
  }
  decoder.clearRest();
  return true;
}

}  // namespace

bool decode(const Run &run, char *string, DecodingFailure *failure) {
  switch (run.decoding) {
    case Decoding::strictText:
      return decodeAs<Decoding::strictText>(run, string, failure);
    case Decoding::strictValue:
      return decodeAs<Decoding::strictValue>(run, string, failure);
    case Decoding::lenient:
      break;
  }
  return decodeAs<Decoding::lenient>(run, string, failure);
}

}  // namespace neb::xml::internal
