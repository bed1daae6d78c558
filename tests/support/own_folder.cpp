// Each test process has a temporary folder of its own, so that any number can run at once.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

class OwnFolder : public testing::Environment {
  void SetUp() override {
    std::string folder = before_ + "neb-xml-test-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr) << folder;
    std::filesystem::permissions(folder, std::filesystem::perms(0711));  // for tests as other users
    setenv("TEST_TMPDIR", (folder + "/").c_str(), 1);  // testing::TempDir() from now on
  }
  void TearDown() override { std::filesystem::remove_all(testing::TempDir()); }

  const std::string before_ = testing::TempDir();
};

[[maybe_unused]] const auto *const kOwnFolder = testing::AddGlobalTestEnvironment(new OwnFolder);

}  // namespace
