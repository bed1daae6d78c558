#include "corpus.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace bench {
namespace {

constexpr size_t kKiB = 1024;
constexpr size_t kMiB = 1024 * kKiB;
constexpr size_t kDeepest = 100000;

// 275 bytes.
constexpr const char *kTiny =
    "<?xml version=\"1.0\"?>\n"
    "<config>\n"
    "  <server name=\"edge-1\" enabled=\"true\">\n"
    "    <address>10.0.0.17</address>\n"
    "    <port>8443</port>\n"
    "    <tls cert=\"a.pem\" key=\"a.key\"/>\n"
    "  </server>\n"
    "  <log level=\"info\"><file>/var/log/edge.log</file><keep>14</keep></log>\n"
    "  <user>ops</user>\n"
    "</config>\n";

class Random {
 public:
  size_t below(size_t limit) {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<size_t>(state_ >> 33) % limit;
  }
  std::string number(size_t limit) { return std::to_string(below(limit)); }
  const char *word() {
    static constexpr const char *kWords[] = {
        "amber", "basin",   "cedar", "delta", "ember",  "fjord", "garnet", "haven",
        "inlet", "juniper", "krill", "lumen", "meadow", "north", "onyx",   "prairie"};
    return kWords[below(std::size(kWords))];
  }

 private:
  uint64_t state_ = 2023;
};

using Append = void (*)(std::string &, Random &);

void addOrder(std::string &xml, Random &random) {
  xml.append("  <order id=\"").append(random.number(1000000)).append("\" currency=\"EUR\">\n");
  xml.append("    <customer ref=\"c").append(random.number(10000)).append("\">\n      <name>");
  xml.append(random.word()).append(" &amp; ").append(random.word()).append("</name>\n");
  xml.append("      <city>").append(random.word()).append("</city>\n    </customer>\n");
  for (size_t items = 1 + random.below(4); items > 0; --items) {
    xml.append("    <item sku=\"").append(random.number(100000)).append("\" unit=\"pcs\">\n");
    xml.append("      <quantity>").append(random.number(100)).append("</quantity>\n");
    xml.append("      <price>").append(random.number(1000)).append(".95</price>\n    </item>\n");
  }
  xml.append("    <note>").append(random.word()).append(" &lt;").append(random.word());
  xml.append("&gt; ").append(random.word()).append("</note>\n  </order>\n");
}

void addLogEntry(std::string &xml, Random &random) {
  xml.append("<entry time=\"17").append(std::to_string(10000000 + random.below(80000000)));
  xml.append("\" level=\"info\" host=\"").append(random.word()).append("\" pid=\"");
  xml.append(random.number(32768)).append("\" user=\"").append(random.word());
  xml.append("\" bytes=\"").append(random.number(1000000)).append("\" path=\"/");
  xml.append(random.word()).append("/").append(random.word()).append("?a=1&amp;b=2\" status=\"");
  xml.append(random.number(500)).append("\"/>\n");
}

void addDenseElements(std::string &xml, Random &random) {
  xml.append("<a><b/><c>").append(random.number(10)).append("</c><d><e/><f/></d></a>");
}

void addLongText(std::string &xml, Random &random) {
  xml.append("<section><body>");
  for (size_t end = xml.size() + 2000 + random.below(18000); xml.size() < end;) {
    xml.append(random.word()).append(" ");
    if (random.below(100) == 0) xml.append("&quot;").append(random.word()).append("&quot;\n");
  }
  xml.append("</body></section>\n");
}

void addNumber(std::string &xml, Random &random) {
  xml.append("<n>").append(random.number(1000000)).append("</n>\n");
}

std::string repeat(const char *root, size_t size, Append add) {
  Random random;
  std::string xml = std::string("<") + root + ">\n";
  xml.reserve(size + size / 8);
  while (xml.size() < size) add(xml, random);
  return xml.append("</").append(root).append(">\n");
}

std::string chain(size_t depth) {
  std::string xml;
  for (size_t i = 0; i < depth; ++i) xml += "<link>";
  xml += "end";
  for (size_t i = 0; i < depth; ++i) xml += "</link>";
  return xml;
}

}  // namespace

std::vector<Corpus> generatedCorpora(bool large) {
  std::vector<Corpus> corpora = {
      {"tiny-275B", kTiny},
      {"orders-2K", repeat("orders", 2 * kKiB, addOrder)},
      {"orders-64K", repeat("orders", 64 * kKiB, addOrder)},
      {"orders-1M", repeat("orders", kMiB, addOrder)},
      {"orders-32M", repeat("orders", 32 * kMiB, addOrder)},
      {"logs-64K", repeat("log", 64 * kKiB, addLogEntry)},
      {"logs-4M", repeat("log", 4 * kMiB, addLogEntry)},
      {"dense-4M", repeat("dense", 4 * kMiB, addDenseElements)},
      {"texts-4M", repeat("texts", 4 * kMiB, addLongText)},
      {"numbers-128K", repeat("numbers", 128 * kKiB, addNumber)},
      {"deep-100000", chain(kDeepest), kDeepest},
  };
  if (large) corpora.push_back({"orders-300M", repeat("orders", 300 * kMiB, addOrder)});
  return corpora;
}

std::vector<Corpus> realCorpora(const std::string &folder) {
  std::vector<Corpus> corpora;
  std::error_code error;
  for (const auto &entry : std::filesystem::directory_iterator(folder, error)) {
    std::ifstream file(entry.path(), std::ios::binary);
    std::string input(std::istreambuf_iterator<char>(file), {});
    if (!input.empty()) corpora.push_back({entry.path().filename().string(), std::move(input)});
  }
  std::sort(corpora.begin(), corpora.end(),
            [](const Corpus &a, const Corpus &b) { return a.name < b.name; });
  return corpora;
}

const Corpus *findCorpus(const std::vector<Corpus> &corpora, const std::string &name) {
  const auto found = std::find_if(corpora.begin(), corpora.end(),
                                  [&](const Corpus &corpus) { return corpus.name == name; });
  return found == corpora.end() ? nullptr : &*found;
}

std::vector<Path> orderPaths(size_t orders) {
  std::vector<Path> paths;
  for (size_t order = 1; order <= orders; order += 7) {
    paths.push_back({"orders.order." + std::to_string(order) + ".customer.name",
                     {{"orders", 1}, {"order", order}, {"customer", 1}, {"name", 1}}});
    paths.push_back({"orders.order." + std::to_string(order) + ".note",
                     {{"orders", 1}, {"order", order}, {"note", 1}}});
  }
  return paths;
}

}  // namespace bench
