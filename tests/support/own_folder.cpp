// Each process of tests has a temporary folder of its own, so that any number run side by side.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

constexpr char kVariable[] = "TEST_TMPDIR";  // testing::TempDir() is what it says

class OwnFolder : public testing::Environment {
  void SetUp() override {
    const char *before = std::getenv(kVariable);
    before_ = before == nullptr ? "" : before;
    std::string folder = testing::TempDir() + "neb-xml-test-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr) << folder;
    folder_ = folder;
    std::filesystem::permissions(folder, std::filesystem::perms(0711));  // for tests as other users
    setenv(kVariable, (folder + "/").c_str(), 1);
  }
  void TearDown() override {
    std::filesystem::remove_all(folder_);
    before_.empty() ? unsetenv(kVariable) : setenv(kVariable, before_.c_str(), 1);
  }

  std::string before_;
  std::filesystem::path folder_;
};

[[maybe_unused]] const auto *const g_ownFolder = testing::AddGlobalTestEnvironment(new OwnFolder);

}  // namespace
