// Typed values.
#include <gtest/gtest.h>

#include <charconv>
#include <cstring>
#include <random>

#include "support/calls.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

// A variable at an odd address between bytes that must stay.
struct Variable {
  alignas(8) char bytes[8] = {'u', 'n', 't', 'o', 'u', 'c', 'h', 'd'};
  bool operator==(const Variable &) const = default;
};

// Reads what a text says; false when it must be refused.
template <typename Integer>
bool reads(std::string_view text, Integer *read) {
  const bool hasPlus = text.starts_with('+') && !text.starts_with("+-");
  if (std::is_signed_v<Integer> && hasPlus) text.remove_prefix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *read);
  return error == std::errc() && end == text.data() + text.size();
}

// Reads the text, then writes the number cut to the type and reads it back.
template <typename Integer>
void checkOne(uint32_t type, std::string text, int64_t number) {
  auto cut = static_cast<Integer>(number);
  Integer expected = 0;
  Variable wanted, read, written, again;
  XmlNode node = {};
  node.value = text.data();
  const bool isGood = reads(text, &expected);
  if (isGood) std::memcpy(wanted.bytes + 1, &expected, sizeof expected);
  const uint32_t result = NEB_XML_GetNodeValueEx(&node, type, read.bytes + 1);
  ASSERT_TRUE(result == (isGood ? kOk : kInvalid) && read == wanted) << text << ", type " << type;
  std::memcpy(written.bytes + 1, &cut, sizeof cut);
  ASSERT_EQ(NEB_XML_SetNodeValueEx(&node, type, written.bytes + 1), kOk);
  EXPECT_EQ(std::string(node.value), std::to_string(cut)) << "type " << type;
  EXPECT_EQ(NEB_XML_GetNodeValueEx(&node, type, again.bytes + 1), kOk) << node.value;
  EXPECT_TRUE(again == written) << node.value;
  g_fnXMLFree(node.value);
}

void check(const std::string &text, int64_t number) {
  uint32_t type = NEB_XML_VALUE_BOOL;
  const auto checkAll = [&]<typename... Integers>() {
    (checkOne<Integers>(++type, text, number), ...);
  };
  checkAll.operator()<int32_t, uint32_t, int16_t, uint16_t, int8_t, uint8_t>();
}

TEST(Values, EveryNumberOf16BitsLimitsAndMalformedTexts) {
  for (int64_t number = -66000; number <= 66000; ++number) check(std::to_string(number), number);
  for (const unsigned power : {0U, 7U, 8U, 15U, 16U, 31U, 32U, 33U, 62U}) {
    for (int64_t near = (int64_t{1} << power) - 2; near < (int64_t{1} << power) + 2; ++near) {
      for (const char *start : {"", "-", "+", "000", "-00", "--", "+-", " ", "0x", "1e", "\t"}) {
        for (const char *end : {"", " ", "x", "."}) {
          check(start + std::to_string(near) + end, -near);
        }
      }
    }
  }
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    std::string text(random() % 30, '0');
    for (char &byte : text) byte = "000000000000012345678900123456789+-"[random() % 35];
    check(text, static_cast<int64_t>(random()));
    check(text.substr(0, text.find_first_of("+-", 1)), 0);
  }
}

TEST(Values, Booleans) {
  std::string texts[] = {"0", "false", "1", "true", "", "True", " 1", "00", "tru", "yes", "+1"};
  XmlNode node = {};
  for (size_t i = 0; i < std::size(texts); ++i) {
    uint32_t read = 9;
    node.value = texts[i].data();
    EXPECT_EQ(NEB_XML_GetNodeValueEx(&node, NEB_XML_VALUE_BOOL, &read), i < 4 ? kOk : kInvalid);
    EXPECT_EQ(read, i < 4 ? i / 2 : 9) << texts[i];
  }
  for (const uint32_t value : {0U, 1U, 7U, 0x100U, 0x80000000U}) {
    EXPECT_EQ(NEB_XML_SetNodeValueEx(&node, NEB_XML_VALUE_BOOL, &value), kOk);
    EXPECT_STREQ(node.value, value == 0 ? "false" : "true");
  }
  g_fnXMLFree(node.value);
}

}  // namespace
