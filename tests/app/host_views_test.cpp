#include "app/host_views.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/animation.h"
#include "platform/toolkit/window.h"
#include "ui/toast_view.h"
#include "ui/ui_store.h"

namespace talvero {
namespace {

using toolkit::View;

// The host's views in an 800x600 container, wired to a real engine and store, with the
// animation clock in the test's hands.
class HostViewsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
    toolkit::setAnimationClock([this] { return now; });
    engine = std::make_unique<TalveroEngine>();
    host = std::make_unique<HostViews>(engine->creatorUI(), engine->animationManager(),
                                       engine->creator2dHandler());
    host->container = std::make_shared<View>();
    host->container->setFrame({{0, 0}, {800, 600}});
    host->wireStore();
    run("function screen(name) { return {type: 'screen', _style: {}, name: name}; }");
  }
  void TearDown() override { toolkit::setAnimationClock(nullptr); }

  CreatorUIStore& store() { return engine->creatorUI(); }
  void run(const std::string& source) { engine->run(source); }
  View& viewOf(const std::string& global) {
    const ScriptValue node = engine->currentContext().globalObject().get(global);
    return CreatorUIStore::getNode(scriptNodeId(node))->view();
  }
  const std::vector<std::shared_ptr<View>>& stacked() { return host->container->subviews(); }
  void advanceTo(double time) {
    now = time;
    toolkit::advanceAnimations();
    dispatch::pumpFor(0.02);  // completions and queued host calls run on later turns
  }
  std::string output(const std::string& source) {
    ::testing::internal::CaptureStdout();
    run(source);
    return ::testing::internal::GetCapturedStdout();
  }

  double now = 10;
  std::unique_ptr<TalveroEngine> engine;
  std::unique_ptr<HostViews> host;
};

TEST_F(HostViewsTest, AnOpenedScreenFillsTheContainerAndTheStoreLearnsItsSize) {
  run("var a = screen('a'); _creatorUI.openScreen(a);");
  ASSERT_EQ(stacked().size(), 1u);
  EXPECT_EQ(stacked()[0].get(), &viewOf("a"));
  EXPECT_EQ(host->currentScreen.get(), &viewOf("a"));
  EXPECT_EQ(viewOf("a").frame(), (toolkit::Rect{{0, 0}, {800, 600}}));
  EXPECT_EQ(store().displayWidth, 800u);
  EXPECT_EQ(store().displayHeight, 600u);

  host->container->setFrame({{0, 0}, {500, 400}});
  host->containerResized();
  EXPECT_EQ(store().displayWidth, 500u);
  EXPECT_EQ(viewOf("a").frame(), (toolkit::Rect{{0, 0}, {500, 400}}));
}

TEST_F(HostViewsTest, WithoutTransitionTheOldScreenGoesAtOnceAndTheTransitionIsReset) {
  run("var a = screen('a'); _creatorUI.openScreen(a);");
  store().screenTransition = 0;
  run("var b = screen('b'); _creatorUI.openScreen(b);");
  ASSERT_EQ(stacked().size(), 1u);
  EXPECT_EQ(stacked()[0].get(), &viewOf("b"));
  EXPECT_FALSE(viewOf("b").layer().hasAnimation("routerSlide"));
}

TEST_F(HostViewsTest, PushSlidesTheNewScreenInAndTheOldOneLeavesWhenItsSlideEnds) {
  run("var a = screen('a'); _creatorUI.routerOpen(a);");
  View* first = &viewOf("a");
  run("var b = screen('b'); _creatorUI.routerPush(b);");
  EXPECT_EQ(store().screenTransition, 0);
  ASSERT_EQ(stacked().size(), 2u);
  EXPECT_EQ(stacked()[1].get(), &viewOf("b"));  // the new screen on top
  EXPECT_DOUBLE_EQ(viewOf("b").layer().presentation().transform.m[12], 800);
  advanceTo(10.31);
  ASSERT_EQ(stacked().size(), 1u);
  EXPECT_EQ(stacked()[0].get(), &viewOf("b"));
  EXPECT_EQ(first->superview(), nullptr);
}

TEST_F(HostViewsTest, PoppingBackMidSlideKeepsTheReturningScreen) {
  run("var a = screen('a'); _creatorUI.routerOpen(a);");
  run("var b = screen('b'); _creatorUI.routerPush(b);");
  advanceTo(10.1);
  run("_creatorUI.routerPop(-1);");  // `a` is still sliding out when it is asked back
  advanceTo(10.2);
  advanceTo(10.5);
  ASSERT_EQ(stacked().size(), 1u);
  EXPECT_EQ(stacked()[0].get(), &viewOf("a"));
  EXPECT_DOUBLE_EQ(viewOf("a").layer().presentation().transform.m[12], 0);
}

TEST_F(HostViewsTest, AScreenReturningWithoutSlideDropsTheHeldEndOfItsSlideOut) {
  run("var a = screen('a'); _creatorUI.routerOpen(a);");
  run("var b = screen('b'); _creatorUI.routerPush(b);");
  advanceTo(10.5);
  ASSERT_EQ(viewOf("a").superview(), nullptr);
  // `a` handed back without a slide: the end of its slide out must not hold it off screen.
  host->screenOpened(viewOf("a").shared_from_this());
  advanceTo(11);
  EXPECT_EQ(host->currentScreen.get(), &viewOf("a"));
  EXPECT_EQ(stacked().size(), 1u);
  EXPECT_DOUBLE_EQ(viewOf("a").layer().presentation().transform.m[12], 0);
}

TEST_F(HostViewsTest, WidgetsStayAboveScreensOpenedAfterThemAndLeaveWhenClosed) {
  run("var w = {type: 'widget', _style: {}}; _creatorUI.showWidget(w);"
      "var a = screen('a'); _creatorUI.openScreen(a);");
  ASSERT_EQ(host->openWidgetHosts.size(), 1u);
  const std::shared_ptr<View> widgetHost = host->openWidgetHosts[0];
  ASSERT_EQ(stacked().size(), 2u);
  EXPECT_EQ(stacked()[0].get(), &viewOf("a"));
  EXPECT_EQ(stacked()[1], widgetHost);
  // Shown before any screen, it got its frame from the screen's layout pass.
  EXPECT_EQ(widgetHost->frame(), (toolkit::Rect{{0, 0}, {800, 600}}));

  run("_creatorUI.hideWidget(w);");
  EXPECT_TRUE(host->openWidgetHosts.empty());
  EXPECT_EQ(widgetHost->superview(), nullptr);
}

TEST_F(HostViewsTest, ClosingTheScreenTakesItsViewAwayOnALaterTurn) {
  run("var a = screen('a'); _creatorUI.openScreen(a); _creatorUI.closeScreen();");
  EXPECT_EQ(stacked().size(), 1u);
  dispatch::pumpFor(0.02);
  EXPECT_TRUE(stacked().empty());
  EXPECT_EQ(host->currentScreen, nullptr);
}

TEST_F(HostViewsTest, ToastsShowInOneViewAboveEverythingThatStaysWhereItAppeared) {
  EXPECT_EQ(output("_creatorUI.toast('saved', 500);"), "");
  const std::shared_ptr<ToastView> toast = host->toastView;
  ASSERT_TRUE(toast);
  EXPECT_EQ(toast->label->string(), "saved");
  const toolkit::Rect placed = toast->frame();
  run("_creatorUI.openScreen(screen('a')); _creatorUI.showWidget({type: 'widget', _style: {}});");
  EXPECT_EQ(stacked().back(), toast);
  EXPECT_EQ(stacked().size(), 3u);

  host->container->setFrame({{0, 0}, {500, 400}});
  host->containerResized();
  EXPECT_EQ(toast->frame(), placed);
  run("_creatorUI.toast('again');");
  EXPECT_EQ(host->toastView, toast);
  EXPECT_EQ(toast->messageQueue.size(), 2u);

  // Without a container there is nowhere to show one.
  host->container.reset();
  EXPECT_EQ(output("_creatorUI.toast('lost');"), "[toast] lost\n");
}

TEST_F(HostViewsTest, AnOpenedSceneGetsOneViewBehindTheScreensUntilItIsClosed) {
  run("var a = screen('a'); _creatorUI.openScreen(a);");
  ::testing::internal::CaptureStdout();
  store().onOpenScene();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(host->sceneOpened);
  const std::shared_ptr<CreatorGLView> glView = host->glView;
  ASSERT_NE(glView, nullptr);
  ASSERT_EQ(stacked().size(), 2u);
  EXPECT_EQ(stacked()[0], glView);
  EXPECT_EQ(stacked()[1].get(), &viewOf("a"));
  EXPECT_EQ(glView->frame(), (toolkit::Rect{{0, 0}, {800, 600}}));
  EXPECT_EQ(store().onGetGLView(), glView);

  // A second open keeps the one view; a new screen still goes above it.
  store().onOpenScene();
  EXPECT_EQ(host->glView, glView);
  run("var b = screen('b'); _creatorUI.openScreen(b);");
  EXPECT_EQ(stacked().front(), glView);
  host->container->setFrame({{0, 0}, {500, 400}});
  host->containerResized();
  EXPECT_EQ(glView->frame(), (toolkit::Rect{{0, 0}, {500, 400}}));

  store().onCloseScene();
  EXPECT_EQ(glView->superview(), nullptr);
  EXPECT_EQ(host->glView, nullptr);
  EXPECT_EQ(store().onGetGLView(), nullptr);
  EXPECT_TRUE(host->sceneOpened);  // a scene was opened, once and for all
}

TEST_F(HostViewsTest, WithoutSceneViewsOrAContainerAnOpenedSceneIsOnlyMarked) {
  host->buildsSceneViews = false;  // the bundle self-test renders offscreen alone
  store().onOpenScene();
  EXPECT_TRUE(host->sceneOpened);
  EXPECT_EQ(host->glView, nullptr);
  EXPECT_TRUE(stacked().empty());

  host->buildsSceneViews = true;
  host->container.reset();
  store().onOpenScene();
  EXPECT_EQ(host->glView, nullptr);
}

TEST_F(HostViewsTest, A2dSceneGetsItsViewBehindTheScreensAndOneRenderViewLivesAtATime) {
  run("var a = screen('a'); _creatorUI.openScreen(a);");
  store().onOpenScene();
  const std::shared_ptr<CreatorGLView> glView = host->glView;
  store().onOpen2dScene();
  EXPECT_TRUE(host->scene2dOpened);
  const std::shared_ptr<Creator2DView> view2d = host->view2d;
  ASSERT_NE(view2d, nullptr);
  EXPECT_EQ(glView->superview(), nullptr);
  EXPECT_EQ(host->glView, nullptr);
  ASSERT_EQ(stacked().size(), 2u);
  EXPECT_EQ(stacked()[0], view2d);
  EXPECT_EQ(stacked()[1].get(), &viewOf("a"));
  EXPECT_EQ(view2d->frame(), (toolkit::Rect{{0, 0}, {800, 600}}));

  // A 3D scene opened now takes the 2D view off the stack in turn.
  store().onOpenScene();
  EXPECT_EQ(view2d->superview(), nullptr);
  EXPECT_EQ(host->view2d, nullptr);
  EXPECT_EQ(stacked()[0], host->glView);

  store().onOpen2dScene();
  store().onClose2dScene();
  EXPECT_EQ(host->view2d, nullptr);
  EXPECT_EQ(stacked().size(), 1u);
  EXPECT_TRUE(host->scene2dOpened);
}

TEST_F(HostViewsTest, TheSceneViewLeavesTheContainerWithTheHost) {
  store().onOpenScene();
  const std::shared_ptr<CreatorGLView> glView = host->glView;
  host.reset();
  EXPECT_EQ(glView->superview(), nullptr);
  EXPECT_EQ(store().onGetGLView(), nullptr);
}

TEST_F(HostViewsTest, SlotsDoNothingOnceTheHostIsGone) {
  host.reset();
  EXPECT_EQ(output("_creatorUI.toast('late'); _creatorUI.openScreen(screen('a'));"), "");
}

}  // namespace
}  // namespace talvero
