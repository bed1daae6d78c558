// JSON that is written part by part.
#pragma once

// Lengths of strings are counted in size_t, not in 32 bits.
#define RAPIDJSON_NO_SIZETYPEDEFINE
#include <cstddef>
#include <string>
#include <string_view>
namespace rapidjson {
using SizeType = std::size_t;
}  // namespace rapidjson
#include <rapidjson/writer.h>

#include "terminal/buffered_output.h"

namespace nebxml {

// Memory for the levels that are open. The writer itself does not notice when there is none left.
class JsonMemory {
 public:
  static constexpr bool kNeedFree = true;  // NOLINT(readability-identifier-naming)

  void *Malloc(size_t size) { return Realloc(nullptr, 0, size); }
  void *Realloc(void *memory, size_t oldSize, size_t newSize);
  static void Free(void *memory);
};

class JsonStream {
 public:
  explicit JsonStream(BufferedOutput::Writing write);

  void beginObject() { writer_.StartObject(); }
  void endObject() { writer_.EndObject(); }
  void beginArray() { writer_.StartArray(); }
  void endArray() { writer_.EndArray(); }
  void writeNull() { writer_.Null(); }
  // What is not UTF-8 becomes U+FFFD.
  void writeKey(std::string_view name) { writeString(name); }
  void writeString(std::string_view value);
  void writeMember(std::string_view name, std::string_view value);
  // Ends the line, after the outermost value.
  void end();

 private:
  struct Sink {
    using Ch = char;
    void Put(char character) { text.push_back(character); }
    void Flush() {}

    std::string &text;
  };

  BufferedOutput output_;
  Sink sink_;
  rapidjson::Writer<Sink, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonMemory> writer_;
};

}  // namespace nebxml
