#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cmath>
#include <memory>

#include "platform/toolkit/view.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

class ViewTreeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
  }

  static std::shared_ptr<View> viewAt(Rect frame) {
    auto view = std::make_shared<View>();
    view->setFrame(frame);
    return view;
  }

  // The platform widgets' order must follow the views', as it decides what is on top.
  static void expectWidgetOrderMatches(const View& parent) {
    GtkWidget* child = gtk_widget_get_first_child(static_cast<GtkWidget*>(parent.nativeWidget()));
    for (const auto& view : parent.subviews()) {
      ASSERT_EQ(child, view->nativeWidget());
      child = gtk_widget_get_next_sibling(child);
    }
    EXPECT_EQ(child, nullptr);
  }
};

TEST_F(ViewTreeTest, SubviewsKeepTheirOrderAndMoveWhenAddedElsewhere) {
  auto parent = viewAt({{0, 0}, {100, 100}});
  auto a = viewAt({{0, 0}, {10, 10}});
  auto b = viewAt({{0, 0}, {10, 10}});
  auto c = viewAt({{0, 0}, {10, 10}});
  parent->addSubview(a);
  parent->addSubview(b);
  parent->addSubview(c, View::Position::Below, a.get());
  ASSERT_EQ(parent->subviews().size(), 3u);
  EXPECT_EQ(parent->subviews()[0], c);
  parent->addSubview(c, View::Position::Above, b.get());  // moved within the same parent
  EXPECT_EQ(parent->subviews()[2], c);
  expectWidgetOrderMatches(*parent);

  auto other = viewAt({{0, 0}, {50, 50}});
  other->addSubview(b);  // taken from its old parent
  EXPECT_EQ(parent->subviews().size(), 2u);
  EXPECT_EQ(b->superview(), other.get());
  expectWidgetOrderMatches(*parent);
  expectWidgetOrderMatches(*other);
}

TEST_F(ViewTreeTest, RemovedViewsLeaveTheTreeAndAViewCannotContainItsAncestor) {
  auto parent = viewAt({{0, 0}, {100, 100}});
  auto child = viewAt({{0, 0}, {10, 10}});
  auto grandchild = viewAt({{0, 0}, {5, 5}});
  parent->addSubview(child);
  child->addSubview(grandchild);
  EXPECT_TRUE(grandchild->isDescendantOf(parent.get()));
  EXPECT_TRUE(parent->isDescendantOf(parent.get()));
  EXPECT_FALSE(parent->isDescendantOf(child.get()));
  grandchild->addSubview(parent);  // would make a cycle: refused
  EXPECT_EQ(parent->superview(), nullptr);
  child->removeFromSuperview();
  EXPECT_TRUE(parent->subviews().empty());
  EXPECT_FALSE(grandchild->isDescendantOf(parent.get()));
  EXPECT_EQ(gtk_widget_get_parent(static_cast<GtkWidget*>(child->nativeWidget())), nullptr);
}

TEST_F(ViewTreeTest, FrameAndBoundsUseATopLeftOrigin) {
  auto view = viewAt({{10, 20}, {30, 40}});
  EXPECT_EQ(view->frame().x(), 10);
  EXPECT_EQ(view->frame().y(), 20);
  EXPECT_EQ(view->bounds().x(), 0);
  EXPECT_EQ(view->bounds().height(), 40);
  view->layer().setTransform(Transform3D::rotationZ(1));
  EXPECT_EQ(view->frame().width(), 30);  // the frame ignores the transform
  view->setHidden(true);
  EXPECT_EQ(view->frame().x(), 10);
}

TEST_F(ViewTreeTest, PointsConvertThroughOffsetsAndTransforms) {
  auto root = viewAt({{0, 0}, {200, 200}});
  auto parent = viewAt({{50, 50}, {100, 100}});
  auto child = viewAt({{10, 10}, {20, 20}});
  root->addSubview(parent);
  parent->addSubview(child);
  Point p = child->convertPoint(Point{65, 65}, nullptr);  // root coordinates
  EXPECT_DOUBLE_EQ(p.x, 5);
  EXPECT_DOUBLE_EQ(p.y, 5);
  p = root->convertPoint(Point{0, 0}, child.get());
  EXPECT_DOUBLE_EQ(p.x, 60);
  // Turned a quarter about its centre (100, 100): the parent's top-left now sits at (150, 50).
  parent->layer().setTransform(Transform3D::rotationZ(M_PI / 2));
  p = root->convertPoint(Point{0, 0}, parent.get());
  EXPECT_NEAR(p.x, 150, 1e-9);
  EXPECT_NEAR(p.y, 50, 1e-9);
  p = parent->convertPoint(Point{150, 50}, root.get());
  EXPECT_NEAR(p.x, 0, 1e-9);
  EXPECT_NEAR(p.y, 0, 1e-9);
}

TEST_F(ViewTreeTest, TransformsComposeInTheOrderApplied) {
  const Transform3D moveThenTurn =
      Transform3D::translation(10, 0).then(Transform3D::rotationZ(M_PI / 2));
  const Point p = moveThenTurn.apply(Point{0, 0});
  EXPECT_NEAR(p.x, 0, 1e-9);
  EXPECT_NEAR(p.y, 10, 1e-9);
  Transform3D inverse;
  ASSERT_TRUE(moveThenTurn.invert(inverse));
  const Point back = inverse.apply(p);
  EXPECT_NEAR(back.x, 0, 1e-9);
  EXPECT_NEAR(back.y, 0, 1e-9);
  EXPECT_FALSE(Transform3D::scale(0, 1).invert(inverse));
}

}  // namespace
}  // namespace talvero::toolkit
