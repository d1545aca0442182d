#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace talvero::testing {

// A fixture owning an empty directory of its own, named after the process and the test so that
// parallel test processes never share one; removed again after the test.
class ScratchDirTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root = std::filesystem::temp_directory_path() /
           ("talvero-" + std::to_string(::getpid()) + "-" +
            ::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name() + "-" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(root);
    std::filesystem::create_directories(root);
  }
  void TearDown() override { std::filesystem::remove_all(root); }

  // Writes `content` to `relative` below the directory, making the folders on the way.
  std::filesystem::path write(const std::filesystem::path& relative, const std::string& content) {
    const std::filesystem::path file = root / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file;
  }

  std::filesystem::path root;
};

}  // namespace talvero::testing
