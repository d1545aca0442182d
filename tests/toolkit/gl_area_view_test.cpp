#include "platform/toolkit/gl_area_view.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

// Polled, not timed: enough for a first frame on a loaded machine.
constexpr double kPatience = 10;

class RecordingGLAreaView : public GLAreaView {
 public:
  int renders = 0;
  std::pair<int, int> renderSize;
  bool renderedInAreaContext = false;
  std::vector<std::string> presses;

  GtkWidget* area() const { return static_cast<GtkWidget*>(nativeContent()); }

  void mouseDown(Point p) override { record("down", p); }
  void mouseDragged(Point p) override { record("dragged", p); }
  void mouseUp(Point p) override { record("up", p); }

 protected:
  bool renderArea(int pixelWidth, int pixelHeight) override {
    ++renders;
    renderSize = {pixelWidth, pixelHeight};
    GdkGLContext* current = gdk_gl_context_get_current();
    renderedInAreaContext = current && current == gtk_gl_area_get_context(GTK_GL_AREA(area()));
    return true;
  }

 private:
  void record(const char* kind, Point p) {
    presses.push_back(std::string(kind) + " " + std::to_string(std::lround(p.x)) + "," +
                      std::to_string(std::lround(p.y)));
  }
};

void withWindow(const std::function<void(Window&)>& body) {
  Application application("local.talvero.gl-area-view-test");
  application.run([&] {
    {
      Window window(application, "gl area", 200, 100);
      window.present();
      body(window);
    }
    application.quit();
  });
}

TEST(GLAreaViewInWindow, RendersOnRequestInTheAreaContextAtThePixelSize) {
  ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
  auto view = std::make_shared<RecordingGLAreaView>();
  view->setFrame({{20, 10}, {120, 80}});
  // Without a window there is no GL context to render with.
  EXPECT_FALSE(view->areaRealized());
  EXPECT_FALSE(view->areaHasSize());
  withWindow([&](Window& window) {
    window.contentView()->addSubview(view);
    ASSERT_TRUE(dispatch::pumpUntil([&] { return view->areaRealized() && view->areaHasSize(); },
                                    kPatience));
    view->queueRender();
    ASSERT_TRUE(dispatch::pumpUntil([&] { return view->renders > 0; }, kPatience));
    EXPECT_TRUE(view->renderedInAreaContext);
    const int scale = static_cast<int>(view->backingScaleFactor());
    EXPECT_EQ(view->renderSize, std::make_pair(120 * scale, 80 * scale));

    const int rendersBefore = view->renders;
    view->queueRender();
    EXPECT_TRUE(dispatch::pumpUntil([&] { return view->renders > rendersBefore; }, kPatience));

    view->setFrame({{20, 10}, {60, 40}});
    view->queueRender();
    EXPECT_TRUE(dispatch::pumpUntil(
        [&] { return view->renderSize == std::make_pair(60 * scale, 40 * scale); }, kPatience));

    view->removeFromSuperview();
    EXPECT_FALSE(view->areaRealized());
  });
}

TEST(GLAreaViewInWindow, PressesOnTheAreaGoToTheViewInItsOwnCoordinates) {
  ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
  auto view = std::make_shared<RecordingGLAreaView>();
  view->setFrame({{20, 10}, {120, 80}});
  withWindow([&](Window& window) {
    window.contentView()->addSubview(view);
    ASSERT_TRUE(dispatch::pumpUntil([&] { return view->areaHasSize(); }, kPatience));
    // The platform's own picking passes the area by.
    auto* content = static_cast<GtkWidget*>(window.contentView()->nativeWidget());
    GtkWidget* picked = gtk_widget_pick(content, 50, 50, GTK_PICK_DEFAULT);
    EXPECT_NE(picked, view->area());
    EXPECT_EQ(picked, static_cast<GtkWidget*>(view->nativeWidget()));

    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDown, {30, 20}));
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDragged, {60, 50}));
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftUp, {200, 95}));
    EXPECT_EQ(view->presses,
              (std::vector<std::string>{"down 10,10", "dragged 40,40", "up 180,85"}));
  });
}

}  // namespace
}  // namespace talvero::toolkit
