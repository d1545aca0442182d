#include "services/system_utilities.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "engine/bindings/creator_utils_bindings.h"
#include "main_queue_support.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/window.h"
#include "runtime/buffers.h"
#include "scratch_dir.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

std::vector<uint8_t> bytesOf(const std::string& text) {
  return std::vector<uint8_t>(text.begin(), text.end());
}

// `_creatorUtils` with the system utilities' rows in a fresh context, over a desktop of
// recorders: the chooser answers `chooserAnswer`, sharing and URL opening are written down.
// The temporary folder, where shared files go, is the test's own scratch folder.
class SystemUtilitiesTest : public testing::ScratchDirTest {
 protected:
  void SetUp() override {
    ScratchDirTest::SetUp();
    if (const char* old = ::getenv("TMPDIR")) savedTmpdir = old;
    ::setenv("TMPDIR", root.c_str(), 1);
    context = ScriptContext::create();
    context.setExceptionHandler([this](const ScriptContext&, const ScriptValue& exception) {
      exceptions.push_back(exception.toString());
    });
    DesktopAccess desktop;
    desktop.openUri = [this](const std::string& uri) {
      openedUris.push_back(uri);
      return true;
    };
    desktop.openSettings = [] { return false; };
    desktop.chooseFiles = [this](toolkit::Window* parent, const desktop::FileChoice& choice,
                                 desktop::FileChoiceDone done) {
      choices.push_back(choice);
      chooserParents.push_back(parent);
      if (beforeAnswer) beforeAnswer();
      done(chooserAnswer);
    };
    desktop.share = [this](toolkit::Window& window, const desktop::ShareItems& items) {
      shareWindows.push_back(&window);
      shared.push_back(items);
    };
    utilities = std::make_unique<SystemUtilities>(openProject, std::move(desktop));
    addPlatformPropertyRows(
        exports, *utilities, [this] { return language; }, [] { return std::string("linux"); });
    addPickerAndRunRows(exports, *utilities);
    addSystemOpenRows(exports, *utilities);
    addShareRow(exports, *utilities);
    context.setGlobal("_creatorUtils", exports.instantiate(context));
  }

  void TearDown() override {
    settle();
    EXPECT_TRUE(exceptions.empty()) << exceptions.front();
    if (savedTmpdir) {
      ::setenv("TMPDIR", savedTmpdir->c_str(), 1);
    } else {
      ::unsetenv("TMPDIR");
    }
    ScratchDirTest::TearDown();
  }

  void settle() { testing::drainMainQueue(); }

  std::string stdoutOf(const std::function<void()>& body) {
    ::testing::internal::CaptureStdout();
    body();
    return ::testing::internal::GetCapturedStdout();
  }

  // Runs `body`, then the queued work, with a shown window of a running application as the
  // main window.
  void withMainWindow(const std::function<void(toolkit::Window&)>& body) {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
    toolkit::Application application("org.talvero.SystemUtilitiesTest");
    application.run([&] {
      {
        toolkit::Window window(application, "utilities", 200, 200);
        window.present();
        utilities->mainWindow = [&window] { return &window; };
        dispatch::pumpFor(0.05);
        body(window);
        settle();
        utilities->mainWindow = nullptr;
      }
      application.quit();
    });
  }

  std::vector<std::filesystem::path> filesInTemporaryFolder() const {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(root)) {
      files.push_back(entry.path());
    }
    return files;
  }

  std::optional<std::string> savedTmpdir;
  ScriptContext context;
  std::vector<std::string> exceptions;
  SystemUtilities::OpenProject openProject;  // before `utilities`, which refers to it
  std::unique_ptr<SystemUtilities> utilities;
  ExportTable exports;
  std::string language = "en";

  std::vector<std::string> openedUris;
  std::optional<std::vector<std::string>> chooserAnswer;
  std::function<void()> beforeAnswer;
  std::vector<desktop::FileChoice> choices;
  std::vector<toolkit::Window*> chooserParents;
  std::vector<toolkit::Window*> shareWindows;
  std::vector<desktop::ShareItems> shared;
};

TEST_F(SystemUtilitiesTest, RunWithAStaleOrNonUtf8IdLogsAfterTheScriptReturnedAndRejectsNothing) {
  int switches = 0;
  openProject = [&](const std::string&, const ScriptValue&) { ++switches; };
  const int64_t disposed = Buffers::putBuffer(makeBytes(bytesOf("var a = 1;")));
  Buffers::dispose(disposed);
  const int64_t latin1 = Buffers::putBuffer(makeBytes({'v', 'a', 'r', ' ', 0xE9, ';'}));
  context.setGlobal("disposed", disposed);
  context.setGlobal("latin1", latin1);

  const std::string during = stdoutOf([&] {
    context.evaluate(
        "var rejected = 0;"
        "_creatorUtils.run(disposed, function () { rejected++; });"
        "_creatorUtils.run(latin1, function () { rejected++; });");
  });
  EXPECT_EQ(during, "");
  const std::string after = stdoutOf([&] { settle(); });
  EXPECT_EQ(after, "[Buffers] run: stale id " + std::to_string(disposed) +
                       "\n[Buffers] run: stale id " + std::to_string(latin1) + "\n");
  EXPECT_EQ(switches, 0);
  EXPECT_EQ(json(context, "rejected"), "0");
}

TEST_F(SystemUtilitiesTest, RunHandsTheTextAndTheRejectFunctionToOpenProjectOnceTheScriptReturned) {
  std::vector<std::string> sources;
  ScriptValue givenReject;
  // The slot is filled after the utilities exist, as the engine does.
  openProject = [&](const std::string& source, const ScriptValue& reject) {
    sources.push_back(source);
    givenReject = reject;
  };
  const int64_t id = Buffers::putBuffer(makeBytes(bytesOf("label = 'Grüße';")));
  context.setGlobal("id", id);
  context.evaluate("function myReject() {} _creatorUtils.run(id, myReject);");
  EXPECT_TRUE(sources.empty());
  settle();
  ASSERT_EQ(sources, std::vector<std::string>{"label = 'Grüße';"});
  context.setGlobal("given", givenReject);
  EXPECT_EQ(json(context, "given === myReject"), "true");
  // Run does not consume the source.
  EXPECT_NE(Buffers::get(id), nullptr);
}

TEST_F(SystemUtilitiesTest, LanguageAndPlatformArePropertiesThatScriptsCannotSet) {
  EXPECT_EQ(json(context, "[typeof _creatorUtils.language, _creatorUtils.platform]"),
            R"(["string","linux"])");
  context.evaluate("_creatorUtils.language = 'xx'; _creatorUtils.platform = 'windows';");
  EXPECT_EQ(json(context, "[_creatorUtils.language, _creatorUtils.platform]"), R"(["en","linux"])");
  language = "nb";
  EXPECT_EQ(json(context, "_creatorUtils.language"), R"("nb")");
  EXPECT_EQ(json(context, "[_creatorUtils.pixelRatio, _creatorUtils.setPreciseTouch(true)]"),
            "[2,null]");
}

TEST_F(SystemUtilitiesTest, TheMainWindowGivesThePixelRatioAndOwnsThePicker) {
  withMainWindow([&](toolkit::Window& window) {
    const double scale = window.contentView()->backingScaleFactor();
    EXPECT_EQ(json(context, "_creatorUtils.pixelRatio"), json(context, std::to_string(scale)));
    context.evaluate("_creatorUtils.openFilePicker(function () {}, 0, false);");
    settle();
    EXPECT_EQ(chooserParents, std::vector<toolkit::Window*>{&window});
    utilities->mainWindow = [] { return nullptr; };
    EXPECT_EQ(json(context, "_creatorUtils.pixelRatio"), "2");
  });
}

TEST_F(SystemUtilitiesTest, OpenUrlQueuesParsableUrlsAndDropsTheRestSilently) {
  const std::string output = stdoutOf([&] {
    context.evaluate(
        "_creatorUtils.openUrl('not a url', true);"
        "_creatorUtils.openUrl('https://example.com/a?b=1#c', false);"
        "_creatorUtils.openUrl();"
        "_creatorUtils.openUrl('mailto:someone@example.com');");
    EXPECT_TRUE(openedUris.empty());
    settle();
  });
  EXPECT_EQ(openedUris, (std::vector<std::string>{"https://example.com/a?b=1#c",
                                                  "mailto:someone@example.com"}));
  EXPECT_EQ(output, "");
}

using FilePicker = SystemUtilitiesTest;

TEST_F(FilePicker, CancelledSingleGivesNoArgumentsAndCancelledMultipleAnEmptyList) {
  context.evaluate(
      "var calls = [];"
      "function record() { calls.push(Array.prototype.slice.call(arguments)); }"
      "_creatorUtils.openFilePicker(record, null, false, 'image/*');"
      "_creatorUtils.openFilePicker(record, null, true, 'image/*');");
  EXPECT_TRUE(choices.empty());
  settle();
  EXPECT_EQ(json(context, "calls"), "[[],[[]]]");
  ASSERT_EQ(choices.size(), 2u);
  EXPECT_FALSE(choices[0].multiple);
  EXPECT_TRUE(choices[1].multiple);
}

TEST_F(FilePicker, ChosenFilesArriveAsIdNameSizeTriplesAndUnreadableOnesEmpty) {
  const std::string png("\x89PNG\0\r\n", 7);
  const auto notes = write("notes.txt", "hello");
  const auto picture = write("deep/picture.png", png);
  const auto gone = write("gone.json", "{}");
  chooserAnswer = {{picture.string(), gone.string(), root.string(), notes.string()}};
  beforeAnswer = [&] { std::filesystem::remove(gone); };
  context.evaluate("var got; _creatorUtils.openFilePicker(function (f) { got = f; }, 0, true);");
  settle();
  const std::string folder = root.filename().string();
  EXPECT_EQ(json(context, "got.map(function (f) { return [f[1], f[2]]; })"),
            R"([["picture.png",7],["gone.json",0],[")" + folder + R"(",0],["notes.txt",5]])");
  std::vector<std::vector<uint8_t>> bytes;
  for (uint32_t i = 0; i < 4; ++i) {
    const auto id = static_cast<int64_t>(context.globalObject().get("got").at(i).at(0).toDouble());
    ASSERT_NE(Buffers::get(id), nullptr);
    bytes.push_back(*Buffers::get(id));
  }
  EXPECT_EQ(bytes, (std::vector<std::vector<uint8_t>>{bytesOf(png), {}, {}, bytesOf("hello")}));

  chooserAnswer = {{notes.string()}};
  beforeAnswer = nullptr;
  context.evaluate("_creatorUtils.openFilePicker(function (f) { got = f; }, 0, false);");
  settle();
  EXPECT_EQ(json(context, "[got.length, got[0].slice(1)]"), R"([1,["notes.txt",5]])");
}

TEST_F(FilePicker, AcceptTakesATextOrAnArrayOfTextsAndNothingElse) {
  context.evaluate(
      "function ignore() {}"
      "_creatorUtils.openFilePicker(ignore, 0, false, 'image/*');"
      "_creatorUtils.openFilePicker(ignore, 0, false, ['audio/*', '.png', 'png', "
      "'application/json']);"
      "_creatorUtils.openFilePicker(ignore, 0, false, ['image/png', 3]);"
      "_creatorUtils.openFilePicker(ignore, 0, false, 42);"
      "_creatorUtils.openFilePicker(ignore, 0, false, ['nothing-known', '...', 'no/such-type']);");
  settle();
  std::vector<std::vector<std::string>> types;
  for (const auto& choice : choices) types.push_back(choice.contentTypes);
  const std::vector<std::vector<std::string>> expected = {
      {"image/*"}, {"audio/*", "image/png", "application/json"}, {}, {}, {}};
  EXPECT_EQ(types, expected);
}

using ShareMedia = SystemUtilitiesTest;

TEST_F(ShareMedia, AStaleIdIsLoggedAtOnceAndNothingIsWrittenOrShared) {
  const int64_t id = Buffers::putBuffer(makeBytes({1}));
  Buffers::dispose(id);
  context.setGlobal("id", id);
  withMainWindow([&](toolkit::Window&) {
    EXPECT_EQ(stdoutOf([&] { context.evaluate("_creatorUtils.shareMedia(id, 'look');"); }),
              "[Buffers] shareMedia: stale id " + std::to_string(id) + "\n");
  });
  EXPECT_TRUE(shared.empty());
  EXPECT_TRUE(filesInTemporaryFolder().empty());
}

TEST_F(ShareMedia, TheBytesGoToAFreshShareFileOfferedFromTheMainWindow) {
  const std::string image("\x89PNG\r\n\x1a\n\0\0", 10);
  context.setGlobal("id", Buffers::putBuffer(makeBytes(bytesOf(image))));
  withMainWindow([&](toolkit::Window& window) {
    context.evaluate("_creatorUtils.shareMedia(id, 'look at this');");
    EXPECT_TRUE(filesInTemporaryFolder().empty());
    settle();
    EXPECT_EQ(shareWindows, std::vector<toolkit::Window*>{&window});
  });
  const auto files = filesInTemporaryFolder();
  ASSERT_EQ(files.size(), 1u);
  const std::string name = files[0].filename().string();
  EXPECT_TRUE(std::regex_match(
      name, std::regex("share-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"
                       "\\.png")))
      << name;
  std::ifstream in(files[0], std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), image);
  ASSERT_EQ(shared.size(), 1u);
  EXPECT_EQ(shared[0].fileUri, "file://" + files[0].string());
  EXPECT_EQ(shared[0].text, "look at this");
}

TEST_F(ShareMedia, MissingEmptyAndUndefinedTextsShareTheFileAlone) {
  context.setGlobal("id", Buffers::putBuffer(makeBytes({7})));
  withMainWindow([&](toolkit::Window&) {
    context.evaluate(
        "_creatorUtils.shareMedia(id);"
        "_creatorUtils.shareMedia(id, '');"
        "_creatorUtils.shareMedia(id, undefined);"
        "_creatorUtils.shareMedia(id, 'undefined');"
        "_creatorUtils.shareMedia(id, 0);");
  });
  ASSERT_EQ(shared.size(), 5u);
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(shared[i].text, std::nullopt) << i;
  EXPECT_EQ(shared[4].text, "0");
  EXPECT_EQ(filesInTemporaryFolder().size(), 5u);  // a file of its own for each
}

TEST_F(ShareMedia, WithoutAMainWindowTheFileIsWrittenButNothingIsShown) {
  context.setGlobal("id", Buffers::putBuffer(makeBytes({7})));
  context.evaluate("_creatorUtils.shareMedia(id, 'x');");
  settle();
  EXPECT_TRUE(shared.empty());
  EXPECT_EQ(filesInTemporaryFolder().size(), 1u);
}

}  // namespace
}  // namespace talvero
