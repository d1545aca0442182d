#include "viewer/creator_gl_view.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "in_window.h"
#include "platform/dispatch/main_queue.h"
#include "platform/script/export_table.h"
#include "platform/script/script_context.h"
#include "platform/toolkit/image.h"
#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/window.h"
#include "runtime/animation_manager.h"
#include "scene3d/frame_loop.h"
#include "scene3d/scenes.h"
#include "scene3d_test_support.h"
#include "ui/ui_store.h"

namespace talvero {
namespace {

using Pixel = std::array<int, 4>;
constexpr Pixel kRed{255, 0, 0, 255};
constexpr Pixel kSky{26, 64, 145, 255};

Pixel at(const toolkit::Bitmap& bitmap, int x, int y) {
  const uint8_t* p = bitmap.pixel(x, y);
  return {p[0], p[1], p[2], p[3]};
}

// Software rendering of a first frame on a loaded machine; conditions are polled, not timed.
constexpr double kPatience = 30;

// A real engine with one open scene: a camera at the origin looking down -z over a red quad
// that fills the top part of the picture and leaves the sky below. The view shows it in a real
// window; the animation clock is the test's.
class GLViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
    scene3d::init();
    ASSERT_TRUE(scene3d::hasEngine()) << "no GL display: run the tests under xvfb-run";
    openRedOverSky();
    animations = std::make_shared<AnimationManager>([this] { return clock; });
    script = ScriptContext::create();
    // The clock's loop counts its ticks and runs `onTick` once when given one, as a script's
    // frame callback may take the view away or make a new engine.
    ExportTable native;
    native.add("leave", [this] { view->removeFromSuperview(); });
    native.add("newEngine", [this] {
      scene3d::init();
      openRedOverSky();
    });
    native.installGlobals(script);
    script.evaluate(
        "var ticks = 0, onTick = null;"
        "function loop() { ticks++; var once = onTick; onTick = null; if (once) once(); }");
    animations->addLoop(1, script.globalObject().get("loop"));
  }
  void TearDown() override {
    animations->stopDisplayLink();
    scene3d::destroyEngine();
  }

  void openRedOverSky() {
    const int64_t scene = scene3d::createScene();
    const uint32_t camera = scene3d::createEntity();
    scene3d::attachCameraToScene(scene, camera);
    scene3d::openScene(scene);
    quadColour = scene3d::testing::unlitColour(0xFF0000FF);
    scene3d::testing::addQuad(scene, quadColour, -3, 0.3f, 3, 3, -2);
  }

  void inWindow(const std::function<void(toolkit::Window&)>& body) {
    testing::inWindow(view, body);
  }

  bool until(const std::function<bool()>& condition) {
    return dispatch::pumpUntil(condition, kPatience);
  }
  bool showsFrameOf(int width, int height) {
    const auto& image = view->frameImage();
    return image && image->width() == width && image->height() == height;
  }
  double ticks() { return script.globalObject().get("ticks").toNumber(); }

  double clock = 100;
  int64_t quadColour = -1;  // the quad's material instance
  std::shared_ptr<AnimationManager> animations;
  ScriptContext script;
  CreatorUIStore store;
  std::shared_ptr<CreatorGLView> view;
};

TEST_F(GLViewTest, TheSceneShowsInTheWindowAndTheDisplayDrivesTheClockInsteadOfTheLink) {
  animations->startDisplayLink();
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window& window) {
    EXPECT_FALSE(animations->displayLinkRunning());
    ASSERT_TRUE(until([&] { return showsFrameOf(240, 160); }));
    const toolkit::Bitmap shown = toolkit::renderView(*window.contentView());
    EXPECT_EQ(at(shown, 120, 10), kRed);
    EXPECT_EQ(at(shown, 120, 150), kSky);
    EXPECT_GT(ticks(), 0);
    EXPECT_EQ(scene3d::lastFrameTime(), 100000);  // the animation clock's time, in ms
    clock = 101.5;
    EXPECT_TRUE(until([&] { return scene3d::lastFrameTime() == 101500; }));
  });
}

TEST_F(GLViewTest, AResizeSetsViewportAndReadinessAndMakesASwapChainOfTheNewSize) {
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window&) {
    ASSERT_TRUE(until([&] { return showsFrameOf(240, 160); }));
    EXPECT_TRUE(store.readyToRender);
    EXPECT_EQ(scene3d::viewportWidth(), 240u);
    EXPECT_EQ(scene3d::viewportHeight(), 160u);
    store.readyToRender = false;
    const uint64_t before = scene3d::swapChainId();
    view->setFrame({{0, 0}, {120, 90}});
    ASSERT_TRUE(until([&] { return showsFrameOf(120, 90); }));
    EXPECT_EQ(scene3d::viewportWidth(), 120u);
    EXPECT_EQ(scene3d::viewportHeight(), 90u);
    EXPECT_TRUE(store.readyToRender);
    EXPECT_NE(scene3d::swapChainId(), before);
  });
}

TEST_F(GLViewTest, WhileRenderingIsPausedNothingMovesAndItGoesOnAfter) {
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window&) {
    ASSERT_TRUE(until([&] { return ticks() > 0; }));
    store.renderPaused = true;
    dispatch::pumpFor(0.05);  // a frame already under way may still end
    const double ticksWhenPaused = ticks();
    const int64_t frameTimeWhenPaused = scene3d::lastFrameTime();
    clock = 200;
    dispatch::pumpFor(0.3);
    EXPECT_EQ(ticks(), ticksWhenPaused);
    EXPECT_EQ(scene3d::lastFrameTime(), frameTimeWhenPaused);
    store.renderPaused = false;
    EXPECT_TRUE(until([&] { return scene3d::lastFrameTime() == 200000; }));
    EXPECT_GT(ticks(), ticksWhenPaused);
  });
}

TEST_F(GLViewTest, ACaptureWithSupportGetsTheUprightPngOfItsOwnFrameOnce) {
  store.glCaptureSupport = true;
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window&) {
    ASSERT_TRUE(until([&] { return showsFrameOf(240, 160); }));
    // The frames shown lag behind the ones drawn; the capture must not take one of those.
    scene3d::setUniformRgba(quadColour, "baseColor", 0x00FF00FF);
    std::vector<std::optional<std::vector<uint8_t>>> captures;
    view->captureImageCallback = [&](std::optional<std::vector<uint8_t>> png) {
      captures.push_back(std::move(png));
    };
    ASSERT_TRUE(until([&] { return !captures.empty(); }));
    EXPECT_FALSE(view->captureImageCallback);
    const int64_t frameOfCapture = scene3d::lastFrameTime();
    clock = 300;
    ASSERT_TRUE(until([&] { return scene3d::lastFrameTime() != frameOfCapture; }));
    ASSERT_EQ(captures.size(), 1u);
    ASSERT_TRUE(captures[0]);
    const auto image = toolkit::Image::decode(captures[0]->data(), captures[0]->size());
    ASSERT_NE(image, nullptr);
    const toolkit::Bitmap png{image->width(), image->height(), image->rgba()};
    EXPECT_EQ(png.width, 240);
    EXPECT_EQ(at(png, 120, 10), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(at(png, 120, 150), kSky);
  });
}

TEST_F(GLViewTest, ACaptureWithoutSupportGetsNothingOnce) {
  store.glCaptureSupport = false;
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window&) {
    std::vector<std::optional<std::vector<uint8_t>>> captures;
    view->captureImageCallback = [&](std::optional<std::vector<uint8_t>> png) {
      captures.push_back(std::move(png));
    };
    ASSERT_TRUE(until([&] { return !captures.empty(); }));
    clock = 300;
    ASSERT_TRUE(until([&] { return scene3d::lastFrameTime() == 300000; }));
    ASSERT_EQ(captures.size(), 1u);
    EXPECT_FALSE(captures[0]);
  });
}

TEST_F(GLViewTest, LeavingTheWindowRestartsTheDisplayLinkAndFreesTheSwapChain) {
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window& window) {
    ASSERT_TRUE(until([&] { return view->frameImage() != nullptr; }));
    EXPECT_FALSE(animations->displayLinkRunning());
    view->removeFromSuperview();
    EXPECT_TRUE(animations->displayLinkRunning());
    EXPECT_EQ(scene3d::swapChainId(), 0u);
    // Back in: the link stops again and frames move.
    window.contentView()->addSubview(view);
    EXPECT_FALSE(animations->displayLinkRunning());
    clock = 400;
    EXPECT_TRUE(until([&] { return scene3d::lastFrameTime() == 400000; }));
  });
}

TEST_F(GLViewTest, ASwapChainMadeBySomeoneElseIsReplacedAtTheNextFrame) {
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window&) {
    ASSERT_TRUE(until([&] { return showsFrameOf(240, 160); }));
    // A headless render draws at a size of its own and leaves its swap chain behind.
    scene3d::createSwapChainHeadless(32, 32);
    scene3d::setViewport(32, 32);
    const uint64_t theirs = scene3d::swapChainId();
    clock = 500;
    ASSERT_TRUE(until([&] { return scene3d::lastFrameTime() == 500000; }));
    EXPECT_NE(scene3d::swapChainId(), theirs);
    EXPECT_EQ(scene3d::viewportWidth(), 240u);
  });
}

TEST_F(GLViewTest, AViewTakenAwayByTheClockDuringItsFrameEndsThatFrameThenFreesItsSwapChain) {
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window&) {
    ASSERT_TRUE(until([&] { return view->frameImage() != nullptr; }));
    clock = 700;
    script.evaluate("onTick = leave;");
    ASSERT_TRUE(until([&] { return !view->inWindow(); }));
    EXPECT_EQ(scene3d::lastFrameTime(), 700000);  // drawn after the tick that took it away
    EXPECT_EQ(scene3d::swapChainId(), 0u);
    EXPECT_TRUE(animations->displayLinkRunning());
  });
}

TEST_F(GLViewTest, AnEngineReplacedByTheClockDuringAFrameIsDrawnFromTheNextFrame) {
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window&) {
    ASSERT_TRUE(until([&] { return view->frameImage() != nullptr; }));
    // The new engine takes the old one's swap chain down with it, between begin and render.
    script.evaluate("onTick = newEngine;");
    ASSERT_TRUE(until([&] { return script.globalObject().get("onTick").isNull(); }));
    view->clearFrameImage();
    clock = 800;
    ASSERT_TRUE(until([&] { return scene3d::lastFrameTime() == 800000 && view->frameImage(); }));
    EXPECT_EQ(at(toolkit::renderView(*view), 120, 10), kRed);
  });
}

// Presses of the view through the window, in the view's own points from its top left.
TEST_F(GLViewTest, PressesReachTheTouchListenersAsPointerZeroWithTheHitEntity) {
  script.evaluate(
      "var events = [];"
      "function start(id, x, y, hit) { events.push('start ' + id + ' ' + x + ',' + y + ' ' + hit);"
      "  if (x > 100) return null;"
      "  return {onMove: function (e) { events.push('move ' + e.clientX + ',' + e.clientY); },"
      "          onEnd: function (e) { events.push('end ' + e.clientX + ',' + e.clientY); }}; }"
      "function end(id, x, y, hit) { events.push('touchend ' + id + ' ' + x + ',' + y + ' ' + "
      "hit); }");
  store.onTouchStartCallback = script.globalObject().get("start");
  store.onTouchEndCallback = script.globalObject().get("end");
  view = std::make_shared<CreatorGLView>(store, *animations);
  inWindow([&](toolkit::Window& window) {
    view->setFrame({{40, 20}, {200, 140}});
    dispatch::pumpFor(0.02);
    using Kind = toolkit::MouseEventKind;
    window.injectMouse(Kind::LeftDown, {50, 30});
    window.injectMouse(Kind::LeftDragged, {60, 50});
    window.injectMouse(Kind::LeftUp, {70, 60});
    // A listener that answers null tracks nothing: the drag goes nowhere.
    window.injectMouse(Kind::LeftDown, {190, 30});
    window.injectMouse(Kind::LeftDragged, {200, 40});
    window.injectMouse(Kind::LeftUp, {210, 50});
  });
  script.evaluate("var said = events.join('|');");
  EXPECT_EQ(script.globalObject().get("said").toString(),
            "start 0 10,10 0|move 20,30|end 30,40|touchend 0 30,40 0|"
            "start 0 150,10 0|touchend 0 170,30 0");
}

}  // namespace
}  // namespace talvero
