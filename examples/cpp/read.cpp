// Reads a configuration: read FILE
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "neb_xml.hpp"

static void show(neb::xml::ConstNode interface) {
  const std::string name(interface.attribute("name").value_or("?"));
  const auto mtu = interface.child("mtu").get<std::uint32_t>();
  std::printf("%-12s mtu %u", name.c_str(), mtu ? *mtu : 0);
  // Not every interface has a speed.
  const auto megabits = interface.child("speed").get<std::uint32_t>();
  if (megabits) std::printf(", %u Mbit/s", *megabits);
  std::printf("\n");
}

// Only an error in the document has a line, and only a failed call of the system an errno.
static void report(const char *path, const neb::xml::ParseError &error) {
  std::fprintf(stderr, "%s:", path);
  if (error.line != 0) std::fprintf(stderr, "%zu:%zu:", error.line, error.column);
  std::fprintf(stderr, " %s", error.what());
  if (error.system_error != 0) std::fprintf(stderr, ": %s", std::strerror(error.system_error));
  std::fprintf(stderr, "\n");
}

int main(int argc, char **argv) {
  const char *path = argc > 1 ? argv[1] : "examples/samples/device.xml";
  const auto device = neb::xml::Document::parse_file(path);
  if (!device) {
    report(path, device.error());
    return EXIT_FAILURE;
  }
  for (const neb::xml::ConstNode interface : device->root().child("interfaces").children()) {
    show(interface);
  }
  return EXIT_SUCCESS;
}
