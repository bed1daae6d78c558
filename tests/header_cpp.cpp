// The headers as C++, in each standard they are built with here, against either library.
#include "neb_xml.h"
#include "neb_xml.hpp"
// Again: the second time must add nothing.
#include "neb_xml.h"
#include "neb_xml.hpp"

#include <string>
#include <type_traits>

// Callers in C and C++ exchange these; their layout is part of the binary interface.
static_assert(std::is_standard_layout_v<XmlMemBuf> && sizeof(XmlMemBuf) == sizeof(char *) + 16);
static_assert(std::is_same_v<decltype(g_fnXMLFree), void (*)(void *)>);

int main() {
  XmlNode *doc = nullptr;
  if (NEB_XML_Parse("<list><item n='1'/></list>", &doc) != NEB_XML_OK) {
    return 1;
  }
  XmlNode *item = NEB_XML_GetNodeFirstChild(doc);
  uint8_t number = 0;
  const uint32_t read = NEB_XML_GetAttrValueEx(item, nullptr, "n", NEB_XML_VALUE_UINT8, &number);
  char *text = nullptr;
  const uint32_t printed = NEB_XML_Transform(doc, &text);
  const bool same =
      printed == NEB_XML_OK && std::string(text) == "<list>\n<item n=\"1\"/>\n</list>\n";
  NEB_XML_FreeMem(text);
  NEB_XML_FreeNode(doc);
  XML_Membuf_LogPrint("%u", static_cast<unsigned>(number));
  const auto document = neb::xml::Document::parse("<list><item n='1'/></list>");
  const bool faceReads = document && *document->root().first_child().get<int>("n") == 1;
  return read == NEB_XML_OK && number == 1 && same && faceReads ? 0 : 1;
}
