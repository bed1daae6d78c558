// Typed values.
#include <gtest/gtest.h>

#include <charconv>
#include <cstring>
#include <random>
#include <tuple>

#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

constexpr uint32_t kOk = NEB_XML_OK, kInvalid = NEB_XML_ERR_INVALID_PARAM;
constexpr uint32_t kNotFound = NEB_XML_ERR_NOT_FOUND;
constexpr uint32_t kExists = NEB_XML_ERR_ALREADY_EXISTS;

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

template <typename... Integers>
void checkTypes(const std::string &text, int64_t number) {
  uint32_t type = NEB_XML_VALUE_BOOL;
  (checkOne<Integers>(++type, text, number), ...);
}

void check(const std::string &text, int64_t number) {
  checkTypes<int32_t, uint32_t, int16_t, uint16_t, int8_t, uint8_t>(text, number);
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

// Each row works on what the rows before it have made of the element.
TEST(Values, OfAttributes) {
  using Text = const char *;
  constexpr Text kAll = "a='255' b='true' p|a='4294967295'";
  const std::tuple<Text, Text, uint32_t, uint32_t, uint32_t, Text> rows[] = {
      {nullptr, "a", 5, kOk, kOk, "a='-1'"},
      {"", "a", 5, kExists, kNotFound, "a='-1'"},
      {nullptr, "a", 6, kOk, kOk, "a='255'"},
      {"", "b", 0, kOk, kNotFound, "a='255' b='true'"},
      {"p", "a", 2, kOk, kOk, kAll},
      {nullptr, "a", 7, kInvalid, kInvalid, kAll},
      {"q", "a", 9, kInvalid, kNotFound, kAll},
      {nullptr, "", 0, kInvalid, kNotFound, kAll},
      {"p", "a", 4, kOk, kOk, "a='255' b='true' p|a='65535'"}};
  XmlNode *element = XML_NewNode(0, NEB_XML_NODE_ELEMENT);
  for (const auto &[prefix, name, type, set, get, attributes] : rows) {
    const uint32_t number = 0xFFFFFFFF;
    Variable out;
    EXPECT_EQ(NEB_XML_SetAttrValueEx(element, prefix, name, type, &number), set);
    EXPECT_EQ(NEB_XML_GetAttrValueEx(element, prefix, name, type, out.bytes + 1), get);
    EXPECT_EQ(out == Variable(), get != kOk);
    EXPECT_EQ(trees::described(element), std::string("0:-=- ") + attributes);
  }
  NEB_XML_FreeNode(element);
}

}  // namespace
