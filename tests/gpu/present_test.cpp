#include <epoxy/gl.h>
#include <gdk/gdk.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "gpu/sprite_drawing.h"
#include "platform/dispatch/main_queue.h"
#include "platform/gpu/gfx.h"
#include "platform/toolkit/gl_area_view.h"
#include "platform/toolkit/window.h"

namespace talvero::gpu::testing {
namespace {

constexpr Pixel kRed{255, 0, 0, 255}, kBlue{0, 0, 255, 255}, kGreen{0, 255, 0, 255};
// Polled, not timed: enough for a first frame on a loaded machine.
constexpr double kPatience = 10;

// Presents a target in each render and reads back what the area's framebuffer then holds,
// bottom row first as GL gives it.
class PresentingView : public toolkit::GLAreaView {
 public:
  Target target;
  int renders = 0;
  bool presented = false;
  bool inAnotherContext = false;
  int width = 0, height = 0;
  std::vector<uint8_t> framebuffer;
  GdkGLContext* deviceContext = nullptr;

 protected:
  bool renderArea(int pixelWidth, int pixelHeight) override {
    ++renders;
    width = pixelWidth;
    height = pixelHeight;
    inAnotherContext = gdk_gl_context_get_current() != deviceContext;
    presented = presentTarget(target, pixelWidth, pixelHeight);
    framebuffer.assign(static_cast<size_t>(pixelWidth) * pixelHeight * 4, 0);
    glReadPixels(0, 0, pixelWidth, pixelHeight, GL_RGBA, GL_UNSIGNED_BYTE, framebuffer.data());
    return true;
  }
};

// Row `y` counted from the top of what the area shows.
Pixel shownAt(const PresentingView& view, int x, int yFromTop) {
  return pixelAt(view.framebuffer, view.width, x, view.height - 1 - yFromTop);
}

void withWindow(const std::function<void(toolkit::Window&)>& body) {
  toolkit::Application application("local.talvero.gpu-present-test");
  application.run([&] {
    {
      toolkit::Window window(application, "present", 200, 100);
      window.present();
      body(window);
    }
    application.quit();
  });
}

TEST(GfxPresent, ATargetBlitIntoAGLAreaStaysUprightAndFollowsTheTargetPresented) {
  ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
  ASSERT_TRUE(setup()) << unavailableReason();
  GdkGLContext* deviceContext = gdk_gl_context_get_current();

  // Red over blue, the size of the area.
  SpriteKit kit;
  kit.make();
  const std::vector<uint8_t> white = pixelsOf({{255, 255, 255, 255}});
  const Image image = makeImage(1, 1, white.data(), nullptr);
  const Target upright = makeTarget(64, 32, "creator2d-view");
  std::vector<SpriteVertex> vertices;
  appendQuad(vertices, 0, 32, 64, 16, {1, 0, 0, 1});
  const float blue[4] = {0, 0, 1, 1};
  kit.drawFrame(upright, image, vertices, blue);
  // All green and half the size, to be stretched.
  const Target small = makeTarget(32, 16, nullptr);
  ASSERT_TRUE(beginPass(small, PassAction{{0, 1, 0, 1}}));
  endPass();
  commit();

  auto view = std::make_shared<PresentingView>();
  view->deviceContext = deviceContext;
  view->target = upright;
  view->setFrame({{10, 10}, {64, 32}});
  withWindow([&](toolkit::Window& window) {
    window.contentView()->addSubview(view);
    ASSERT_TRUE(dispatch::pumpUntil([&] { return view->areaRealized() && view->areaHasSize(); },
                                    kPatience));
    view->queueRender();
    ASSERT_TRUE(dispatch::pumpUntil([&] { return view->renders > 0; }, kPatience));
    ASSERT_TRUE(view->presented);
    EXPECT_TRUE(view->inAnotherContext);
    ASSERT_EQ(view->width, 64);
    ASSERT_EQ(view->height, 32);
    EXPECT_EQ(shownAt(*view, 0, 0), kRed);
    EXPECT_EQ(shownAt(*view, 63, 15), kRed);
    EXPECT_EQ(shownAt(*view, 0, 16), kBlue);
    EXPECT_EQ(shownAt(*view, 63, 31), kBlue);

    view->target = small;
    const int rendersBefore = view->renders;
    view->queueRender();
    ASSERT_TRUE(dispatch::pumpUntil([&] { return view->renders > rendersBefore; }, kPatience));
    ASSERT_TRUE(view->presented);
    EXPECT_EQ(shownAt(*view, 0, 0), kGreen);
    EXPECT_EQ(shownAt(*view, 63, 31), kGreen);
  });
  // Out of any render there is no framebuffer to present into.
  gdk_gl_context_clear_current();
  EXPECT_FALSE(presentTarget(upright, 64, 32));
  // The layer's own context comes back at its next call.
  EXPECT_EQ(readTarget(upright).size(), 64u * 32u * 4u);
}

}  // namespace
}  // namespace talvero::gpu::testing
