// The C++ wrapper beside C code that does the same work by the same calls, including the lengths of
// the strings. The wrapper should cost nothing.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "neb_xml.hpp"

namespace {

using neb::xml::ConstNode;
using neb::xml::Document;

std::string orders() {
  std::string xml = "<orders>";
  for (int i = 0; i < 20'000; ++i) {
    xml += "<order id='" + std::to_string(i) + "' open='true'><item>thing</item><count>" +
           std::to_string(i % 100) + "</count></order>";
  }
  return xml + "</orders>";
}

const Document &document() {
  static const Document document = std::move(*Document::parse(orders()));
  return document;
}

void walkInC(benchmark::State &state) {
  for (auto _ : state) {
    size_t bytes = 0;
    for (const XmlNode *node = document().root().get(); node != nullptr;
         node = NEB_XML_Iterator(node)) {
      const char *value = nullptr;
      NEB_XML_GetNodeValue(node, nullptr, nullptr, nullptr, &value);
      if (value != nullptr) bytes += std::strlen(value);
      XmlNode *attribute = nullptr;
      NEB_XML_GetFirstAttrEx(node, &value, &value, &value, &attribute);
      for (; attribute != nullptr; attribute = NEB_XML_GetNodeNextSibling(attribute)) {
        NEB_XML_GetNodeValue(attribute, nullptr, nullptr, nullptr, &value);
        if (value != nullptr) bytes += std::strlen(value);
      }
    }
    benchmark::DoNotOptimize(bytes);
  }
}
BENCHMARK(walkInC)->Name("walk/C");

void walkInCpp(benchmark::State &state) {
  for (auto _ : state) {
    size_t bytes = 0;
    const ConstNode root = document().root();
    bytes += root.value().value_or("").size();
    for (const ConstNode node : root.descendants()) {
      bytes += node.value().value_or("").size();
      for (const auto attribute : node.attributes()) bytes += attribute.value().value_or("").size();
    }
    benchmark::DoNotOptimize(bytes);
  }
}
BENCHMARK(walkInCpp)->Name("walk/C++");

void typedInC(benchmark::State &state) {
  for (auto _ : state) {
    uint32_t sum = 0;
    for (XmlNode *order = NEB_XML_GetNodeFirstChild(document().root().get()); order != nullptr;
         order = NEB_XML_GetNodeNextSibling(order)) {
      uint32_t id = 0;
      const XmlNode *attribute = NEB_XML_FindAttr(order, "id", 2);
      if (NEB_XML_ReadValue(attribute, NEB_XML_VALUE_UINT32, &id) == NEB_XML_OK) sum += id;
      uint8_t count = 0;
      XmlNode *last = NEB_XML_GetNodeLastChild(order);
      if (NEB_XML_ReadValue(last, NEB_XML_VALUE_UINT8, &count) == NEB_XML_OK) sum += count;
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(typedInC)->Name("typed/C");

void typedInCpp(benchmark::State &state) {
  for (auto _ : state) {
    uint32_t sum = 0;
    for (const ConstNode order : document().root().children()) {
      sum += order.get<uint32_t>("id").value_or(0);
      sum += order.last_child().get<uint8_t>().value_or(0);
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(typedInCpp)->Name("typed/C++");

void findInC(benchmark::State &state) {
  for (auto _ : state) {
    XmlNode *found = nullptr;
    NEB_XML_GetNodeByUrl(document().root().get(), "orders.order.500.count", &found);
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(findInC)->Name("find/C");

void findInCpp(benchmark::State &state) {
  for (auto _ : state) {
    ConstNode found = document().root().find("orders.order.500.count");
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(findInCpp)->Name("find/C++");

}  // namespace

BENCHMARK_MAIN();
