// Writes a feed that is too long for memory: the frame once, the records one by one.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "neb_xml.hpp"

using neb::xml::Document;

static constexpr std::uint32_t kRecords = 3;
static constexpr char kFrame[] = "<feed><source>sensor 7</source><records/></feed>";

// The C interface prints the halves. It takes the node of any view.
static bool put(neb::xml::ConstNode node, std::uint32_t (*print)(const XmlNode *, char **)) {
  char *text = nullptr;
  if (print(node.get(), &text) != NEB_XML_OK) return false;
  if (text != nullptr) std::fputs(text, stdout);
  NEB_XML_FreeMem(text);
  return true;
}

// Each record is freed once it is written, so memory does not grow with the feed.
static bool put_record(const Document &pattern, std::uint32_t number) {
  auto record = pattern.clone();
  if (!record) return false;
  const neb::xml::Node node = record->root();
  return node.set_attribute("number", number) &&
         node.set(std::int32_t{20} + static_cast<std::int32_t>(number % 3)) &&
         put(node, NEB_XML_Transform);
}

int main() {
  const auto frame = Document::parse(kFrame);
  const auto pattern = Document::parse("<record number=''/>");
  if (!frame || !pattern) return EXIT_FAILURE;
  bool is_done = put(frame->root(), NEB_XML_TransformHead);
  for (std::uint32_t number = 1; is_done && number <= kRecords; ++number) {
    is_done = put_record(*pattern, number);
  }
  is_done = is_done && put(frame->root(), NEB_XML_TransformTail);
  return is_done && std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
