#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/scroll_view.h"
#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

class PressRecorder : public View {
 public:
  void mouseDown(Point p) override { downs.push_back(p); }
  std::vector<Point> downs;
};

// A 100x100 scroll view over a 100x400 document: red from 0 to 100, blue below.
class ScrollViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
    scroll = std::make_shared<ScrollView>();
    scroll->setFrame({{0, 0}, {100, 100}});
    document = std::make_shared<View>();
    document->setFrame({{0, 0}, {100, 400}});
    document->layer().setBackgroundColor(Color{0, 0, 1, 1});
    auto top = std::make_shared<View>();
    top->setFrame({{0, 0}, {100, 100}});
    top->layer().setBackgroundColor(Color{1, 0, 0, 1});
    document->addSubview(top);
    scroll->setDocumentView(document);
  }

  // Runs `body` with the scroll view shown in a window. Shown test windows open at one spot;
  // the lock keeps them away from tests that drive the real pointer there.
  void onScreen(const std::function<void(Window&)>& body) {
    const char* display = std::getenv("DISPLAY");
    const std::string lockPath =
        "/tmp/talvero-tests-display" + std::string(display ? display : "") + ".lock";
    const int lock = open(lockPath.c_str(), O_RDWR | O_CREAT, 0600);
    if (lock >= 0) flock(lock, LOCK_EX);
    Application application("org.talvero.ScrollViewTest");
    application.run([&] {
      {
        Window window(application, "scroll", 200, 200);
        window.contentView()->addSubview(scroll);
        window.present();
        if (dispatch::pumpUntil([&] { return scroll->contentSize().height == 400; }, 5)) {
          body(window);
        } else {
          ADD_FAILURE() << "the scroll range never took the document's height";
        }
      }
      application.quit();
    });
    if (lock >= 0) close(lock);
  }

  std::shared_ptr<ScrollView> scroll;
  std::shared_ptr<View> document;
};

TEST_F(ScrollViewTest, TheRangeFollowsTheDocumentFrameAndHiddenScrollbarsStillScroll) {
  scroll->setShowsScrollbars(false);
  int ends = 0;
  scroll->setOnScrollEnd([&] { ++ends; });
  onScreen([&](Window&) {
    scroll->scrollToPoint({0, 1000});
    EXPECT_EQ(scroll->contentOffset().y, 300);
    document->setFrame({{0, 0}, {100, 250}});
    EXPECT_TRUE(dispatch::pumpUntil([&] { return scroll->contentSize().height == 250; }, 5));
    EXPECT_EQ(scroll->contentOffset().y, 150);
    document->setFrame({{0, 0}, {100, 40}});  // shorter than the view: nothing to scroll
    EXPECT_TRUE(dispatch::pumpUntil([&] { return scroll->contentSize().height == 100; }, 5));
    EXPECT_EQ(scroll->contentOffset().y, 0);
    dispatch::pumpFor(0.3);
    EXPECT_EQ(ends, 0);  // programmatic moves are no user scroll
  });
}

TEST_F(ScrollViewTest, ProgrammaticScrollsReportEachMoveAndStayInsideTheRange) {
  std::vector<double> moves;
  scroll->setOnScroll([&](Point offset) { moves.push_back(offset.y); });
  scroll->scrollToPoint({0, 150});
  scroll->scrollToPoint({0, 150});  // no move, no report
  scroll->scrollToPoint({60, 1000});
  scroll->scrollToPoint({0, -50});
  EXPECT_EQ(moves, (std::vector<double>{150, 300, 0}));
  EXPECT_EQ(scroll->contentOffset().x, 0);  // a vertical scroller does not move sideways
  scroll->scrollToPoint({0, 50});
  document->setFrame({{0, 0}, {100, 120}});  // the range shrinks under the offset
  scroll->reflect();
  EXPECT_EQ(scroll->contentOffset().y, 20);
  scroll->setAxis(ScrollAxis::Horizontal);
  document->setFrame({{0, 0}, {300, 400}});
  scroll->scrollToPoint({120, 80});
  EXPECT_EQ(scroll->contentOffset().x, 120);
}

TEST_F(ScrollViewTest, ScrollToPointMovesTheDocumentsDrawing) {
  const auto colourAt = [&](int y) {
    const Bitmap bitmap = renderView(*scroll);
    const uint8_t* p = bitmap.pixel(50, y);
    return p[0] > 200 ? "red" : p[2] > 200 ? "blue" : "none";
  };
  EXPECT_STREQ(colourAt(90), "red");
  scroll->scrollToPoint({0, 50});
  EXPECT_STREQ(colourAt(10), "red");
  EXPECT_STREQ(colourAt(60), "blue");
}

TEST_F(ScrollViewTest, PressesReachTheDocumentsSubviewsWhereTheyAreScrolledTo) {
  onScreen([&](Window& window) {
    auto button = std::make_shared<PressRecorder>();
    button->setFrame({{10, 150}, {50, 50}});
    document->addSubview(button);
    scroll->scrollToPoint({0, 100});
    dispatch::pumpFor(0.05);
    EXPECT_TRUE(window.injectMouse(MouseEventKind::LeftDown, {20, 60}));  // document y 160
    window.injectMouse(MouseEventKind::LeftUp, {20, 60});
    ASSERT_EQ(button->downs.size(), 1u);
    EXPECT_EQ(button->downs[0].x, 10);
    EXPECT_EQ(button->downs[0].y, 10);
    // The document's own background is the scroller's: the platform keeps that press.
    EXPECT_FALSE(window.injectMouse(MouseEventKind::LeftDown, {80, 90}));
  });
}

}  // namespace
}  // namespace talvero::toolkit
