#include "viewer/creator2d_view.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "in_window.h"
#include "platform/dispatch/main_queue.h"
#include "platform/gpu/gfx.h"
#include "platform/script/script_context.h"
#include "platform/toolkit/window.h"
#include "runtime/animation_manager.h"
#include "scene2d/scene2d.h"
#include "ui/ui_store.h"

namespace talvero {
namespace {

// Software rendering on a loaded machine; conditions are polled, not timed.
constexpr double kPatience = 30;

// One open 2D scene of a red 40 × 40 square at the origin over a blue clear, shown by the view
// in a real 240 × 160 window. The animation clock is the test's; the session counts what the
// view calls.
class View2DTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
    ASSERT_TRUE(gpu::setup()) << "no GL device: run the tests under xvfb-run";
    c2dInitGL();
    const uint8_t white[4] = {255, 255, 255, 255};
    const int32_t scene = c2dCreateScene();
    const int32_t square = c2dCreateEntity();
    c2dSetSprite(square, c2dCreateTextureFromRGBA(white, 1, 1));
    c2dSetSpriteSize(square, 40, 40);
    c2dSetSpriteColor(square, 1, 0, 0);
    c2dAddEntityToScene(scene, square);
    c2dSceneSetClearColor(scene, 0, 0, 1, 1);
    c2dOpenScene(scene);
    animations = std::make_shared<AnimationManager>([this] { return clock; });
    script = ScriptContext::create();
    script.evaluate("var ticks = 0; function loop() { ticks++; }");
    animations->addLoop(1, script.globalObject().get("loop"));
    session.runUpdates = [this](double dt) { updates.push_back(dt); };
    session.pointer = [this](int32_t phase, float x, float y) {
      pointers.push_back(std::to_string(phase) + " " + std::to_string(int(x)) + "," +
                         std::to_string(int(y)));
    };
  }
  void TearDown() override { animations->stopDisplayLink(); }

  void inWindow(const std::function<void(toolkit::Window&)>& body) {
    testing::inWindow(view, body);
  }
  bool until(const std::function<bool()>& condition) {
    return dispatch::pumpUntil(condition, kPatience);
  }
  double ticks() { return script.globalObject().get("ticks").toNumber(); }
  // The view's target as the area presents it, row 0 the top.
  std::vector<uint8_t> pixelAt(int x, int y) {
    const std::vector<uint8_t> rgba = gpu::readTarget(view->target());
    const int width = gpu::targetWidth(view->target());
    if (rgba.empty()) return {};
    const size_t at = (size_t(y) * width + x) * 4;
    return {rgba.begin() + at, rgba.begin() + at + 4};
  }

  double clock = 100;
  std::shared_ptr<AnimationManager> animations;
  ScriptContext script;
  CreatorUIStore store;
  Creator2DSession session;
  std::vector<double> updates;
  std::vector<std::string> pointers;
  std::shared_ptr<Creator2DView> view;
};

TEST_F(View2DTest, TheDisplayDrivesUpdatesAndTheClockAndDrawsTheSceneAtTheViewsSize) {
  animations->startDisplayLink();
  view = std::make_shared<Creator2DView>(store, *animations, session);
  inWindow([&](toolkit::Window&) {
    EXPECT_FALSE(animations->displayLinkRunning());
    ASSERT_TRUE(until([&] { return ticks() > 0 && c2dLastFrameStats().quads == 1; }));
    EXPECT_TRUE(store.readyToRender);
    EXPECT_EQ(gpu::targetWidth(view->target()), 240);
    EXPECT_EQ(gpu::targetHeight(view->target()), 160);
    ASSERT_FALSE(updates.empty());
    EXPECT_EQ(updates.front(), 0);  // the first frame has no time behind it
    EXPECT_EQ(pixelAt(120, 80), (std::vector<uint8_t>{255, 0, 0, 255}));
    EXPECT_EQ(pixelAt(120, 30), (std::vector<uint8_t>{0, 0, 255, 255}));

    // A stall of the clock reaches the updates as at most 0.05 s.
    clock = 110;
    const size_t before = updates.size();
    ASSERT_TRUE(until([&] { return updates.size() > before; }));
    EXPECT_DOUBLE_EQ(updates[before], 0.05);
  });
}

TEST_F(View2DTest, WhileRenderingIsPausedNothingRunsAndItGoesOnAfter) {
  view = std::make_shared<Creator2DView>(store, *animations, session);
  inWindow([&](toolkit::Window&) {
    ASSERT_TRUE(until([&] { return ticks() > 0; }));
    store.renderPaused = true;
    dispatch::pumpFor(0.05);  // a frame already under way may still end
    const double ticksWhenPaused = ticks();
    const size_t updatesWhenPaused = updates.size();
    c2dSetClearColor(0, 1, 0, 1);
    c2dCloseScene();  // a frame drawn now would clear to green
    dispatch::pumpFor(0.3);
    EXPECT_EQ(ticks(), ticksWhenPaused);
    EXPECT_EQ(updates.size(), updatesWhenPaused);
    EXPECT_EQ(pixelAt(120, 30), (std::vector<uint8_t>{0, 0, 255, 255}));
    store.renderPaused = false;
    EXPECT_TRUE(until([&] { return ticks() > ticksWhenPaused; }));
    EXPECT_TRUE(until([&] { return pixelAt(120, 30) == std::vector<uint8_t>{0, 255, 0, 255}; }));
  });
}

TEST_F(View2DTest, AResizeRemakesTheTargetAndLeavingTheWindowRestartsTheDisplayLink) {
  view = std::make_shared<Creator2DView>(store, *animations, session);
  inWindow([&](toolkit::Window& window) {
    ASSERT_TRUE(until([&] { return gpu::targetWidth(view->target()) == 240; }));
    store.readyToRender = false;
    view->setFrame({{0, 0}, {120, 90}});
    ASSERT_TRUE(until([&] { return gpu::targetWidth(view->target()) == 120; }));
    EXPECT_EQ(gpu::targetHeight(view->target()), 90);
    EXPECT_TRUE(store.readyToRender);
    // The square keeps its size in points: centred, 40 wide.
    EXPECT_TRUE(until([&] { return pixelAt(60, 45) == std::vector<uint8_t>{255, 0, 0, 255}; }));
    EXPECT_EQ(pixelAt(60 + 25, 45), (std::vector<uint8_t>{0, 0, 255, 255}));

    view->removeFromSuperview();
    EXPECT_TRUE(animations->displayLinkRunning());
    window.contentView()->addSubview(view);
    EXPECT_FALSE(animations->displayLinkRunning());
  });
}

TEST_F(View2DTest, PressesReachThePointerFunctionInPointsFromTheTopLeft) {
  view = std::make_shared<Creator2DView>(store, *animations, session);
  inWindow([&](toolkit::Window& window) {
    view->setFrame({{40, 20}, {200, 140}});
    dispatch::pumpFor(0.02);
    using Kind = toolkit::MouseEventKind;
    window.injectMouse(Kind::LeftDown, {50, 30});
    window.injectMouse(Kind::LeftDragged, {60, 50});
    window.injectMouse(Kind::LeftUp, {70, 60});
  });
  EXPECT_EQ(pointers, (std::vector<std::string>{"0 10,10", "1 20,30", "2 30,40"}));
}

}  // namespace
}  // namespace talvero
