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
#include "platform/toolkit/view.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

std::shared_ptr<View> addView(View& parent, Rect frame) {
  auto view = std::make_shared<View>();
  view->setFrame(frame);
  parent.addSubview(view);
  return view;
}

class HitTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
    root = std::make_shared<View>();
    root->setFrame(Rect{{0, 0}, {200, 200}});
  }
  std::shared_ptr<View> root;
};

TEST_F(HitTest, FindsTheDeepestViewThroughARotatedParent) {
  auto parent = addView(*root, {{50, 50}, {100, 100}});
  auto strip = addView(*parent, {{0, 0}, {50, 20}});  // the parent's top-left strip
  EXPECT_EQ(root->hitTest({75, 60}), strip.get());
  // A quarter turn about the parent's centre carries the strip to its top-right edge.
  parent->layer().setTransform(Transform3D::rotationZ(M_PI / 2));
  EXPECT_EQ(root->hitTest({75, 60}), parent.get());
  EXPECT_EQ(root->hitTest({140, 75}), strip.get());
}

TEST_F(HitTest, FollowsAScaledParentAndMissesWhatTheScaleLeftOut) {
  auto parent = addView(*root, {{50, 50}, {100, 100}});
  auto strip = addView(*parent, {{0, 0}, {50, 20}});
  parent->layer().setTransform(Transform3D::scale(0.5, 0.5));  // now 75..125
  EXPECT_EQ(root->hitTest({80, 80}), strip.get());
  EXPECT_EQ(root->hitTest({110, 110}), parent.get());
  EXPECT_EQ(root->hitTest({60, 60}), root.get());  // inside the frame, outside the drawing
  EXPECT_EQ(root->hitTest({250, 10}), nullptr);
}

TEST_F(HitTest, PassesOverHiddenViewsAndTheirSubtrees) {
  auto below = addView(*root, {{0, 0}, {100, 100}});
  auto above = addView(*root, {{0, 0}, {100, 100}});
  auto inner = addView(*above, {{0, 0}, {50, 50}});
  EXPECT_EQ(root->hitTest({10, 10}), inner.get());
  above->setHidden(true);
  EXPECT_EQ(root->hitTest({10, 10}), below.get());
  above->setHidden(false);
  inner->setHidden(true);
  EXPECT_EQ(root->hitTest({10, 10}), above.get());
}

// Takes every press that lands on it or on any of its subviews.
class ClaimingView : public View {
 public:
  View* hitTest(Point point) override { return View::hitTest(point) ? this : nullptr; }
};

TEST_F(HitTest, AnOverrideCanClaimThePressesOfItsSubviews) {
  auto claimer = std::make_shared<ClaimingView>();
  claimer->setFrame({{20, 20}, {100, 100}});
  root->addSubview(claimer);
  auto child = addView(*claimer, {{0, 0}, {50, 50}});
  addView(*child, {{0, 0}, {10, 10}});
  EXPECT_EQ(root->hitTest({25, 25}), claimer.get());
  EXPECT_EQ(root->hitTest({100, 100}), claimer.get());
  EXPECT_EQ(root->hitTest({10, 10}), root.get());
}

// Records the pointer events it receives, in its own coordinates.
class RecordingView : public View {
 public:
  explicit RecordingView(std::vector<std::string>& log, std::string name)
      : log_(log), name_(std::move(name)) {}
  void mouseDown(Point p) override { record("down", p); }
  void mouseDragged(Point p) override { record("dragged", p); }
  void mouseUp(Point p) override { record("up", p); }
  std::function<void()> onDown;

 private:
  void record(const char* kind, Point p) {
    log_.push_back(name_ + " " + kind + " " + std::to_string(std::lround(p.x)) + "," +
                   std::to_string(std::lround(p.y)));
    if (onDown && std::string(kind) == "down") onDown();
  }
  std::vector<std::string>& log_;
  std::string name_;
};

// Events go through a real window of the application; the pointer is played by `injectMouse`,
// the same path the platform's pointer events take.
class MouseEvents : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(initToolkit()) << "no display: run under xvfb-run"; }

  // The window is not shown unless asked: injected events need no screen.
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
    View& content = *window.contentView();
    auto pressed = addRecorder(content, {{50, 50}, {40, 40}}, "a");
    addRecorder(content, {{120, 120}, {50, 50}}, "b");
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDown, {60, 70}));
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDragged, {60, 70}));    // no move: no drag
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDragged, {150, 150}));  // over b
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftUp, {5, 5}));           // outside both
    // After the release, drags belong to no one.
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftDragged, {130, 130}));
    EXPECT_EQ(log, (std::vector<std::string>{"a down 10,20", "a dragged 100,100", "a up -45,-45"}));
  });
}

TEST_F(MouseEvents, LocationsGoThroughTheTransformsOfTheAncestors) {
  withWindow([&](Window& window) {
    auto parent = addView(*window.contentView(), {{0, 0}, {200, 200}});
    parent->layer().setTransform(Transform3D::scale(0.5, 0.5));  // 50..150 on screen
    addRecorder(*parent, {{0, 0}, {200, 200}}, "a");
    window.injectMouse(MouseEventKind::LeftDown, {60, 100});
    window.injectMouse(MouseEventKind::LeftUp, {150, 150});
    EXPECT_EQ(log, (std::vector<std::string>{"a down 20,100", "a up 200,200"}));
  });
}

TEST_F(MouseEvents, AViewRemovedDuringThePressGetsNothingMore) {
  withWindow([&](Window& window) {
    auto view = addRecorder(*window.contentView(), {{0, 0}, {100, 100}}, "a");
    window.injectMouse(MouseEventKind::LeftDown, {10, 10});
    view->removeFromSuperview();
    view.reset();  // the last reference: the press must not keep it alive or reach it
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftDragged, {20, 20}));
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftUp, {20, 20}));
    EXPECT_EQ(log, (std::vector<std::string>{"a down 10,10"}));
  });
}

TEST_F(MouseEvents, PressesOnPlatformWidgetsAreLeftToThem) {
  withWindow([&](Window& window) {
    auto scroll = std::make_shared<ScrollView>();
    scroll->setFrame({{0, 0}, {100, 100}});
    auto document = std::make_shared<View>();
    document->setFrame({{0, 0}, {100, 300}});
    scroll->setDocumentView(document);
    window.contentView()->addSubview(scroll);
    addRecorder(*window.contentView(), {{100, 0}, {100, 100}}, "plain");
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftDown, {50, 50}));
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftDragged, {150, 50}));
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftUp, {150, 50}));
    EXPECT_TRUE(log.empty());
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDown, {150, 50}));
  });
}

TEST_F(MouseEvents, MonitorsSeeEachEventBeforeTheViewWithTheWindowLocation) {
  withWindow([&](Window& window) {
    addRecorder(*window.contentView(), {{50, 50}, {50, 50}}, "a");
    const int token = addMouseMonitor([&](const MouseEvent& event) {
      const char* kinds[] = {"down", "dragged", "up"};
      log.push_back(std::string("monitor ") + kinds[static_cast<int>(event.kind)] + " " +
                    std::to_string(std::lround(event.locationInWindow.x)) + "," +
                    std::to_string(std::lround(event.locationInWindow.y)));
      EXPECT_EQ(event.window, &window);
      return true;
    });
    window.injectMouse(MouseEventKind::LeftDown, {60, 60});
    window.injectMouse(MouseEventKind::LeftDragged, {70, 60});
    window.injectMouse(MouseEventKind::LeftUp, {70, 60});
    // Presses that no view takes reach the monitor too.
    window.injectMouse(MouseEventKind::LeftDown, {10, 10});
    removeMouseMonitor(token);
    window.injectMouse(MouseEventKind::LeftUp, {10, 10});
    EXPECT_EQ(log, (std::vector<std::string>{
                       "monitor down 60,60", "a down 10,10", "monitor dragged 70,60",
                       "a dragged 20,10", "monitor up 70,60", "a up 20,10", "monitor down 10,10"}));
  });
}

TEST_F(MouseEvents, AMonitorThatSaysNoSwallowsTheEvent) {
  withWindow([&](Window& window) {
    addRecorder(*window.contentView(), {{0, 0}, {100, 100}}, "a");
    bool swallow = true;
    int laterCalls = 0;
    const int first = addMouseMonitor([&](const MouseEvent&) { return !swallow; });
    const int later = addMouseMonitor([&](const MouseEvent&) {
      ++laterCalls;
      return true;
    });
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDown, {10, 10}));
    swallow = false;
    // The swallowed press started nothing: its drags and release find no view.
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftDragged, {20, 20}));
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftUp, {20, 20}));
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(laterCalls, 2);
    removeMouseMonitor(first);
    removeMouseMonitor(later);
    window.injectMouse(MouseEventKind::LeftDown, {30, 30});
    EXPECT_EQ(log, (std::vector<std::string>{"a down 30,30"}));
  });
}

TEST_F(MouseEvents, PressedButtonsShowTheLeftButtonOnlyWhileItIsDown) {
  withWindow([&](Window& window) {
    auto view = addRecorder(*window.contentView(), {{0, 0}, {100, 100}}, "a");
    uint32_t duringDown = 0;
    view->onDown = [&] { duringDown = pressedMouseButtons(); };
    EXPECT_EQ(pressedMouseButtons() & 1, 0u);
    window.injectMouse(MouseEventKind::LeftDown, {10, 10});
    EXPECT_EQ(duringDown & 1, 1u);
    EXPECT_EQ(pressedMouseButtons() & 1, 1u);
    window.injectMouse(MouseEventKind::LeftUp, {10, 10});
    EXPECT_EQ(pressedMouseButtons() & 1, 0u);
    // A press that a monitor swallows is still a button held down.
    const int token = addMouseMonitor([](const MouseEvent&) { return false; });
    window.injectMouse(MouseEventKind::LeftDown, {10, 10});
    EXPECT_EQ(pressedMouseButtons() & 1, 1u);
    window.injectMouse(MouseEventKind::LeftUp, {10, 10});
    EXPECT_EQ(pressedMouseButtons() & 1, 0u);
    removeMouseMonitor(token);
  });
}

// The X server's own pointer, driven through the XTest extension, so that events take the
// platform's whole path: the window's controllers, coordinates and propagation.
class FakePointer {
 public:
  FakePointer() {
    x11_ = dlopen("libX11.so.6", RTLD_NOW);
    xtest_ = dlopen("libXtst.so.6", RTLD_NOW);
    if (!x11_ || !xtest_) return;
    auto open = reinterpret_cast<void* (*)(const char*)>(dlsym(x11_, "XOpenDisplay"));
    flush_ = reinterpret_cast<int (*)(void*)>(dlsym(x11_, "XFlush"));
    close_ = reinterpret_cast<int (*)(void*)>(dlsym(x11_, "XCloseDisplay"));
    motion_ = reinterpret_cast<int (*)(void*, int, int, int, unsigned long)>(
        dlsym(xtest_, "XTestFakeMotionEvent"));
    button_ = reinterpret_cast<int (*)(void*, unsigned, int, unsigned long)>(
        dlsym(xtest_, "XTestFakeButtonEvent"));
    if (open && flush_ && close_ && motion_ && button_) display_ = open(nullptr);
  }
  ~FakePointer() {
    if (display_) close_(display_);
  }
  bool available() const { return display_ != nullptr; }

  // Screen coordinates; button 1 is the left one, 5 a wheel step down.
  void moveTo(int x, int y) { settle(motion_(display_, -1, x, y, 0)); }
  void press(unsigned button) { settle(button_(display_, button, 1, 0)); }
  void release(unsigned button) { settle(button_(display_, button, 0, 0)); }

 private:
  void settle(int) {
    flush_(display_);
    dispatch::pumpFor(0.1);
  }
  void* x11_ = nullptr;
  void* xtest_ = nullptr;
  void* display_ = nullptr;
  int (*flush_)(void*) = nullptr;
  int (*close_)(void*) = nullptr;
  int (*motion_)(void*, int, int, int, unsigned long) = nullptr;
  int (*button_)(void*, unsigned, int, unsigned long) = nullptr;
};

// Windows shown by tests on one display open at the same spot: while one test drives the
// pointer, no other may show a window there.
class DisplayLock {
 public:
  DisplayLock() {
    const char* display = std::getenv("DISPLAY");
    const std::string path =
        "/tmp/talvero-tests-display" + std::string(display ? display : "") + ".lock";
    fd_ = open(path.c_str(), O_RDWR | O_CREAT, 0600);
    if (fd_ >= 0) flock(fd_, LOCK_EX);
  }
  ~DisplayLock() {
    if (fd_ >= 0) close(fd_);
  }

 private:
  int fd_ = -1;
};

class RealPointer : public MouseEvents {
 protected:
  DisplayLock displayLock;

  // Where the content's origin lies on the screen, learnt from a click on an empty spot; the
  // clicks go on until the window is mapped and sees one.
  bool locateContent(FakePointer& pointer, Point& origin) {
    std::optional<Point> seen;
    const int token = addMouseMonitor([&](const MouseEvent& event) {
      if (event.kind == MouseEventKind::LeftDown) seen = event.locationInWindow;
      return true;
    });
    pointer.moveTo(20, 20);
    for (int attempt = 0; attempt < 30 && !seen; ++attempt) {
      pointer.press(1);
      pointer.release(1);
    }
    removeMouseMonitor(token);
    if (!seen) return false;
    origin = Point{20 - seen->x, 20 - seen->y};
    return true;
  }
};

TEST_F(RealPointer, APlatformPressReachesTheMonitorAndTheViewThroughTheSameDispatch) {
  FakePointer pointer;
  if (!pointer.available()) GTEST_SKIP() << "no XTest on this display";
  withWindow(
      [&](Window& window) {
        Point origin;
        ASSERT_TRUE(locateContent(pointer, origin)) << "the window never saw a click";
        addRecorder(*window.contentView(), {{50, 50}, {50, 50}}, "a");
        uint32_t pressedDuringDrag = 0;
        const int token = addMouseMonitor([&](const MouseEvent& event) {
          if (event.kind == MouseEventKind::LeftDragged) pressedDuringDrag = pressedMouseButtons();
          log.push_back("monitor");
          return true;
        });
        const auto at = [&](double x, double y) {
          pointer.moveTo(static_cast<int>(origin.x + x), static_cast<int>(origin.y + y));
        };
        at(60, 70);
        pointer.press(1);
        at(150, 150);
        pointer.release(1);
        removeMouseMonitor(token);
        EXPECT_EQ(log, (std::vector<std::string>{"monitor", "a down 10,20", "monitor",
                                                 "a dragged 100,100", "monitor", "a up 100,100"}));
        EXPECT_EQ(pressedDuringDrag & 1, 1u);
        EXPECT_EQ(pressedMouseButtons() & 1, 0u);
      },
      true);
}

TEST_F(RealPointer, AWheelScrollMovesTheScrollViewAndEndsOnce) {
  FakePointer pointer;
  if (!pointer.available()) GTEST_SKIP() << "no XTest on this display";
  withWindow(
      [&](Window& window) {
        Point origin;
        ASSERT_TRUE(locateContent(pointer, origin)) << "the window never saw a click";
        auto scroll = std::make_shared<ScrollView>();
        scroll->setFrame({{0, 100}, {100, 100}});
        auto document = std::make_shared<View>();
        document->setFrame({{0, 0}, {100, 400}});
        scroll->setDocumentView(document);
        window.contentView()->addSubview(scroll);
        int moves = 0, ends = 0;
        scroll->setOnScroll([&](Point) { ++moves; });
        scroll->setOnScrollEnd([&] { ++ends; });
        dispatch::pumpUntil([&] { return scroll->contentSize().height == 400; }, 5);
        pointer.moveTo(static_cast<int>(origin.x + 50), static_cast<int>(origin.y + 150));
        // The first wheel step of a device may only set its starting point on X11.
        for (int step = 0; step < 5 && moves == 0; ++step) {
          pointer.press(5);
          pointer.release(5);
        }
        EXPECT_TRUE(dispatch::pumpUntil([&] { return ends > 0; }, 2));
        EXPECT_GT(scroll->contentOffset().y, 0);
        EXPECT_GT(moves, 0);
        dispatch::pumpFor(0.3);
        EXPECT_EQ(ends, 1);
        // A press on the scroller itself is the platform's: no view of ours takes it.
        EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftDown, {50, 150}));
        window.injectMouse(MouseEventKind::LeftUp, {50, 150});
      },
      true);
}

}  // namespace
}  // namespace talvero::toolkit
