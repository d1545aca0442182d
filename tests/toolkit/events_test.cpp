#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/events.h"
#include "platform/toolkit/scroll_view.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

std::shared_ptr<View> addView(View& parent, Rect frame) {
  auto view = std::make_shared<View>();
  view->setFrame(frame);
  parent.addSubview(view);
  return view;
}

// Takes every press that lands on it or on any of its subviews.
class ClaimingView : public View {
 public:
  View* hitTest(Point point) override { return View::hitTest(point) ? this : nullptr; }
};

TEST(HitTest, FindsTheDeepestViewThroughTurnedAndScaledParentsPastHiddenOnes) {
  ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
  auto root = std::make_shared<View>();
  root->setFrame({{0, 0}, {200, 200}});
  auto parent = addView(*root, {{50, 50}, {100, 100}});
  auto strip = addView(*parent, {{0, 0}, {50, 20}});  // the parent's top-left strip
  EXPECT_EQ(root->hitTest({75, 60}), strip.get());
  parent->layer().setTransform(Transform3D::rotationZ(M_PI / 2));  // strip to the top right
  EXPECT_EQ(root->hitTest({75, 60}), parent.get());
  EXPECT_EQ(root->hitTest({140, 75}), strip.get());
  parent->layer().setTransform(Transform3D::scale(0.5, 0.5));  // now 75..125
  EXPECT_EQ(root->hitTest({80, 80}), strip.get());
  EXPECT_EQ(root->hitTest({60, 60}), root.get());  // inside the frame, outside the drawing
  auto cover = addView(*root, {{0, 0}, {200, 200}});
  EXPECT_EQ(root->hitTest({80, 80}), cover.get());
  cover->setHidden(true);
  EXPECT_EQ(root->hitTest({80, 80}), strip.get());
  EXPECT_EQ(root->hitTest({250, 10}), nullptr);
}

TEST(HitTest, AnOverrideCanClaimThePressesOfItsSubviews) {
  ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
  auto root = std::make_shared<View>();
  root->setFrame({{0, 0}, {200, 200}});
  auto claimer = std::make_shared<ClaimingView>();
  claimer->setFrame({{20, 20}, {100, 100}});
  root->addSubview(claimer);
  addView(*addView(*claimer, {{0, 0}, {50, 50}}), {{0, 0}, {10, 10}});
  EXPECT_EQ(root->hitTest({25, 25}), claimer.get());
  EXPECT_EQ(root->hitTest({10, 10}), root.get());
}

// Records the pointer events it receives, in its own coordinates.
class RecordingView : public View {
 public:
  RecordingView(std::vector<std::string>& log, std::string name) : log_(log), name_(name) {}
  void mouseDown(Point p) override {
    pressedAtDown = pressedMouseButtons();
    record("down", p);
  }
  void mouseDragged(Point p) override { record("dragged", p); }
  void mouseUp(Point p) override { record("up", p); }
  uint32_t pressedAtDown = 0;

 private:
  void record(const char* kind, Point p) {
    log_.push_back(name_ + " " + kind + " " + std::to_string(std::lround(p.x)) + "," +
                   std::to_string(std::lround(p.y)));
  }
  std::vector<std::string>& log_;
  std::string name_;
};

// A window of a running application; `injectMouse` plays the pointer on the path that the
// platform's events take.
class MouseEvents : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(initToolkit()) << "no display: run under xvfb-run"; }

  void withWindow(const std::function<void(Window&)>& body, bool shown = false) {
    Application application("org.talvero.EventsTest");
    application.run([&] {
      {
        Window window(application, "events", 200, 200);
        if (shown) window.present();
        dispatch::pumpFor(0.05);
        body(window);
      }
      application.quit();
    });
  }

  std::shared_ptr<RecordingView> addRecorder(View& parent, Rect frame, std::string name) {
    auto view = std::make_shared<RecordingView>(log, std::move(name));
    view->setFrame(frame);
    parent.addSubview(view);
    return view;
  }

  std::vector<std::string> log;
};

TEST_F(MouseEvents, TheViewHitAtThePressGetsTheWholeSequenceInItsOwnCoordinates) {
  withWindow([&](Window& window) {
    auto pressed = addRecorder(*window.contentView(), {{50, 50}, {40, 40}}, "a");
    addRecorder(*window.contentView(), {{120, 120}, {50, 50}}, "b");
    EXPECT_EQ(pressedMouseButtons() & 1, 0u);
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDown, {60, 70}));
    EXPECT_EQ(pressed->pressedAtDown & 1, 1u);
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDragged, {60, 70}));    // no move: no drag
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDragged, {150, 150}));  // over b
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftUp, {5, 5}));
    EXPECT_EQ(pressedMouseButtons() & 1, 0u);
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftDragged, {130, 130}));
    EXPECT_EQ(log, (std::vector<std::string>{"a down 10,20", "a dragged 100,100", "a up -45,-45"}));
  });
}

TEST_F(MouseEvents, PressesOnPlatformWidgetsAndOnViewsGoneMidPressAreNotTaken) {
  withWindow([&](Window& window) {
    auto scroll = std::make_shared<ScrollView>();
    scroll->setFrame({{0, 0}, {100, 100}});
    scroll->setDocumentView(std::make_shared<View>());
    window.contentView()->addSubview(scroll);
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftDown, {50, 50}));
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftUp, {150, 50}));
    auto view = addRecorder(*window.contentView(), {{100, 0}, {100, 100}}, "a");
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDown, {110, 10}));
    view->removeFromSuperview();
    view.reset();  // the press must neither keep it alive nor reach it
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftUp, {120, 20}));
    EXPECT_EQ(log, (std::vector<std::string>{"a down 10,10"}));
  });
}

TEST_F(MouseEvents, MonitorsSeeEachEventFirstAndOneThatSaysNoSwallowsIt) {
  withWindow([&](Window& window) {
    addRecorder(*window.contentView(), {{50, 50}, {50, 50}}, "a");
    bool swallow = false;
    const int token = addMouseMonitor([&](const MouseEvent& event) {
      log.push_back("monitor " + std::to_string(static_cast<int>(event.kind)) + " " +
                    std::to_string(std::lround(event.locationInWindow.x)));
      return !swallow;
    });
    int laterCalls = 0;
    const int later = addMouseMonitor([&](const MouseEvent&) { return ++laterCalls, true; });
    window.injectMouse(MouseEventKind::LeftDown, {60, 60});
    window.injectMouse(MouseEventKind::LeftUp, {70, 60});
    swallow = true;
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDown, {60, 60}));
    swallow = false;
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftUp, {60, 60}));  // its press never began
    EXPECT_EQ(pressedMouseButtons() & 1, 0u);
    removeMouseMonitor(token);
    removeMouseMonitor(later);
    window.injectMouse(MouseEventKind::LeftDown, {55, 55});
    EXPECT_EQ(laterCalls, 3);
    EXPECT_EQ(
        log, (std::vector<std::string>{"monitor 0 60", "a down 10,10", "monitor 2 70", "a up 20,10",
                                       "monitor 0 60", "monitor 2 60", "a down 5,5"}));
  });
}

// The X server's own pointer through its XTest extension: events then take the platform's
// whole path. Shown test windows all open at one spot, so such tests hold a lock per display.
class RealPointer : public MouseEvents {
 protected:
  void SetUp() override {
    MouseEvents::SetUp();
    if (HasFatalFailure()) return;
    const char* display = std::getenv("DISPLAY");
    lock_ =
        open(("/tmp/talvero-tests-display" + std::string(display ? display : "") + ".lock").c_str(),
             O_RDWR | O_CREAT, 0600);
    if (lock_ >= 0) flock(lock_, LOCK_EX);
    void* x11 = dlopen("libX11.so.6", RTLD_NOW);
    void* xtest = dlopen("libXtst.so.6", RTLD_NOW);
    if (!x11 || !xtest) GTEST_SKIP() << "no XTest library";
    flush_ = reinterpret_cast<int (*)(void*)>(dlsym(x11, "XFlush"));
    motion_ = reinterpret_cast<decltype(motion_)>(dlsym(xtest, "XTestFakeMotionEvent"));
    button_ = reinterpret_cast<decltype(button_)>(dlsym(xtest, "XTestFakeButtonEvent"));
    auto openDisplay = reinterpret_cast<void* (*)(const char*)>(dlsym(x11, "XOpenDisplay"));
    display_ = openDisplay && flush_ && motion_ && button_ ? openDisplay(nullptr) : nullptr;
    if (!display_) GTEST_SKIP() << "no XTest on this display";
  }
  void TearDown() override {
    if (lock_ >= 0) close(lock_);
  }

  void moveTo(Point inContent) {
    motion_(display_, -1, static_cast<int>(origin_.x + inContent.x),
            static_cast<int>(origin_.y + inContent.y), 0);
    settle();
  }
  void click(unsigned button, bool down) {
    button_(display_, button, down, 0);
    settle();
  }
  void settle() {
    flush_(display_);
    dispatch::pumpFor(0.1);
  }
  // Learns where the content lies on the screen, clicking until the window is up to see it.
  bool locateContent() {
    std::optional<Point> seen;
    const int token = addMouseMonitor([&](const MouseEvent& event) {
      if (event.kind == MouseEventKind::LeftDown) seen = event.locationInWindow;
      return true;
    });
    moveTo({20, 20});
    for (int attempt = 0; attempt < 30 && !seen; ++attempt) click(1, true), click(1, false);
    removeMouseMonitor(token);
    if (seen) origin_ = Point{20 - seen->x, 20 - seen->y};
    return seen.has_value();
  }

 private:
  int lock_ = -1;
  void* display_ = nullptr;
  Point origin_;
  int (*flush_)(void*) = nullptr;
  int (*motion_)(void*, int, int, int, unsigned long) = nullptr;
  int (*button_)(void*, unsigned, int, unsigned long) = nullptr;
};

TEST_F(RealPointer, APlatformPressReachesTheMonitorAndTheViewThroughTheSameDispatch) {
  withWindow(
      [&](Window& window) {
        ASSERT_TRUE(locateContent()) << "the window never saw a click";
        addRecorder(*window.contentView(), {{50, 50}, {50, 50}}, "a");
        const int token = addMouseMonitor([&](const MouseEvent&) {
          log.push_back("monitor");
          return true;
        });
        moveTo({60, 70});
        click(1, true);
        moveTo({150, 150});
        click(1, false);
        removeMouseMonitor(token);
        EXPECT_EQ(log, (std::vector<std::string>{"monitor", "a down 10,20", "monitor",
                                                 "a dragged 100,100", "monitor", "a up 100,100"}));
      },
      true);
}

}  // namespace
}  // namespace talvero::toolkit
