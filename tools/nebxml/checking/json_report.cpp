#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "checking/report.h"
#include "terminal/output.h"
#include "terminal/printable.h"

namespace nebxml {
namespace {

// JSON has no other bytes than those of UTF-8. The name of a file can have them.
std::string withoutOtherBytes(std::string_view text) {
  constexpr unsigned char kFirstOtherThanAscii = 0x80;
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string result;
  while (!text.empty()) {
    const size_t length = characterLength(text);
    const bool isOther =
        length == 1 && static_cast<unsigned char>(text.front()) >= kFirstOtherThanAscii;
    result += isOther ? kReplacement : text.substr(0, length);
    text.remove_prefix(length);
  }
  return result;
}

// Written as it grows.
class JsonReport : public Report {
 public:
  JsonReport() { writer_.StartArray(); }

  void add(const std::string &fileName, const CommandError &error) override {
    const Finding &finding = error.finding();
    writer_.StartObject();
    addString("file", fileName);
    addPosition("line", finding.line);
    addPosition("column", finding.column);
    writer_.Key("code");
    writer_.Int(static_cast<int>(error.status()));
    addString("status", kindOf(error).status);
    addString("message", finding.sentence);
    writer_.EndObject();
    flush();
  }

  void end(const Summary & /*summary*/) override {
    writer_.EndArray();
    flush();
    writeStandardOutput("\n");
  }

 private:
  void addString(const char *key, const std::string &value) {
    const std::string text = withoutOtherBytes(value);
    writer_.Key(key);
    writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  }

  void addPosition(const char *key, size_t number) {
    writer_.Key(key);
    if (number > 0) {
      writer_.Uint64(number);
    } else {
      writer_.Null();
    }
  }

  void flush() {
    writeStandardOutput({buffer_.GetString(), buffer_.GetSize()});
    buffer_.Clear();
  }

  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_{buffer_};
};

}  // namespace

std::unique_ptr<Report> makeJsonReport() { return std::make_unique<JsonReport>(); }

}  // namespace nebxml
