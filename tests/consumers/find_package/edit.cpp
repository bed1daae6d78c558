#include <cstdint>
#include <cstdio>
#include <neb_xml.hpp>

int main() {
  auto document = neb::xml::Document::parse("<server><port>80</port></server>");
  if (!document) return std::puts(document.error().reason);
  neb::xml::Node port = document->root().find("server.port");
  if (!port.set(std::uint16_t{8080})) return 1;
  auto text = document->to_string();
  return text && std::fputs(text->c_str(), stdout) >= 0 ? 0 : 1;
}
