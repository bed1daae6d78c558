// Builds a document from nothing and prints it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "neb_xml.hpp"

struct Port {
  const char *name;
  std::uint16_t vlan;
  bool is_enabled;
};

static constexpr Port kPorts[] = {{"port1", 120, true}, {"port2", 310, false}};

static bool add_port(neb::xml::Node device, const Port &port) {
  auto node = device.append("port");
  if (!node) return false;
  auto vlan = node->append("vlan");
  return vlan && node->set_attribute("name", port.name) &&
         node->set_attribute("enabled", port.is_enabled) && vlan->set(port.vlan);
}

int main() {
  auto device = neb::xml::Document::create("device");
  if (!device) return EXIT_FAILURE;
  for (const Port &port : kPorts) {
    if (!add_port(device->root(), port)) return EXIT_FAILURE;
  }
  const auto text = device->to_string(2);
  if (!text) return EXIT_FAILURE;
  std::fputs(text->c_str(), stdout);
  return EXIT_SUCCESS;
}
