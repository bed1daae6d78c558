// Runs the tests as a machine without wide vectors does, when the environment asks for it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "xml/xml_parser_map.h"

namespace {

class ForcedMaps : public testing::Environment {
  void SetUp() override {
    if (std::getenv("NEB_XML_TEST_SCALAR") == nullptr) return;
    MarkupMap::use(MarkupMap::scalarMapper());
    // The same tests may run at the same time, with files of the same names.
    const std::string folder = testing::TempDir() + "neb_xml_scalar/";
    std::filesystem::create_directories(folder);
    setenv("TEST_TMPDIR", folder.c_str(), 1);
  }
};

[[maybe_unused]] const auto *const g_forcedMaps = testing::AddGlobalTestEnvironment(new ForcedMaps);

}  // namespace
