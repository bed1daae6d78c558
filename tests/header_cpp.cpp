// The headers as C++, in each standard they are built with here, against either library.
#include "neb_xml.h"
#include "neb_xml.hpp"
// Again: the second time must add nothing.
#include "neb_xml.h"
#include "neb_xml.hpp"

#include <type_traits>

// Callers in C and C++ exchange these; their layout is part of the binary interface.
static_assert(std::is_standard_layout_v<XmlMemBuf> && sizeof(XmlMemBuf) == 2 * sizeof(char *) + 8);
static_assert(std::is_same_v<decltype(g_fnXMLFree), void (*)(void *)>);

int main() {
  const auto document = neb::xml::Document::parse("<list><item n='1'/></list>");
  if (!document) return 1;
  XmlNode *item = NEB_XML_GetNodeFirstChild(document->root().get());
  XML_Membuf_LogPrint("%p", static_cast<void *>(item));
  return *neb::xml::Node(item).get<int>("n") == 1 ? 0 : 1;
}
