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

// NOLINTBEGIN(readability-identifier-naming): RapidJSON calls them by these names.

// Memory for the levels that are open. RapidJSON itself would not notice a failure.
class JsonMemory {
 public:
  static constexpr bool kNeedFree = true;

  void *Malloc(size_t size) { return Realloc(nullptr, 0, size); }
  void *Realloc(void *memory, size_t oldSize, size_t newSize);
  static void Free(void *memory);
};

struct JsonSink {
  using Ch = char;
  void Put(char character) { text.push_back(character); }
  void Flush() {}

  std::string &text;
};

// NOLINTEND(readability-identifier-naming)

class JsonStream {
 public:
  explicit JsonStream(BufferedOutput::Writing write);

  void beginObject() { writer_.StartObject(); }
  void endObject() { writer_.EndObject(); }
  void beginArray() { writer_.StartArray(); }
  void endArray() { writer_.EndArray(); }
  void writeNull() { writer_.Null(); }
  void writeNumber(size_t number) { writer_.Uint64(number); }
  // What is not UTF-8 becomes U+FFFD.
  void writeKey(std::string_view name) { writeString(name); }
  void writeString(std::string_view value);
  void writeMember(std::string_view name, std::string_view value);
  // Writes what has been collected, so that others can read it already.
  void flush() { output_.flush(); }
  // Ends the line, after the outermost value.
  void end();

 private:
  BufferedOutput output_;
  JsonSink sink_;
  rapidjson::Writer<JsonSink, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonMemory> writer_;
};

}  // namespace nebxml
