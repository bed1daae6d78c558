#include "documents/parsing.h"

#include <array>
#include <new>

namespace nebxml {
namespace {

constexpr size_t kLongestMessage = 512;

Parsed parsed(uint32_t result, XmlNode *root, const NEB_XML_PARSE_ERROR &error, const char *cause) {
  if (result == NEB_XML_ERR_NO_MEMORY) throw std::bad_alloc();
  Tree tree(root);
  return {result, std::move(tree), error, cause == nullptr ? "" : cause};
}

}  // namespace

Parsed parseStrictly(std::string_view document, uint32_t maxDepth) {
  std::array<char, kLongestMessage> message{};
  NEB_XML_READ_OPTIONS options{};
  options.size = sizeof options;
  options.maxDepth = maxDepth;
  options.message = message.data();
  options.messageSize = message.size();
  NEB_XML_PARSE_ERROR error{};
  XmlNode *root = nullptr;
  const uint32_t result = NEB_XML_Read(document.data(), document.size(), &options, &root, &error);
  return parsed(result, root, error, message.data());
}

Parsed parseLeniently(std::string_view document) {
  NEB_XML_PARSE_ERROR error{};
  XmlNode *root = nullptr;
  const uint32_t result =
      NEB_XML_ParseBuffer(document.data(), document.size(), NEB_XML_PARSE_SESSION, &root, &error);
  return parsed(result, root, error, error.reason);
}

}  // namespace nebxml
