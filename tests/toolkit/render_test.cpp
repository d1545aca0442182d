#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/view.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

const Color kRed{1, 0, 0, 1};
const Color kBlue{0, 0, 1, 1};
const Color kWhite{1, 1, 1, 1};

// Views drawn offscreen on a white canvas, read back pixel by pixel.
class RenderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
    root = std::make_shared<View>();
    root->setFrame(Rect{{0, 0}, {100, 100}});
    root->layer().setBackgroundColor(kWhite);
  }

  std::shared_ptr<View> addView(View& parent, Rect frame, Color colour) {
    auto view = std::make_shared<View>();
    view->setFrame(frame);
    view->layer().setBackgroundColor(colour);
    parent.addSubview(view);
    return view;
  }

  // "red", "blue", "white", or the channels when it is none of them.
  std::string colourAt(int x, int y) {
    const Bitmap bitmap = renderView(*root);
    const uint8_t* p = bitmap.pixel(x, y);
    if (p[0] > 240 && p[1] < 15 && p[2] < 15) return "red";
    if (p[0] < 15 && p[1] < 15 && p[2] > 240) return "blue";
    if (p[0] > 240 && p[1] > 240 && p[2] > 240) return "white";
    return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]);
  }

  std::shared_ptr<View> root;
};

TEST_F(RenderTest, LaterSiblingsDrawOnTop) {
  addView(*root, {{10, 10}, {50, 50}}, kRed);
  auto top = addView(*root, {{30, 30}, {50, 50}}, kBlue);
  EXPECT_EQ(colourAt(20, 20), "red");
  EXPECT_EQ(colourAt(40, 40), "blue");
  auto below = std::make_shared<View>();
  below->setFrame({{0, 0}, {100, 100}});
  below->layer().setBackgroundColor(kRed);
  root->addSubview(below, View::Position::Below, top.get());
  EXPECT_EQ(colourAt(40, 40), "blue");
  EXPECT_EQ(colourAt(90, 90), "red");
}

TEST_F(RenderTest, OnlyMaskedCornersAreRounded) {
  auto box = addView(*root, {{0, 0}, {100, 100}}, kRed);
  box->layer().setCornerRadius(40);
  box->layer().setMaskedCorners(kTopLeftCorner | kBottomRightCorner);
  EXPECT_EQ(colourAt(2, 2), "white");
  EXPECT_EQ(colourAt(97, 97), "white");
  EXPECT_EQ(colourAt(97, 2), "red");
  EXPECT_EQ(colourAt(2, 97), "red");
}

TEST_F(RenderTest, RoundedParentClipsChildrenOnlyWhenMasking) {
  auto parent = addView(*root, {{0, 0}, {100, 100}}, kWhite);
  parent->layer().setCornerRadius(30);
  addView(*parent, {{-10, -10}, {120, 120}}, kBlue);
  EXPECT_EQ(colourAt(2, 2), "blue");  // no clipping: the child covers the corner
  parent->layer().setMasksToBounds(true);
  EXPECT_EQ(colourAt(2, 2), "white");
  EXPECT_EQ(colourAt(50, 50), "blue");
  parent->layer().setCornerRadius(0);  // a square clip leaves the corner to the child
  EXPECT_EQ(colourAt(2, 2), "blue");
}

TEST_F(RenderTest, EdgeSublayersDrawOverChildrenAndGradientsBehind) {
  auto box = addView(*root, {{0, 0}, {100, 100}}, kWhite);
  auto edge = std::make_shared<Layer>();
  edge->setFrame({{0, 0}, {100, 10}});
  edge->setBackgroundColor(kRed);
  edge->setZPosition(1000);
  box->layer().addSublayer(edge);
  auto behind = std::make_shared<Layer>();
  behind->setFrame({{0, 0}, {100, 100}});
  behind->setGradient(GradientPaint{false, {kBlue, kBlue}, {0, 1}, {0.5, 0}, {0.5, 1}});
  behind->setZPosition(-1);
  box->layer().addSublayer(behind);
  addView(*box, {{0, 0}, {50, 50}}, kWhite);
  EXPECT_EQ(colourAt(20, 5), "red");     // the edge over the child
  EXPECT_EQ(colourAt(20, 20), "white");  // the child over the gradient
  EXPECT_EQ(colourAt(80, 80), "blue");   // the gradient over the background
}

TEST_F(RenderTest, BorderDrawsInsideTheBoundsOverChildren) {
  auto box = addView(*root, {{10, 10}, {80, 80}}, kWhite);
  box->layer().setBorderWidth(5);
  box->layer().setBorderColor(kRed);
  addView(*box, {{0, 0}, {80, 80}}, kBlue);
  EXPECT_EQ(colourAt(12, 50), "red");
  EXPECT_EQ(colourAt(20, 50), "blue");
  EXPECT_EQ(colourAt(5, 50), "white");
}

TEST_F(RenderTest, OpacityBlendsTheWholeSubtree) {
  auto box = addView(*root, {{0, 0}, {100, 100}}, kBlue);
  box->layer().setOpacity(0.5);
  const Bitmap bitmap = renderView(*root);
  const uint8_t* p = bitmap.pixel(50, 50);
  EXPECT_NEAR(p[0], 128, 3);
  EXPECT_NEAR(p[2], 255, 1);
}

TEST_F(RenderTest, TransformTurnsAndScalesAboutTheAnchorPoint) {
  auto bar = addView(*root, {{40, 10}, {20, 80}}, kRed);  // a vertical bar around the centre
  EXPECT_EQ(colourAt(50, 15), "red");
  EXPECT_EQ(colourAt(15, 50), "white");
  bar->layer().setTransform(Transform3D::rotationZ(M_PI / 2));  // now horizontal, same centre
  EXPECT_EQ(colourAt(50, 15), "white");
  EXPECT_EQ(colourAt(15, 50), "red");
  bar->layer().setTransform(Transform3D::scale(0.5, 0.5));
  EXPECT_EQ(colourAt(50, 15), "white");  // shrunk towards the centre
  EXPECT_EQ(colourAt(50, 40), "red");
}

TEST_F(RenderTest, ContentsFollowTheirGravity) {
  // A 2x1 image, left half red, right half blue.
  const uint8_t pixels[] = {255, 0, 0, 255, 0, 0, 255, 255};
  auto view = addView(*root, {{0, 0}, {100, 100}}, kWhite);
  view->layer().setContents(Image::fromRGBA(2, 1, pixels));
  view->layer().setContentsGravity(ContentsGravity::ResizeAspect);
  EXPECT_EQ(colourAt(10, 10), "white");  // fitted: a 100x50 band in the middle
  EXPECT_EQ(colourAt(10, 50), "red");
  EXPECT_EQ(colourAt(90, 50), "blue");
  view->layer().setContentsGravity(ContentsGravity::Resize);
  EXPECT_EQ(colourAt(10, 10), "red");
  view->layer().setContentsGravity(ContentsGravity::TopLeft);
  EXPECT_EQ(colourAt(0, 0), "red");
  EXPECT_EQ(colourAt(1, 0), "blue");
  EXPECT_EQ(colourAt(10, 10), "white");
}

TEST_F(RenderTest, HiddenViewsAreNotDrawnButKeepTheirFrame) {
  auto box = addView(*root, {{10, 10}, {30, 30}}, kRed);
  box->setHidden(true);
  EXPECT_EQ(colourAt(20, 20), "white");
  EXPECT_EQ(box->frame().x(), 10);
  box->setHidden(false);
  EXPECT_EQ(colourAt(20, 20), "red");
}

TEST_F(RenderTest, SnapshotWritesAPng) {
  addView(*root, {{0, 0}, {50, 50}}, kRed);
  const std::string path = ::testing::TempDir() + "talvero-render-test.png";
  ASSERT_TRUE(writePng(renderView(*root), path));
  std::FILE* file = std::fopen(path.c_str(), "rb");
  ASSERT_NE(file, nullptr);
  unsigned char signature[8] = {};
  EXPECT_EQ(std::fread(signature, 1, 8, file), 8u);
  std::fclose(file);
  EXPECT_EQ(signature[1], 'P');
  EXPECT_EQ(signature[2], 'N');
}

}  // namespace
}  // namespace talvero::toolkit
