#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <optional>

#include "engine/bindings/creator_utils_bindings.h"
#include "services/local_storage.h"
#include "test_support.h"

namespace talvero {
namespace {

namespace fs = std::filesystem;

class LocalStorageScriptTest : public testing::ScriptTest {
 protected:
  void SetUp() override {
    ScriptTest::SetUp();
    char pattern[] = "/tmp/talvero-storage-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder = pattern;
    storage.emplace(folder);
    addLocalStorageRows(exports, *storage);
    context.setGlobal("_creatorUtils", exports.instantiate(context));
  }
  void TearDown() override {
    storage.reset();
    fs::remove_all(folder);
  }

  fs::path folder;
  std::optional<LocalStorage> storage;
  ExportTable exports;
};

TEST_F(LocalStorageScriptTest, RowsStoreTextsPerProjectAndAMissingKeyIsUndefined) {
  using testing::json;
  EXPECT_EQ(json(context, "Object.keys(_creatorUtils)"),
            R"(["localStorageSetStorage","localStorageSetValue","localStorageGetValue",)"
            R"("localStorageRemoveValue"])");
  context.evaluate(R"(
    var u = _creatorUtils;
    var missing = u.localStorageGetValue('k');
    u.localStorageSetValue('k', 'v');
    u.localStorageSetValue('n', 5);
    var afterSet = [u.localStorageGetValue('k'), u.localStorageGetValue('n')];
    u.localStorageRemoveValue('k');
    var afterRemove = u.localStorageGetValue('k');
    u.localStorageSetStorage('other');
    var inOther = u.localStorageGetValue('n');
  )");
  EXPECT_TRUE(exceptions.empty());
  EXPECT_TRUE(eval("missing === undefined && afterRemove === undefined").toBool());
  EXPECT_TRUE(eval("inOther === undefined").toBool());
  EXPECT_EQ(json(context, "afterSet"), R"(["v","5"])");
}

}  // namespace
}  // namespace talvero
