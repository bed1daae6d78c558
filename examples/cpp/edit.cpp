// Edits a configuration and saves it: edit FILE OUT
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "neb_xml.hpp"

using neb::xml::Node;
using neb::xml::Status;

static Status edit(Node device) {
  Node mtu = device.at("interfaces.interface.2.mtu");
  if (Status status = mtu.set(std::uint16_t{9000}); !status) return status;
  if (Status status = mtu.set_attribute("unit", "bytes"); !status) return status;

  device.at("users.user.2").remove();

  // A call on an empty view fails, so no step needs to check whether the one before found its node.
  auto server = device.at("services.ntp").append("server");
  if (!server) return server.error().code;
  return server->set("ntp3.example.net");
}

int main(int argc, char **argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: edit FILE OUT\n");
    return EXIT_FAILURE;
  }
  auto device = neb::xml::Document::parse_file(argv[1]);
  if (!device) {
    std::fprintf(stderr, "%s: %s\n", argv[1], device.error().what());
    return EXIT_FAILURE;
  }
  Status status = edit(device->root());
  // Replaces the file atomically.
  if (status) status = device->save(argv[2], 2);
  if (!status) std::fprintf(stderr, "%s: %s\n", argv[1], status.reason());
  return status ? EXIT_SUCCESS : EXIT_FAILURE;
}
