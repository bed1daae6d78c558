// Reads a configuration: read FILE
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "neb_xml.hpp"

static void show(neb::xml::Node interface) {
  const std::string name(interface.attribute("name").value_or("?"));
  const auto mtu = interface.find("interface.mtu").get<std::uint32_t>();
  std::printf("%-12s mtu %u", name.c_str(), mtu.value_or(0));
  // Not every interface has a speed.
  const auto megabits = interface.find("interface.speed").get<std::uint32_t>();
  if (megabits) std::printf(", %u Mbit/s", *megabits);
  std::printf("\n");
}

int main(int argc, char **argv) {
  const char *path = argc > 1 ? argv[1] : "examples/samples/device.xml";
  const auto device = neb::xml::Document::parse_file(path);
  if (!device) {
    const neb::xml::Error &error = device.error();
    std::fprintf(stderr, "%s:%zu:%zu: %s\n", path, error.line, error.column, error.reason);
    return EXIT_FAILURE;
  }
  for (const neb::xml::Node interface : device->root().find("device.interfaces").children()) {
    show(interface);
  }
  return EXIT_SUCCESS;
}
