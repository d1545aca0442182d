#include "svg/svg_ui_view.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/window.h"
#include "scratch_dir.h"

namespace talvero {
namespace {

// 20 by 10: the left half red, the right half blue.
constexpr std::string_view kHalves =
    "<svg width=\"20\" height=\"10\"><rect width=\"10\" height=\"10\" fill=\"#f00\"/>"
    "<rect x=\"10\" width=\"10\" height=\"10\" fill=\"#00f\"/></svg>";

std::span<const uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// SVG views in a white 100 by 100 root, drawn offscreen.
class SvgUIViewTest : public testing::ScratchDirTest {
 protected:
  void SetUp() override {
    ScratchDirTest::SetUp();
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
    rootView = std::make_shared<toolkit::View>();
    rootView->setFrame({{0, 0}, {100, 100}});
    rootView->layer().setBackgroundColor(toolkit::Color{1, 1, 1, 1});
  }

  std::shared_ptr<SVGUIView> show(std::shared_ptr<SVGUIView> view,
                                  toolkit::Rect frame = {{0, 0}, {100, 100}}) {
    view->setFrame(frame);
    rootView->addSubview(view);
    return view;
  }

  // One letter for what the root shows at each point: r(ed), b(lue), w(hite) or ? for other.
  std::string coloursAt(std::initializer_list<std::pair<int, int>> points) {
    const toolkit::Bitmap bitmap = toolkit::renderView(*rootView);
    std::string letters;
    for (const auto& [x, y] : points) {
      const uint8_t* p = bitmap.pixel(x, y);
      const auto near = [&](int r, int g, int b) {
        return std::abs(p[0] - r) < 15 && std::abs(p[1] - g) < 15 && std::abs(p[2] - b) < 15;
      };
      letters += near(255, 0, 0) ? 'r' : near(0, 0, 255) ? 'b' : near(255, 255, 255) ? 'w' : '?';
    }
    return letters;
  }

  std::shared_ptr<toolkit::View> rootView;
};

TEST_F(SvgUIViewTest, DocumentIsFittedWholeAndCentredAndCanBeReplaced) {
  const auto view = show(std::make_shared<SVGUIView>(bytesOf(kHalves)));
  EXPECT_EQ(view->intrinsicContentSize(), (toolkit::Size{20, 10}));
  // A 100 by 50 band from y 25 to 75.
  EXPECT_EQ(coloursAt({{10, 30}, {90, 70}, {50, 20}, {50, 80}}), "rbww");

  view->setParsedSVG(std::nullopt);
  EXPECT_EQ(coloursAt({{10, 50}}), "w");
  EXPECT_EQ(view->intrinsicContentSize(), toolkit::View().intrinsicContentSize());
  const SVGParseResult tall = SVGParser::parse(bytesOf(
      "<svg width=\"10\" height=\"20\"><rect width=\"10\" height=\"20\" fill=\"#00f\"/></svg>"));
  view->setParsedSVG(std::get<ParsedSVG>(tall));
  EXPECT_EQ(view->intrinsicContentSize(), (toolkit::Size{10, 20}));
  EXPECT_EQ(coloursAt({{50, 50}, {20, 50}}), "bw");  // a 50 by 100 column from x 25 to 75
}

TEST_F(SvgUIViewTest, DocumentFromAFileDrawsInTheViewsOwnPlace) {
  const std::string url = "file://" + write("halves.svg", std::string(kHalves)).string();
  const auto view =
      show(std::make_shared<SVGUIView>(SVGParser::FileUrl{url}), {{20, 20}, {60, 60}});
  ASSERT_NE(view->parsedSVG(), nullptr);
  // A 60 by 30 band from (20, 35) to (80, 65) of the root.
  EXPECT_EQ(coloursAt({{25, 50}, {75, 50}, {50, 30}, {10, 50}, {90, 50}}), "rbwww");
}

TEST_F(SvgUIViewTest, WhatDoesNotParseShowsNothingAndAnswersThePlainViewsSize) {
  const toolkit::Size plain = toolkit::View().intrinsicContentSize();
  for (const auto& view : {
           std::make_shared<SVGUIView>(bytesOf("")),
           std::make_shared<SVGUIView>(SVGParser::FileUrl{"https://example.com/a.svg"}),
           std::make_shared<SVGUIView>(
               SVGParser::FileUrl{"file://" + (root / "missing.svg").string()}),
       }) {
    show(view);
    EXPECT_EQ(view->parsedSVG(), nullptr);
    EXPECT_EQ(view->intrinsicContentSize(), plain);
    EXPECT_EQ(coloursAt({{10, 50}, {90, 50}}), "ww");
    view->removeFromSuperview();
  }
}

}  // namespace
}  // namespace talvero
