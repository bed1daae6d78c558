#include "formats/json_writer.h"

#include "documents/node_reading.h"
#include "formats/json_mapping.h"
#include "terminal/output.h"

namespace nebxml {

JsonWriter::JsonWriter(const ResultFormat &format)
    : json_(writeStandardOutput), columns_(format.columns), isList_(format.isList) {
  if (isList_) json_.beginArray();
}

void JsonWriter::writeNode(const XmlNode *match) { writeMapping(json_, match); }

void JsonWriter::writeValue(std::string_view value) { json_.writeString(value); }

void JsonWriter::writeAttributes(const XmlNode *match) {
  json_.beginObject();
  for (const XmlNode *attribute : attributesAt(match)) {
    const NodeStrings strings = nodeStrings(attribute);
    json_.writeMember(strings.qualifiedName(), strings.value);
  }
  json_.endObject();
}

void JsonWriter::writeRow(const std::vector<std::optional<std::string_view>> &values) {
  json_.beginObject();
  for (size_t index = 0; index < values.size(); ++index) {
    json_.writeKey(columns_[index]);
    if (values[index]) {
      json_.writeString(*values[index]);
    } else {
      json_.writeNull();
    }
  }
  json_.endObject();
}

void JsonWriter::end() {
  if (isList_) json_.endArray();
  json_.end();
}

}  // namespace nebxml
