#include "checking/report.h"
#include "formats/json_stream.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

// Written as it grows.
class JsonReport : public Report {
 public:
  JsonReport() { json_.beginArray(); }

  void add(const std::string &fileName, const CommandError &error) override {
    const Finding &finding = error.finding();
    json_.beginObject();
    json_.writeMember("file", fileName);
    addPosition("line", finding.line);
    addPosition("column", finding.column);
    json_.writeKey("code");
    json_.writeNumber(static_cast<size_t>(error.status()));
    json_.writeMember("status", kindOf(error).status);
    json_.writeMember("message", finding.sentence);
    json_.endObject();
    json_.flush();
  }

  void end(const Summary & /*summary*/) override {
    json_.endArray();
    json_.end();
  }

 private:
  void addPosition(std::string_view key, size_t number) {
    json_.writeKey(key);
    if (number > 0) {
      json_.writeNumber(number);
    } else {
      json_.writeNull();
    }
  }

  JsonStream json_{writeStandardOutput};
};

}  // namespace

std::unique_ptr<Report> makeJsonReport() { return std::make_unique<JsonReport>(); }

}  // namespace nebxml
