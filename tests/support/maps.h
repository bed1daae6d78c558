// Tests that run both as machines with wide vectors do and as others do.
#pragma once

#include <gtest/gtest.h>

#include "xml/parser/map.h"

using neb::xml::internal::MarkupMap;

class Maps : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    const MarkupMap::Mapper vector = MarkupMap::vectorMapper();
    if (GetParam() && vector == nullptr) GTEST_SKIP() << "no wide vectors on this machine";
    MarkupMap::use(GetParam() ? vector : MarkupMap::scalarMapper());
  }
};

inline std::string nameOfMaps(const testing::TestParamInfo<bool> &maps) {
  return maps.param ? "Vector" : "Scalar";
}
