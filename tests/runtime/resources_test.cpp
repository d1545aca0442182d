#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "runtime/log.h"
#include "runtime/resources.h"
#include "scratch_dir.h"

namespace talvero {
namespace {

namespace fs = std::filesystem;

class ResourcesTest : public testing::ScratchDirTest {
 protected:
  static std::string text(const Bytes& bytes) {
    return bytes ? std::string(bytes->begin(), bytes->end()) : "<none>";
  }
};

TEST_F(ResourcesTest, RegisteredBundleWinsAndTheFirstHitEndsTheSearch) {
  write("first/app.js", "first");
  write("second/app.js", "second");
  write("second/only-second.txt", "only");
  TalveroResources::registerBundle((root / "first").string());
  TalveroResources::registerBundle((root / "second").string());
  EXPECT_EQ(text(TalveroResources::localAsset("app.js")), "first");
  EXPECT_EQ(text(TalveroResources::localAsset("only-second.txt")), "only");
  EXPECT_EQ(TalveroResources::url("app", "js"), (root / "first/app.js").string());
  EXPECT_EQ(TalveroResources::localAsset("missing.bin"), nullptr);
}

TEST_F(ResourcesTest, PathInASubfolderIsSearchedWithItsFolder) {
  write("bundle/models/ship.v2.glb", "ship");
  write("bundle/ship.v2.glb", "wrong one");
  TalveroResources::registerBundle((root / "bundle").string());
  EXPECT_EQ(text(TalveroResources::localAsset("models/ship.v2.glb")), "ship");
  EXPECT_EQ(TalveroResources::localAsset("models/other.glb"), nullptr);
}

TEST_F(ResourcesTest, ExtensionIsSplitAtTheLastDotOfTheLastComponent) {
  using Split = std::pair<std::string, std::string>;
  EXPECT_EQ(TalveroResources::splitExtension("a/b.c.glb"), Split("a/b.c", "glb"));
  EXPECT_EQ(TalveroResources::splitExtension("dir.v2/file"), Split("dir.v2/file", ""));
  EXPECT_EQ(TalveroResources::splitExtension("noext"), Split("noext", ""));
}

TEST_F(ResourcesTest, CandidatesPutTheShippedBundleFirstAndSearchEachDirectoryOnce) {
  fs::create_directories(root / "exe/TalveroSDKResources.bundle");
  fs::create_directories(root / "data");
  const auto candidates = TalveroResources::candidateBundles(
      {(root / "exe").string(), (root / "data").string(), (root / "data/../exe").string(),
       (root / "absent").string()});
  ASSERT_EQ(candidates.size(), 3u);
  EXPECT_EQ(candidates[0], (root / "exe/TalveroSDKResources.bundle").string());
  EXPECT_EQ(candidates[1], (root / "exe").string());
  EXPECT_EQ(candidates[2], (root / "data").string());
}

TEST_F(ResourcesTest, MissingRequiredResourceStopsTheProcess) {
  EXPECT_EXIT(TalveroResources::url("no-such-resource", "bin"),
              ::testing::ExitedWithCode(kFatalExitStatus),
              "Talvero: resource no-such-resource.bin not found\\. For a binary");
}

}  // namespace
}  // namespace talvero
