// Each test begins with the guarded hooks, and fails if anything is outstanding at its end.
#include <gtest/gtest.h>

#include "support/guarded_hooks.h"

namespace {

class EveryTest : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo & /*test*/) override { guarded::begin(); }

  void OnTestEnd(const testing::TestInfo & /*test*/) override {
    EXPECT_EQ(guarded::outstanding(), 0U) << "memory leaked";
    EXPECT_EQ(guarded::openStreams(), 0U) << "streams left open";
  }
};

const bool kListens = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new EveryTest);
  return true;
}();

}  // namespace
