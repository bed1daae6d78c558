// Runs the tests as a machine without wide vectors does, when the environment asks for it.
#include <gtest/gtest.h>

#include <cstdlib>

#include "xml/parser/map.h"

using namespace neb::xml::internal;

namespace {

class ForcedMaps : public testing::Environment {
  void SetUp() override {
    if (std::getenv("NEB_XML_TEST_SCALAR") != nullptr) MarkupMap::use(MarkupMap::scalarMapper());
  }
};

[[maybe_unused]] const auto *const g_forcedMaps = testing::AddGlobalTestEnvironment(new ForcedMaps);

}  // namespace
