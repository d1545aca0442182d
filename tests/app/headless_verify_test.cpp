#include "app/headless_verify.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "app/app_launch.h"
#include "app/host_views.h"
#include "engine/engine.h"
#include "platform/script/script_context.h"
#include "platform/toolkit/image.h"
#include "platform/toolkit/window.h"
#include "runtime/animation_manager.h"
#include "scene3d/frame_loop.h"
#include "scene3d/scenes.h"
#include "scene3d_test_support.h"
#include "scratch_dir.h"
#include "ui/ui_store.h"

namespace talvero {
namespace {

namespace fs = std::filesystem;

toolkit::Bitmap flat(int width, int height, uint8_t r, uint8_t g, uint8_t b) {
  toolkit::Bitmap bitmap{width, height, {}};
  for (int i = 0; i < width * height; ++i) bitmap.rgba.insert(bitmap.rgba.end(), {r, g, b, 255});
  return bitmap;
}

void paint(toolkit::Bitmap& bitmap, int index, uint8_t r, uint8_t g, uint8_t b) {
  uint8_t* pixel = &bitmap.rgba[static_cast<size_t>(index) * 4];
  pixel[0] = r;
  pixel[1] = g;
  pixel[2] = b;
}

TEST(SnapshotContent, AFlatPictureOfAnyColourIsEmpty) {
  for (uint8_t grey : {0, 128, 255}) {
    EXPECT_EQ(countDifferingPixels(flat(40, 30, grey, grey, grey)), 0u);
    EXPECT_FALSE(hasContent(flat(40, 30, grey, grey, grey)));
  }
}

TEST(SnapshotContent, APixelDiffersFromTheFirstBy41InSumOfChannels) {
  toolkit::Bitmap bitmap = flat(4, 1, 10, 200, 10);
  paint(bitmap, 1, 30, 180, 10);  // 20 + 20 + 0: too close
  paint(bitmap, 2, 30, 180, 11);  // 41, with a channel going down
  paint(bitmap, 3, 0, 255, 0);    // 10 + 55 + 10 = 75
  EXPECT_EQ(countDifferingPixels(bitmap), 2u);
}

TEST(SnapshotContent, MoreThanOnePixelInFiveHundredMustStandOut) {
  toolkit::Bitmap bitmap = flat(100, 50, 255, 255, 255);  // 5000 pixels: 10 is the bar
  for (int i = 1; i <= 10; ++i) paint(bitmap, i * 7, 0, 0, 0);
  EXPECT_FALSE(hasContent(bitmap));
  paint(bitmap, 4999, 0, 0, 0);
  EXPECT_TRUE(hasContent(bitmap));
}

// A new engine with an open scene under a camera at the origin looking down -z: the sky alone,
// or a red square of side 1 in the middle with a small blue one up and to the left.
void openNativeScene(bool withSquares) {
  scene3d::init();
  ASSERT_TRUE(scene3d::hasEngine()) << "no GL display: run the tests under xvfb-run";
  const int64_t scene = scene3d::createScene();
  const uint32_t camera = scene3d::createEntity();
  scene3d::attachCameraToScene(scene, camera);
  scene3d::openScene(scene);
  if (!withSquares) return;
  using scene3d::testing::addQuad, scene3d::testing::unlitColour;
  addQuad(scene, unlitColour(0xFF0000FF), -0.5f, -0.5f, 0.5f, 0.5f, -2);
  addQuad(scene, unlitColour(0x0000FFFF), -1.35f, 0.65f, -1.05f, 0.95f, -2);
}

using Pixel = std::array<int, 3>;
Pixel colourAt(const toolkit::Bitmap& bitmap, int x, int y) {
  const uint8_t* p = bitmap.pixel(x, y);
  return {p[0], p[1], p[2]};
}

toolkit::Bitmap readPng(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
  const auto image = toolkit::Image::decode(bytes.data(), bytes.size());
  if (!image) return {};
  return {image->width(), image->height(), image->rgba()};
}

class SceneRenderHeadless : public testing::ScratchDirTest {
 protected:
  void TearDown() override {
    scene3d::destroyEngine();
    ScratchDirTest::TearDown();
  }
};

TEST_F(SceneRenderHeadless, FifteenFramesTickTheClockAndTheReadPictureIsWrittenUpright) {
  ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
  openNativeScene(true);
  auto animations = std::make_shared<AnimationManager>();
  ScriptContext script = ScriptContext::create();
  script.evaluate("var ticks = 0; function loop() { ticks++; }");
  animations->addLoop(1, script.globalObject().get("loop"));

  const size_t count = renderCurrentSceneHeadless(*animations, 80, 60, (root / "3d.png").string());
  // Eight frames, the one read, six more: the clock ticks in the drawn frames around the read.
  EXPECT_EQ(script.globalObject().get("ticks").toInt32(), 14);
  EXPECT_EQ(scene3d::lastFrameTime(), 15 * 16);
  EXPECT_EQ(scene3d::viewportWidth(), 80u);
  EXPECT_EQ(scene3d::viewportHeight(), 60u);

  const toolkit::Bitmap png = readPng(root / "3d.png");
  ASSERT_EQ(png.width, 80);
  ASSERT_EQ(png.height, 60);
  const Pixel sky{26, 64, 145};
  EXPECT_EQ(colourAt(png, 40, 30), (Pixel{255, 0, 0}));
  EXPECT_EQ(colourAt(png, 9, 9), (Pixel{0, 0, 255}));  // up and to the left: upright
  EXPECT_EQ(colourAt(png, 9, 50), sky);
  EXPECT_EQ(colourAt(png, 0, 0), sky);
  EXPECT_EQ(count, countDifferingPixels(png));
  EXPECT_GT(count, 500u);

  // Rendered again, the clock goes on from where it was.
  renderCurrentSceneHeadless(*animations, 80, 60, (root / "again.png").string());
  EXPECT_EQ(scene3d::lastFrameTime(), 30 * 16);
}

// A bundle and a launcher in a scratch directory, run by the real engine into an 800x600
// container as the self-test modes do.
class HeadlessVerifyTest : public testing::ScratchDirTest {
 protected:
  void SetUp() override {
    ScratchDirTest::SetUp();
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
    engine = std::make_unique<TalveroEngine>();
    // What the 3D bindings will do for a script: a native scene, opened through the store.
    engine->registerCallback("openScene", [this](const std::vector<ScriptValue>& args) {
      openNativeScene(!args.empty() && args[0].toBool());
      engine->creatorUI().onOpenScene();
      return NativeValue();
    });
    engine->registerCallback("onTouchStart", [this](const std::vector<ScriptValue>& args) {
      if (!args.empty()) engine->creatorUI().onTouchStartCallback = args[0];
      return NativeValue();
    });
    engine->registerCallback("record", [this](const std::vector<ScriptValue>& args) {
      records.push_back(args.empty() ? "" : args[0].toString());
      return NativeValue();
    });
    host = std::make_unique<HostViews>(engine->creatorUI(), engine->animationManager(),
                                       engine->creator2dHandler());
    host->container = std::make_shared<toolkit::View>();
    host->container->setFrame({{0, 0}, {800, 600}});
  }

  // Runs a self-test with the given arguments; the output goes to `output`.
  int verify(bool launcher, std::vector<std::string> argv = {"talvero", "--verify"}) {
    launch = std::make_unique<AppLaunch>(*engine, root.string(), std::move(argv), "");
    launch->wireEngine();
    host->wireStore();
    host->buildsSceneViews = launcher;  // as the host does: the bundle test renders offscreen
    HeadlessVerify verifier(engine->creatorUI(), engine->animationManager(), *launch, *host);
    verifier.snapshotFolder = root.string();
    ::testing::internal::CaptureStdout();
    const int status = launcher ? verifier.verifyLauncher() : verifier.verifyBundle();
    output = ::testing::internal::GetCapturedStdout();
    return status;
  }
  bool said(const std::string& line) { return output.find(line + "\n") != std::string::npos; }
  void TearDown() override {
    host.reset();
    scene3d::destroyEngine();
    ScratchDirTest::TearDown();
  }

  std::unique_ptr<TalveroEngine> engine;
  std::unique_ptr<HostViews> host;
  std::unique_ptr<AppLaunch> launch;
  std::vector<std::string> records;
  std::string output;
};

// Enough text that the picture has content while colours and backgrounds may not show.
constexpr const char* kTexts =
    "function text(t) { return {type: 'text', _style: {}, _text: t}; }"
    "var texts = [text('Headless verification draws these lines of text into memory'),"
    "  text('and counts the pixels that stand out from the first one of the picture'),"
    "  text('so that a screen with content is told from an empty or flat one.')];";

TEST_F(HeadlessVerifyTest, ABundleWithNeitherScreenNorSceneIsOk) {
  write("bundle.js", "record('bundle ran');");
  EXPECT_EQ(verify(false), 0);
  EXPECT_TRUE(output.ends_with("[TalveroApp] bundle returned\n[verify] OK\n")) << output;
  EXPECT_EQ(records, (std::vector<std::string>{"bundle ran"}));
}

TEST_F(HeadlessVerifyTest, TheBundleScreenIsRenderedDismissedAndDragged) {
  write("bundle.js",
        std::string(kTexts) +
            "var root = {type: 'screen', _interactive: true, _style: {padding: 20},"
            "  children: texts.concat([{type: 'button', _style: {}, children: [text('Go')],"
            "    _emitTouchStart: function () { return null; }, _emitClick: function () {} }]),"
            "  _emitTouchStart: function (id, x, y) {"
            "    record('start ' + id + ' ' + x + ',' + y); var moves = 0;"
            "    return {onMove: function () { moves++; },"
            "            onEnd: function (e) { record('end ' + moves + ' ' + e.clientX + ','"
            "              + e.clientY); }}; }};"
            "_creatorUI.openScreen(root);"
            "var widget = {type: 'widget', _style: {}, children: [text('A widget')],"
            "  otl: [function () { record('overlay tap'); _creatorUI.hideWidget(widget); }]};"
            "_creatorUI.showWidget(widget);");
  EXPECT_EQ(verify(false), 0) << output;
  for (const char* line :
       {"[verify] UI screen rendered", "[verify] clicked first button",
        "[verify] post-click UI rendered", "[verify] dismissed widget via overlay tap",
        "[verify] screen drag tracked (track -> onMove/onEnd)", "[verify] post-drag UI rendered",
        "[verify] OK"}) {
    EXPECT_TRUE(said(line)) << line << "\n" << output;
  }
  EXPECT_EQ(records,
            (std::vector<std::string>{"overlay tap", "start 2000 190,190", "end 10 470,360"}));
  EXPECT_TRUE(host->openWidgetHosts.empty());
  for (const char* png : {"talvero-app-ui.png", "talvero-app-ui-after.png",
                          "talvero-app-ui-dismissed.png", "talvero-app-ui-dragged.png"}) {
    EXPECT_GT(fs::file_size(root / png), 0u) << png;
  }
  EXPECT_FALSE(fs::exists(root / "talvero-app-ui-popped.png"));  // the click pushed nothing
  EXPECT_FALSE(fs::exists(root / "talvero-app-ui-typed.png"));   // there was no input
  EXPECT_EQ(output.find("[verify] typed"), std::string::npos);
}

TEST_F(HeadlessVerifyTest, TheFirstInputIsTypedIntoAndReadBack) {
  write("bundle.js", std::string(kTexts) +
                         "_creatorUI.openScreen({type: 'screen', _style: {padding: 20},"
                         "  children: texts.concat([{type: 'textarea', _style: {}},"
                         "    {type: 'input', _style: {}, cl: [function (t) { record(t); }]}])});");
  EXPECT_EQ(verify(false), 0) << output;
  EXPECT_NE(output.find("[verify] UI screen rendered\n"
                        "[verify] typed into input; getTextValue -> \"macOS\"\n"
                        "[verify] post-type UI rendered\n"),
            std::string::npos)
      << output;
  EXPECT_EQ(records, (std::vector<std::string>{"macOS"}));
  EXPECT_TRUE(fs::exists(root / "talvero-app-ui-typed.png"));
}

// A screen of texts over a scroll container that holds `rows` rows 40 high.
std::string scrollingBundle(int rows) {
  return std::string(kTexts) + "var rows = []; for (var i = 0; i < " + std::to_string(rows) +
         "; i++) rows.push({_style: {height: 40, backgroundColor: i % 2 ? '#000000' : '#ffffff'}});"
         "_creatorUI.openScreen({type: 'screen', _style: {padding: 20},"
         "  children: texts.concat([{type: 'scrollable', _style: {height: 200}, children: rows,"
         "    sl: [function (y) { record('sl ' + y); }]}])});";
}

TEST_F(HeadlessVerifyTest, TheScrollStepMovesTheFirstScrollableAndPicturesIt) {
  write("bundle.js", scrollingBundle(50));
  EXPECT_EQ(verify(false), 0) << output;
  EXPECT_NE(output.find("[verify] UI screen rendered\n"
                        "[verify] scrolled list; offset -> 200\n"
                        "[verify] post-scroll UI rendered\n"),
            std::string::npos)
      << output;
  EXPECT_EQ(records, (std::vector<std::string>{"sl 200"}));
  EXPECT_GT(fs::file_size(root / "talvero-app-ui-scrolled.png"), 0u);
}

TEST_F(HeadlessVerifyTest, AScrollableThatCannotMovePast50FailsTheScrollStep) {
  write("bundle.js", scrollingBundle(6));  // 240 high in 200: at most 40 to scroll
  EXPECT_EQ(verify(false), 1);
  EXPECT_TRUE(said("[verify] scrolled list; offset -> 40")) << output;
  EXPECT_TRUE(output.ends_with("[verify] FAILED\n")) << output;
}

TEST_F(HeadlessVerifyTest, AnEmptyScreenFailsTheBundleTest) {
  write("bundle.js",
        "_creatorUI.openScreen({type: 'screen', _style: {},"
        "  _emitTouchStart: function () { return null; }});");
  EXPECT_EQ(verify(false), 1);
  EXPECT_TRUE(said("[verify] UI snapshot empty")) << output;
  EXPECT_TRUE(output.ends_with("[verify] FAILED\n")) << output;
}

// The count that follows `prefix` on a line of the output; -1 without such a line.
long countAfter(const std::string& output, const std::string& prefix) {
  const size_t at = output.find(prefix);
  if (at == std::string::npos) return -1;
  return std::stol(output.substr(at + prefix.size()));
}

TEST_F(HeadlessVerifyTest, AnOpenedSceneIsRenderedDraggedThroughAndRenderedAgain) {
  write("bundle.js",
        "onTouchStart(function (id, x, y, hit) {"
        "  record('start ' + id + ' ' + x + ',' + y + ' ' + hit); var moves = 0;"
        "  return {onMove: function () { moves++; },"
        "          onEnd: function (e) { record('end ' + moves + ' ' + e.clientX + ','"
        "            + e.clientY); }}; });"
        "openScene(true);");
  EXPECT_EQ(verify(false), 0) << output;
  const long count = countAfter(output, "[verify] 3D scene non-background pixels: ");
  EXPECT_GE(count, 2401) << output;
  EXPECT_NE(output.find("[verify] drag tracked (touchstart -> track)\n"
                        "[verify] post-drag 3D non-background pixels: " +
                        std::to_string(count) + "\n"),
            std::string::npos)
      << output;
  EXPECT_EQ(records, (std::vector<std::string>{"start 0 200,320 0", "end 10 660,230"}));
  EXPECT_TRUE(output.ends_with("[verify] OK\n")) << output;
  EXPECT_EQ(host->glView, nullptr);  // the bundle test builds no scene view
  const toolkit::Bitmap render = readPng(root / "talvero-app-render.png");
  EXPECT_EQ(render.width, 800);
  EXPECT_EQ(colourAt(render, 400, 300), (Pixel{255, 0, 0}));
  EXPECT_TRUE(fs::exists(root / "talvero-app-render-after-drag.png"));
}

TEST_F(HeadlessVerifyTest, AnEmptySceneFailsAndAnUntrackedDragIsSaid) {
  write("bundle.js", "openScene(false);");
  EXPECT_EQ(verify(false), 1);
  EXPECT_NE(output.find("[verify] 3D scene non-background pixels: 0\n"
                        "[verify] drag not tracked\n"
                        "[verify] post-drag 3D non-background pixels: 0\n"
                        "[verify] FAILED\n"),
            std::string::npos)
      << output;
}

TEST_F(HeadlessVerifyTest, ALauncherThatOpensASceneIsRenderedWithItsViewBuilt) {
  write("launcher.js",
        "function launch(argv) { setTimeout(function () { openScene(true); }, 100); }");
  EXPECT_EQ(verify(true, {"talvero", "--verify-launcher"}), 0) << output;
  EXPECT_GT(countAfter(output, "[launcher] 3D non-background pixels: "), 2400) << output;
  EXPECT_TRUE(output.ends_with("[launcher] OK\n")) << output;
  EXPECT_NE(host->glView, nullptr);
  EXPECT_EQ(colourAt(readPng(root / "talvero-launcher.png"), 400, 300), (Pixel{255, 0, 0}));
}

TEST_F(HeadlessVerifyTest, LauncherScreenOpenedLaterIsFoundButItsButtonOpensNoScene) {
  write("launcher.js",
        std::string(kTexts) +
            "function launch(argv) { setTimeout(function () {"
            "  _creatorUI.openScreen({type: 'screen', _style: {padding: 20},"
            "    children: texts.concat([{type: 'button', _style: {}, children: [text('Play')],"
            "      _emitTouchStart: function () { return null; }, _emitClick: function () {} }])});"
            "}, 300); }");
  EXPECT_EQ(verify(true, {"talvero", "--verify-launcher"}), 1);
  const std::string expected =
      "[launcher] UI rendered\n"
      "[launcher] playground did not open a scene\n"
      "[launcher] inputKey: A-down=true D-down=false A-up=false -> OK\n"
      "[launcher] FAILED\n";
  EXPECT_TRUE(output.ends_with(expected)) << output;
  EXPECT_TRUE(fs::exists(root / "talvero-launcher.png"));
  EXPECT_TRUE(fs::exists(root / "talvero-launcher-layer.png"));
}

}  // namespace
}  // namespace talvero
