#include "platform/toolkit/render_view.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <utility>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

using Pixel = std::array<uint8_t, 4>;

Pixel at(const Bitmap& bitmap, int x, int y) {
  const uint8_t* p = bitmap.pixel(x, y);
  return {p[0], p[1], p[2], p[3]};
}

// Writes down every hook the view gets.
class RecordingRenderView : public RenderView {
 public:
  int frames = 0;
  int joins = 0;
  int leaves = 0;
  std::vector<std::pair<int, int>> sizes;

 protected:
  void joinedWindow() override { ++joins; }
  void leftWindow() override { ++leaves; }
  void pixelSizeChanged(int width, int height) override { sizes.emplace_back(width, height); }
  void renderFrame() override { ++frames; }
};

// Runs `body` with a 200 x 100 window on screen, on the application's real main loop.
void withWindow(const std::function<void(Window&)>& body) {
  Application application("local.talvero.render-view-test");
  application.run([&] {
    {
      Window window(application, "render view", 200, 100);
      window.present();
      body(window);
    }
    application.quit();
  });
}

// Enough for a first frame on a loaded machine; the conditions are polled, not timed.
constexpr double kPatience = 10;

TEST(RenderViewInWindow, FramesFollowTheDisplayClockOnlyWhileTheViewIsInAWindow) {
  ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
  auto view = std::make_shared<RecordingRenderView>();
  view->setFrame({{0, 0}, {120, 80}});
  withWindow([&](Window& window) {
    EXPECT_FALSE(view->inWindow());
    window.contentView()->addSubview(view);
    ASSERT_TRUE(dispatch::pumpUntil([&] { return view->frames >= 3; }, kPatience));
    EXPECT_EQ(view->joins, 1);
    EXPECT_TRUE(view->inWindow());
    // The first frame learns the size; a frame of the same size says nothing new.
    ASSERT_FALSE(view->sizes.empty());
    EXPECT_EQ(view->sizes.front(), std::make_pair(120, 80));
    EXPECT_EQ(view->sizes.size(), 1u);

    view->removeFromSuperview();
    EXPECT_EQ(view->leaves, 1);
    EXPECT_FALSE(view->inWindow());
    const int framesWhenLeft = view->frames;
    dispatch::pumpFor(0.2);
    EXPECT_EQ(view->frames, framesWhenLeft);

    window.contentView()->addSubview(view);
    EXPECT_EQ(view->joins, 2);
    view->setFrame({{0, 0}, {60, 40}});
    ASSERT_TRUE(dispatch::pumpUntil([&] { return view->frames >= framesWhenLeft + 2; }, kPatience));
    EXPECT_EQ(view->sizes.back(), std::make_pair(60, 40));
  });
  // Closing the window takes the view out of it.
  EXPECT_EQ(view->leaves, 2);
  EXPECT_FALSE(view->inWindow());
}

TEST(RenderViewInWindow, AHiddenViewGetsNoFramesUntilShownAgain) {
  ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
  auto view = std::make_shared<RecordingRenderView>();
  view->setFrame({{0, 0}, {50, 50}});
  withWindow([&](Window& window) {
    window.contentView()->addSubview(view);
    ASSERT_TRUE(dispatch::pumpUntil([&] { return view->frames >= 1; }, kPatience));
    view->setHidden(true);
    dispatch::pumpFor(0.05);  // a frame already under way may still arrive
    const int framesWhenHidden = view->frames;
    dispatch::pumpFor(0.2);
    EXPECT_EQ(view->frames, framesWhenHidden);
    EXPECT_TRUE(view->inWindow());  // hidden, not gone
    view->setHidden(false);
    EXPECT_TRUE(dispatch::pumpUntil([&] { return view->frames > framesWhenHidden; }, kPatience));
  });
}

// A view whose frame drops the only reference to it, as a script closing a scene does.
class SelfRemovingView : public RenderView {
 public:
  ~SelfRemovingView() override { *destroyed = true; }
  std::shared_ptr<RenderView>* owner = nullptr;
  bool* destroyed = nullptr;
  bool* destroyedDuringFrame = nullptr;

 protected:
  void renderFrame() override {
    removeFromSuperview();
    owner->reset();
    *destroyedDuringFrame = *destroyed;
  }
};

TEST(RenderViewInWindow, AViewThatGoesAwayDuringItsFrameLivesUntilTheFrameEnds) {
  ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
  withWindow([&](Window& window) {
    bool destroyed = false, destroyedDuringFrame = false;
    auto view = std::make_shared<SelfRemovingView>();
    std::shared_ptr<RenderView> held = view;
    view->owner = &held;
    view->destroyed = &destroyed;
    view->destroyedDuringFrame = &destroyedDuringFrame;
    view->setFrame({{0, 0}, {50, 50}});
    window.contentView()->addSubview(view);
    view.reset();
    ASSERT_TRUE(dispatch::pumpUntil([&] { return destroyed; }, kPatience));
    EXPECT_FALSE(destroyedDuringFrame);
    EXPECT_EQ(held, nullptr);
  });
}

// A 2 x 2 frame of four colours, its rows 3 pixels apart with the padding in white.
std::vector<uint8_t> quarters() {
  const Pixel red{255, 0, 0, 255}, green{0, 255, 0, 255}, blue{0, 0, 255, 255}, black{0, 0, 0, 255},
      padding{255, 255, 255, 255};
  std::vector<uint8_t> pixels;
  for (const Pixel& p : {red, green, padding, blue, black, padding}) {
    pixels.insert(pixels.end(), p.begin(), p.end());
  }
  return pixels;
}

TEST(RenderViewImage, TheFrameImageIsStretchedOverTheBoundsAndReplacedByTheNextOne) {
  ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
  auto view = std::make_shared<RecordingRenderView>();
  view->setFrame({{0, 0}, {40, 20}});
  const std::vector<uint8_t> pixels = quarters();
  view->setFrameImage(2, 2, 12, pixels.data());
  ASSERT_NE(view->frameImage(), nullptr);
  EXPECT_EQ(view->frameImage()->width(), 2);

  Bitmap shown = renderView(*view);
  EXPECT_EQ(at(shown, 1, 1), (Pixel{255, 0, 0, 255}));
  EXPECT_EQ(at(shown, 38, 1), (Pixel{0, 255, 0, 255}));
  EXPECT_EQ(at(shown, 1, 18), (Pixel{0, 0, 255, 255}));
  EXPECT_EQ(at(shown, 38, 18), (Pixel{0, 0, 0, 255}));

  const Pixel grey{128, 128, 128, 255};
  view->setFrameImage(1, 1, 4, grey.data());
  shown = renderView(*view);
  EXPECT_EQ(at(shown, 1, 1), grey);
  EXPECT_EQ(at(shown, 38, 18), grey);

  view->clearFrameImage();
  EXPECT_EQ(at(renderView(*view), 20, 10), (Pixel{0, 0, 0, 0}));
}

}  // namespace
}  // namespace talvero::toolkit
