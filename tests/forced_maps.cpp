// Runs the tests as a machine without wide vectors does, when the environment asks for it.
#include <gtest/gtest.h>

#include <cstdlib>

#include "xml/xml_parser_map.h"

namespace {

class ForcedMaps : public testing::Environment {
  void SetUp() override {
    if (std::getenv("NEB_XML_TEST_SCALAR") != nullptr) MarkupMap::use(MarkupMap::scalarMapper());
  }
};

[[maybe_unused]] const auto *const kForcedMaps = testing::AddGlobalTestEnvironment(new ForcedMaps);

}  // namespace
