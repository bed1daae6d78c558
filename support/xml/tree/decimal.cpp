#include "tree/decimal.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

#include "characters/digits.h"
#include "neb_xml.h"
#include "tree/natural.h"
#include "tree/whole_numbers.h"

namespace neb::xml::internal {

namespace {

static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == sizeof(uint64_t));

constexpr int kFractionBits = DBL_MANT_DIG - 1;
constexpr uint64_t kImplicitBit = uint64_t{1} << kFractionBits;
constexpr int kSmallestExponent = DBL_MIN_EXP - DBL_MANT_DIG;  // of a double's last bit
constexpr uint64_t kInfinity = uint64_t{0x7FF} << kFractionBits;

constexpr std::string_view kInfinityText = "INF";
constexpr std::string_view kNoNumberText = "NaN";

// A positive number as digits behind a decimal point, of which the first is not 0, times a power of
// ten.
template <size_t capacity>
struct Digits {
  char text[capacity];
  size_t count = 0;
  int64_t exponent = 0;

  void push(char digit) { text[count++] = digit; }
};

// ---- From a double to the digits

constexpr size_t kMostShortestDigits = 17;
using ShortestDigits = Digits<kMostShortestDigits>;

// A positive double and its distances to the middles between it and its neighbours, as fractions of
// one scale. Any number between the middles reads back as this double; the middles themselves do
// if its last bit is 0.
struct Interval {
  Natural value;
  Natural scale;
  Natural below;
  Natural above;
  bool holdsMiddles;

  explicit Interval(uint64_t fraction, int exponent, bool isNearBelow)
      : value(fraction), scale(1), below(1), above(1), holdsMiddles(fraction % 2 == 0) {
    // The neighbour below a power of two is half as far away.
    const size_t halves = isNearBelow ? 2 : 1;
    value.shiftLeft(halves);
    scale.shiftLeft(halves);
    above.shiftLeft(halves - 1);
    if (exponent < 0) scale.shiftLeft(static_cast<size_t>(-exponent));
    if (exponent <= 0) return;
    for (Natural *each : {&value, &below, &above}) each->shiftLeft(static_cast<size_t>(exponent));
  }

  void scaleByPowerOfTen(int64_t exponent) {
    if (exponent >= 0) return scale.multiplyByPowerOfTen(static_cast<size_t>(exponent));
    for (Natural *each : {&value, &below, &above}) {
      each->multiplyByPowerOfTen(static_cast<size_t>(-exponent));
    }
  }

  void multiplyByTen() {
    for (Natural *each : {&value, &below, &above}) each->multiply(kDecimalBase);
  }

  // Whether what remains may be left out, or rounded up to the scale.
  bool mayDrop() const { return value.compare(below) < (holdsMiddles ? 1 : 0); }
  bool mayRoundUp() {
    value.add(above);
    const bool reachesScale = value.compare(scale) > (holdsMiddles ? -1 : 0);
    value.subtract(above);
    return reachesScale;
  }

  // Whether the last digit becomes larger by what remains, which is doubled. From the middle, the
  // even digit is taken.
  bool roundsUp(char digit) {
    value.shiftLeft(1);
    return value.compare(scale) > (digit % 2 == 0 ? 0 : -1);
  }

  char takeDigit() {
    char digit = '0';
    for (; value.compare(scale) >= 0; ++digit) value.subtract(scale);
    return digit;
  }
};

// The power of ten for a number whose first bit is worth 2^exponent; it may be one too small.
constexpr int64_t estimatedExponent(int exponent) {
  constexpr int64_t kLogarithmOf2 = 1262611;  // to the base of ten, times 2^22
  return (exponent * kLogarithmOf2 >> 22) + 1;
}

// The digits of a positive double, after Steele and White.
void findShortestDigits(uint64_t bits, ShortestDigits *digits) {
  const uint64_t fraction = bits % kImplicitBit;
  const auto biased = static_cast<int>(bits >> kFractionBits);
  const bool isNormal = biased != 0;
  const uint64_t whole = isNormal ? fraction + kImplicitBit : fraction;
  const int exponent = kSmallestExponent + (isNormal ? biased - 1 : 0);
  Interval rest(whole, exponent, fraction == 0 && biased > 1);
  digits->exponent = estimatedExponent(exponent + static_cast<int>(std::bit_width(whole)) - 1);
  rest.scaleByPowerOfTen(digits->exponent);
  if (rest.mayRoundUp()) {
    ++digits->exponent;
  } else {
    rest.multiplyByTen();
  }
  for (;;) {
    const char digit = rest.takeDigit();
    const bool mayDrop = rest.mayDrop();
    const bool mayRoundUp = rest.mayRoundUp();
    if (mayDrop || mayRoundUp) {
      const bool roundsUp = mayRoundUp && (!mayDrop || rest.roundsUp(digit));
      return digits->push(static_cast<char>(digit + (roundsUp ? 1 : 0)));
    }
    digits->push(digit);
    rest.multiplyByTen();
  }
}

char *writeText(char *to, std::string_view text) {
  std::memcpy(to, text.data(), text.size());
  return to + text.size();
}

char *writeZeros(char *to, int64_t count) {
  std::memset(to, '0', static_cast<size_t>(count));
  return to + count;
}

char *writeWithExponent(char *to, std::string_view digits, int64_t exponent) {
  *to++ = digits[0];
  if (digits.size() > 1) {
    *to++ = '.';
    to = writeText(to, {digits.data() + 1, digits.size() - 1});
  }
  *to++ = 'e';
  if (exponent < 0) *to++ = '-';
  return writeWhole(to, static_cast<uint64_t>(exponent < 0 ? -exponent : exponent));
}

char *writeDigits(char *to, std::string_view digits, int64_t exponent) {
  constexpr int64_t kMostBeforePoint = 21;
  constexpr int64_t kMostZerosBehindPoint = 5;
  const auto count = static_cast<int64_t>(digits.size());
  if (exponent > kMostBeforePoint || exponent < -kMostZerosBehindPoint) {
    return writeWithExponent(to, digits, exponent - 1);
  }
  if (exponent >= count) return writeZeros(writeText(to, digits), exponent - count);
  if (exponent <= 0) return writeText(writeZeros(writeText(to, "0."), -exponent), digits);
  const auto before = static_cast<size_t>(exponent);
  to = writeText(to, {digits.data(), before});
  *to++ = '.';
  return writeText(to, {digits.data() + before, digits.size() - before});
}

// ---- From the digits to a double

// The middle between two doubles has at most so many digits. Of those behind them it only matters
// whether one is not 0.
constexpr size_t kMostDigits = 768;
using GivenDigits = Digits<kMostDigits + 1>;

// Reads the parts of a number, one after the other.
class NumberReader {
 public:
  explicit NumberReader(std::string_view text) : text_(text) {}

  bool isAtEnd() const { return text_.empty(); }

  bool take(char byte) {
    const bool isThere = text_.starts_with(byte);
    if (isThere) text_.remove_prefix(1);
    return isThere;
  }

  // Whether there was a digit.
  bool takeDigits(bool areBehindPoint, GivenDigits *digits) {
    const size_t before = text_.size();
    for (; !text_.empty() && isDigit(text_[0]); text_.remove_prefix(1)) {
      takeDigit(text_[0], areBehindPoint, digits);
    }
    return text_.size() != before;
  }

  // Larger exponents than a document can have digits are as good as this one.
  bool takeExponent(int64_t *exponent) {
    constexpr int64_t kLarge = std::numeric_limits<int64_t>::max() / 16;
    const bool isNegative = take('-');
    if (!isNegative) take('+');
    const size_t before = text_.size();
    for (; !text_.empty() && isDigit(text_[0]); text_.remove_prefix(1)) {
      *exponent = std::min(*exponent * int{kDecimalBase} + text_[0] - '0', kLarge);
    }
    if (isNegative) *exponent = -*exponent;
    return text_.size() != before;
  }

 private:
  static void takeDigit(char digit, bool isBehindPoint, GivenDigits *digits) {
    const bool isLeadingZero = digit == '0' && digits->count == 0;
    if (isLeadingZero == isBehindPoint) digits->exponent += isLeadingZero ? -1 : 1;
    if (isLeadingZero) return;
    if (digits->count < kMostDigits) {
      digits->push(digit);
    } else if (digit != '0') {
      digits->count = kMostDigits + 1;
      digits->text[kMostDigits] = '1';
    }
  }

  std::string_view text_;
};

// An unsigned number of the form 12.5e-3.
bool readDigits(std::string_view text, GivenDigits *digits) {
  NumberReader reader(text);
  const bool hasWhole = reader.takeDigits(false, digits);
  const bool hasFraction = reader.take('.') && reader.takeDigits(true, digits);
  if (!hasWhole && !hasFraction) return false;
  int64_t exponent = 0;
  const bool hasExponent = reader.take('e') || reader.take('E');
  if (hasExponent && !reader.takeExponent(&exponent)) return false;
  digits->exponent += exponent;
  return reader.isAtEnd();
}

// What 64 bits of a quotient, of which the first is set, and what is behind them come to. The first
// bit is worth 2^exponent. A carry out of the fraction makes the exponent one larger, as it should.
uint64_t roundToDouble(uint64_t quotient, bool hasMore, int64_t exponent) {
  constexpr int64_t kLeastNormal = DBL_MIN_EXP - 1;
  const int64_t missing = exponent < kLeastNormal ? kLeastNormal - exponent : 0;
  const int64_t dropped = 64 - DBL_MANT_DIG + missing;
  if (dropped > 64) return 0;
  const uint64_t half = uint64_t{1} << (dropped - 1);
  const uint64_t kept = quotient / half / 2;
  const uint64_t rest = quotient - kept * half * 2;
  const bool roundsUp = rest > half || (rest == half && (hasMore || kept % 2 == 1));
  const auto steps = static_cast<uint64_t>(missing == 0 ? exponent - kLeastNormal : 0);
  return (steps << kFractionBits) + kept + (roundsUp ? 1 : 0);
}

// The bits of the double nearest to a quotient.
uint64_t divide(Natural *numerator, Natural *divisor) {
  auto exponent =
      static_cast<int64_t>(numerator->bitLength()) - static_cast<int64_t>(divisor->bitLength());
  if (exponent > 0) {
    divisor->shiftLeft(static_cast<size_t>(exponent));
  } else {
    numerator->shiftLeft(static_cast<size_t>(-exponent));
  }
  if (numerator->compare(*divisor) < 0) {
    numerator->shiftLeft(1);
    --exponent;
  }
  uint64_t quotient = 0;
  for (int i = 0; i < 64; ++i) {
    const bool isIn = numerator->compare(*divisor) >= 0;
    if (isIn) numerator->subtract(*divisor);
    numerator->shiftLeft(1);
    quotient = quotient << 1 | (isIn ? 1 : 0);
  }
  return roundToDouble(quotient, !numerator->isZero(), exponent);
}

// With at most 15 digits and a power of ten up to 10^22, both are doubles and only the result of
// the one operation is rounded.
bool combineExactly(const GivenDigits &digits, int64_t power, double *value) {
  constexpr size_t kMostExactDigits = 15;
  constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  constexpr auto kMostExactPower = static_cast<int64_t>(std::size(kPowers)) - 1;
  if (FLT_EVAL_METHOD != 0 || digits.count > kMostExactDigits) return false;
  if (power < -kMostExactPower || power > kMostExactPower) return false;
  uint64_t whole = 0;
  if (readWhole({digits.text, digits.count}, &whole) != NEB_XML_OK) return false;
  const auto number = static_cast<double>(whole);
  *value = power < 0 ? number / kPowers[-power] : number * kPowers[power];
  return true;
}

// 0 for what is too small, and infinity for what is too large.
double combine(const GivenDigits &digits) {
  constexpr int64_t kLargestExponent = 310;
  constexpr int64_t kSmallestExponentOfTen = -330;
  if (digits.count == 0 || digits.exponent < kSmallestExponentOfTen) return 0;
  if (digits.exponent > kLargestExponent) return std::numeric_limits<double>::infinity();
  const int64_t power = digits.exponent - static_cast<int64_t>(digits.count);
  double value = 0;
  if (combineExactly(digits, power, &value)) return value;
  Natural numerator(0);
  Natural divisor(1);
  for (size_t i = 0; i < digits.count; ++i) {
    numerator.multiply(kDecimalBase, static_cast<uint32_t>(digits.text[i] - '0'));
  }
  (power < 0 ? divisor : numerator)
      .multiplyByPowerOfTen(static_cast<size_t>(power < 0 ? -power : power));
  return std::bit_cast<double>(std::min(divide(&numerator, &divisor), kInfinity));
}

bool readSpecial(std::string_view text, bool hasSign, double *value) {
  if (text == kInfinityText) {
    *value = std::numeric_limits<double>::infinity();
    return true;
  }
  if (text != kNoNumberText || hasSign) return false;
  *value = std::numeric_limits<double>::quiet_NaN();
  return true;
}

}  // namespace

char *writeDouble(char *to, double value) {
  if (std::isnan(value)) return writeText(to, kNoNumberText);
  if (std::signbit(value)) *to++ = '-';
  if (std::isinf(value)) return writeText(to, kInfinityText);
  if (value == 0) return writeZeros(to, 1);
  ShortestDigits digits;
  findShortestDigits(std::bit_cast<uint64_t>(std::fabs(value)), &digits);
  return writeDigits(to, {digits.text, digits.count}, digits.exponent);
}

uint32_t readDouble(std::string_view text, double *value) {
  const bool isNegative = text.starts_with('-');
  const bool hasSign = isNegative || text.starts_with('+');
  if (hasSign) text.remove_prefix(1);
  double magnitude = 0;
  if (!readSpecial(text, hasSign, &magnitude)) {
    GivenDigits digits;
    if (!readDigits(text, &digits)) return NEB_XML_ERR_MALFORMED_VALUE;
    magnitude = combine(digits);
    if (std::isinf(magnitude)) return NEB_XML_ERR_OUT_OF_RANGE;
  }
  *value = isNegative ? -magnitude : magnitude;
  return NEB_XML_OK;
}

}  // namespace neb::xml::internal
