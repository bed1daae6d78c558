// Each test process has a temporary folder of its own, so that any number can run at once.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "platform/system.h"

namespace {

namespace fs = std::filesystem;

constexpr char kFolderVariable[] = "TEST_TMPDIR";  // read by testing::TempDir()

void setVariable(const char *name, const std::string &value) {
#if defined(NEB_XML_WINDOWS)
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

class OwnFolder : public testing::Environment {
  void SetUp() override {
    std::random_device random;
    std::string folder;
    do {
      folder = before_ + "neb-xml-test-" + std::to_string(random());
    } while (!fs::create_directory(folder));
    fs::permissions(folder, fs::perms(0711));  // for tests as other users
    setVariable(kFolderVariable, folder + "/");
  }
  void TearDown() override { fs::remove_all(testing::TempDir()); }

  const std::string before_ = testing::TempDir();
};

[[maybe_unused]] const auto *const kOwnFolder = testing::AddGlobalTestEnvironment(new OwnFolder);

}  // namespace
