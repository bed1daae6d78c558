// Typed values, and the words for results.
#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <regex>
#include <set>

#include "support/calls.h"
#include "support/data.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

constexpr uint32_t kEmpty = NEB_XML_ERR_EMPTY_VALUE;
constexpr uint32_t kMalformed = NEB_XML_ERR_MALFORMED_VALUE;
constexpr uint32_t kOutOfRange = NEB_XML_ERR_OUT_OF_RANGE;

// A variable at an odd address between bytes that must stay.
struct Variable {
  alignas(8) char bytes[16] = {'u', 'n', 't', 'o', 'u', 'c', 'h', 'e', 'd', '.', '.'};
  bool operator==(const Variable &) const = default;
  template <typename Value>
  void put(Value value) {
    std::memcpy(bytes + 1, &value, sizeof value);
  }
};

// What the calls that know one failure only make of a text.
template <typename Integer>
uint32_t readWhole(std::string_view text, Integer *read) {
  const bool hasPlus = text.starts_with('+') && !text.starts_with("+-");
  if (std::is_signed_v<Integer> && hasPlus) text.remove_prefix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *read);
  return error == std::errc() && end == text.data() + text.size() ? kOk : kInvalid;
}

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}

// What the others make of it.
template <typename Integer>
uint32_t readTrimmed(std::string_view text, Integer *read) {
  text = trimmed(text);
  if (text.empty()) return kEmpty;
  const bool isNegative = text[0] == '-';
  if (isNegative || text[0] == '+') text.remove_prefix(1);
  if (text.empty() || text.find_first_not_of("0123456789") != text.npos) return kMalformed;
  const bool isZero = text.find_first_not_of('0') == text.npos;
  if (isNegative && !isZero && std::is_unsigned_v<Integer>) return kOutOfRange;
  const std::string sign = isNegative && std::is_signed_v<Integer> ? "-" : "";
  return readWhole(sign + std::string(text), read) == kOk ? kOk : kOutOfRange;
}

// Reads the text, then writes the number cut to the type and reads it back.
template <typename Integer, typename Read, typename Write>
void checkCalls(uint32_t type, std::string text, int64_t number, Read read, Write write,
                uint32_t (*model)(std::string_view, Integer *)) {
  auto cut = static_cast<Integer>(number);
  Integer expected = 0;
  Variable wanted, got, written, again;
  XmlNode node = {};
  node.value = text.data();
  const uint32_t result = model(text, &expected);
  if (result == kOk) wanted.put(expected);
  ASSERT_EQ(read(&node, type, got.bytes + 1), result) << text << ", type " << type;
  ASSERT_TRUE(got == wanted) << text << ", type " << type;
  written.put(cut);
  ASSERT_EQ(write(&node, type, written.bytes + 1), kOk);
  EXPECT_EQ(std::string(node.value), std::to_string(cut)) << "type " << type;
  EXPECT_EQ(read(&node, type, again.bytes + 1), kOk) << node.value;
  EXPECT_TRUE(again == written) << node.value;
  g_fnXMLFree(node.value);
}

void check(const std::string &text, int64_t number) {
  uint32_t type = NEB_XML_VALUE_BOOL;
  const auto checkAll = [&]<typename... Integers>() {
    (checkCalls<Integers>(++type, text, number, NEB_XML_ReadValue, NEB_XML_WriteValue,
                          readTrimmed<Integers>),
     ...);
  };
  const auto checkDescribed = [&]<typename... Integers>() {
    (checkCalls<Integers>(++type, text, number, NEB_XML_GetNodeValueEx, NEB_XML_SetNodeValueEx,
                          readWhole<Integers>),
     ...);
  };
  checkDescribed.operator()<int32_t, uint32_t, int16_t, uint16_t, int8_t, uint8_t>();
  type = NEB_XML_VALUE_BOOL;
  checkAll.operator()<int32_t, uint32_t, int16_t, uint16_t, int8_t, uint8_t, int64_t, uint64_t>();
}

TEST(Values, EveryNumberOf16BitsLimitsAndMalformedTexts) {
  for (int64_t number = -66000; number <= 66000; ++number) check(std::to_string(number), number);
  for (const unsigned power : {0U, 7U, 8U, 15U, 16U, 31U, 32U, 33U, 62U, 63U}) {
    for (uint64_t near = (uint64_t{1} << power) - 2; near < (uint64_t{1} << power) + 2; ++near) {
      for (const char *start : {"", "-", "+", "000", "-00", "--", "+-", " ", "\n-", "0x", "\t"}) {
        for (const char *end : {"", " ", "x", ".", "\r\n", "0"}) {
          check(start + std::to_string(near) + end, static_cast<int64_t>(0 - near));
        }
      }
    }
  }
  for (const char *text : {"18446744073709551615", "18446744073709551616", "184467440737095516150",
                           "-18446744073709551615", "27670116110564327424", "", " ", " \n", "+",
                           "-", "- 1", "1 2", "\v1", "1\f", "-0", "+0"}) {
    check(text, -1);
  }
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    std::string text(static_cast<size_t>(random() % 30), '0');
    for (char &byte : text) byte = "000000000000012345678900123456789+-"[random() % 35];
    check(text, static_cast<int64_t>(random()));
    check(text.substr(0, text.find_first_of("+-", 1)), 0);
  }
}

TEST(Values, Booleans) {
  constexpr uint32_t kUntouched = 9;
  const auto valueOf = [](std::string_view text) {
    const bool isFalse = text == "0" || text == "false";
    return isFalse ? 0U : text == "1" || text == "true" ? 1U : kUntouched;
  };
  XmlNode node = {};
  for (std::string text : {"0", "false", "1", "true", "\n true\t\r", " 0 ", "", "\t\n", "True",
                           "00", "tru", "true true", "+1"}) {
    uint32_t described = kUntouched, read = kUntouched;
    node.value = text.data();
    const uint32_t value = valueOf(trimmed(text));
    EXPECT_EQ(NEB_XML_GetNodeValueEx(&node, NEB_XML_VALUE_BOOL, &described),
              valueOf(text) == kUntouched ? kInvalid : kOk);
    EXPECT_EQ(NEB_XML_ReadValue(&node, NEB_XML_VALUE_BOOL, &read), trimmed(text).empty() ? kEmpty
                                                                   : value == kUntouched
                                                                       ? kMalformed
                                                                       : kOk)
        << text;
    EXPECT_EQ(described, valueOf(text)) << text;
    EXPECT_EQ(read, value) << text;
  }
  node.value = nullptr;
  for (const auto write : {NEB_XML_SetNodeValueEx, NEB_XML_WriteValue}) {
    for (const uint32_t value : {0U, 1U, 7U, 0x100U, 0x80000000U}) {
      EXPECT_EQ(write(&node, NEB_XML_VALUE_BOOL, &value), kOk);
      EXPECT_STREQ(node.value, value == 0 ? "false" : "true");
    }
  }
  g_fnXMLFree(node.value);
}

// ---- Doubles

uint32_t readDouble(std::string text, double *value) {
  XmlNode node = {};
  node.value = text.data();
  return NEB_XML_ReadValue(&node, NEB_XML_VALUE_DOUBLE, value);
}

std::string writeDouble(double value) {
  XmlNode node = {};
  EXPECT_EQ(NEB_XML_WriteValue(&node, NEB_XML_VALUE_DOUBLE, &value), kOk);
  std::string text = node.value;
  g_fnXMLFree(node.value);
  return text;
}

// Unlike strtod, exact by every library. It does not tell numbers that are too large from those
// that are too small.
double nearestTo(const std::string &number) {
  const char *end = number.data() + number.size();
  double value = 0;
  const auto result = std::from_chars(number.data() + number.starts_with('+'), end, value);
  return result.ec == std::errc::result_out_of_range ? std::strtod(number.c_str(), nullptr) : value;
}

// By the form of XML Schema and the standard library.
void checkRead(const std::string &text) {
  static const std::regex kForm(
      "([+-]?([0-9]+(\\.[0-9]*)?|\\.[0-9]+)([eE][+-]?[0-9]+)?|[+-]?INF|NaN)");
  constexpr double kUntouched = 42.5;
  const std::string number(trimmed(text));
  const double expected = nearestTo(number);
  const bool isTooLarge = std::isinf(expected) && number.find('I') == number.npos;
  const uint32_t result = number.empty()                     ? kEmpty
                          : !std::regex_match(number, kForm) ? kMalformed
                          : isTooLarge                       ? kOutOfRange
                                                             : kOk;
  double read = kUntouched;
  ASSERT_EQ(readDouble(text, &read), result) << text;
  const double wanted = result == kOk ? expected : kUntouched;
  const bool isSame = std::bit_cast<uint64_t>(read) == std::bit_cast<uint64_t>(wanted);
  EXPECT_TRUE(isSame || (std::isnan(read) && number == "NaN")) << text << " read as " << read;
}

std::string significant(std::string text) {
  text.resize(std::min(text.size(), text.find('e')));
  std::erase_if(text, [](char byte) { return byte == '.' || byte == '-'; });
  text.erase(0, text.find_first_not_of('0'));
  text.erase(text.find_last_not_of('0') + 1);
  return text;
}

// The digits are those of the standard library, and read back.
void checkWritten(double value) {
  const std::string text = writeDouble(value);
  char buffer[40];
  const auto [end, error] =
      std::to_chars(buffer, std::end(buffer), value, std::chars_format::scientific);
  EXPECT_EQ(significant(text), significant(std::string(buffer, end))) << text;
  double read = 0;
  EXPECT_EQ(readDouble(text, &read), kOk) << text;
  EXPECT_EQ(std::bit_cast<uint64_t>(read), std::bit_cast<uint64_t>(value)) << text;
  checkRead(text);
}

TEST(Doubles, AreWrittenInTheFewestDigits) {
  std::mt19937_64 random(1);
  for (uint64_t exponent = 1; exponent < 0x7FF; ++exponent) {
    for (const uint64_t before : {0U, 1U, 2U}) {
      checkWritten(std::bit_cast<double>((exponent << 52) + 1 - before));
    }
  }
  for (int i = 0; i < 30000; ++i) {
    const auto value = std::bit_cast<double>(random());
    if (std::isfinite(value)) checkWritten(value);
    checkWritten(static_cast<double>(random() % 100000000) / 1000);
  }
}

TEST(Doubles, AreReadToTheNearestOneAndWrittenAgain) {
  checkRead("");
  for (const std::string &line : tables::linesOf("doubles.txt")) {
    const std::string text = line.substr(0, line.find(" = "));
    checkRead(text);
    if (text == line) continue;
    double value = 0;
    EXPECT_EQ(readDouble(text, &value), kOk) << line;
    EXPECT_EQ(text + " = " + writeDouble(value), line);
  }
  checkRead("1" + std::string(400, '0') + "e-400");
  checkRead("0." + std::string(400, '0') + "1e401");
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    std::string text(static_cast<size_t>(1 + random() % (i % 50 == 0 ? 1000 : 24)), '0');
    for (char &byte : text) byte = "01234567890123456789.eE+-"[random() % (i % 2 == 0 ? 21 : 25)];
    checkRead(text);
    checkRead(text + "e" + std::to_string(static_cast<int>(random() % 660) - 330));
  }
}

// The middle between two doubles goes to the even one, and what is next to it to the nearest.
TEST(Doubles, MiddlesAreReadExactly) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 3000; ++i) {
    constexpr uint64_t kFiniteBits = 0x7FEFFFFFFFFFFFFE;
    const uint64_t bits = random() % (i % 3 == 0 ? uint64_t{1} << 53 : kFiniteBits);
    const long double middle = (static_cast<long double>(std::bit_cast<double>(bits)) +
                                static_cast<long double>(std::bit_cast<double>(bits + 1))) /
                               2;
    char text[1200];
    std::snprintf(text, sizeof text, "%.*Le", 770 + i % 3, middle);
    const std::string_view whole = text;
    const size_t exponent = whole.find('e');
    for (const char *last : {"", "1", "000000000000000000000000000000000000000001"}) {
      checkRead(std::string(whole.substr(0, exponent)) + last + text[exponent] +
                (text + exponent + 1));
    }
  }
}

TEST(Results, EachHasItsWords) {
  std::set<std::string> texts = {NEB_XML_GetErrorText(NEB_XML_OK)};
  for (uint32_t code = kInvalid; code <= kOutOfRange; ++code) {
    const std::string text = NEB_XML_GetErrorText(code);
    EXPECT_TRUE(texts.insert(text).second) << text;
    EXPECT_FALSE(text.empty() || text.back() == '.') << text;
  }
  const std::string unknown = NEB_XML_GetErrorText(1);
  EXPECT_TRUE(texts.insert(unknown).second);
  for (const uint32_t code : {kInvalid - 1, kOutOfRange + 1, UINT32_MAX}) {
    EXPECT_EQ(NEB_XML_GetErrorText(code), unknown);
  }
  EXPECT_STREQ(NEB_XML_GetErrorText(kOutOfRange), "the value is out of the type's range");
}

}  // namespace
