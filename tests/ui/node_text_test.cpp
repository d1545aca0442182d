#include <yoga/Yoga.h>

#include <cmath>
#include <memory>

#include "style_core/style_core.h"
#include "ui/node_text.h"
#include "ui/ui_test_support.h"

namespace talvero {
namespace {

using toolkit::Color;

using testing::MeasuredSize;
using testing::unpacked;

MeasuredSize measureAt(NodeText& text, float width) {
  return unpacked(text.measure(width, YGMeasureModeAtMost, NAN, YGMeasureModeUndefined));
}

// The text of the first run: a plain text is one run that carries no looks of its own.
const toolkit::TextRun& firstRun(const NodeText& text) {
  return text.attributedString().runs.at(0);
}

bool isPlain(const NodeText& text) {
  const toolkit::TextRun& run = firstRun(text);
  return !run.font && !run.color && run.letterSpacing == 0 && !run.underline && !run.strikethrough;
}

class NodeTextTest : public testing::UIEngineTest {
 protected:
  // Opens a screen whose children keep their own widths, `children` being script objects.
  void openTexts(const std::string& children) {
    openTree("{type: 'screen', _style: {alignItems: 'flex-start'}, children: [" + children + "]}");
  }
  NodeText& text(int index = 0) {
    return nodeAt<NodeText>("tree.children[" + std::to_string(index) + "]");
  }
  void update(const std::string& key, const std::string& value) {
    engine.run("_creatorUI.updateNode(tree.children[0]._id, '" + key + "', " + value + ");");
  }
  double shownWidth(int index = 0) { return text(index).frame().size.width; }
};

TEST_F(NodeTextTest, StartsAsWhiteLeftAlignedPlainTextOfItsScriptText) {
  openTexts("{type: 'text', _text: 'Hello'}, {type: 'text', _text: 42}, {type: 'text'}");
  EXPECT_EQ(text(0).string(), "Hello");
  EXPECT_EQ(text(0).textColor(), (Color{1, 1, 1, 1}));
  EXPECT_EQ(text(0).alignment(), toolkit::TextAlignment::Left);
  EXPECT_TRUE(isPlain(text(0)));
  EXPECT_EQ(text(0).font(), toolkit::Font::system(14));
  EXPECT_FALSE(text(0).layer().backgroundColor().has_value());
  EXPECT_EQ(text(1).content(), "42");
  EXPECT_EQ(text(2).content(), "");
}

TEST_F(NodeTextTest, MeasuredSizeIsWholePointsThatHoldTheTextWithoutWrapping) {
  openTexts("{type: 'text', _text: 'The quick brown fox jumps over'}");
  EXPECT_TRUE(text().hasMeasure());
  const MeasuredSize free = measureAt(text(), NAN);
  ASSERT_GT(free.width, 0);
  EXPECT_EQ(free.width, std::ceil(free.width));
  EXPECT_EQ(free.height, std::ceil(free.height));
  EXPECT_EQ(shownWidth(), free.width);
  // Drawing wraps the same layout at the view's width: at the measured width the text keeps
  // to one line, and one point less breaks it (so the width was rounded up, not out).
  const MeasuredSize atOwnWidth = measureAt(text(), free.width);
  EXPECT_EQ(atOwnWidth.width, free.width);
  EXPECT_EQ(atOwnWidth.height, free.height);
  EXPECT_EQ(text().sizeThatFits(text().frame().size.width).height, free.height);
  EXPECT_GT(measureAt(text(), free.width - 1).height, free.height);
}

TEST_F(NodeTextTest, NoWidthLimitGivesTheLongestLine) {
  openTexts(
      "{type: 'text', _text: 'short\\nthe longest line of all\\nmid'},"
      "{type: 'text', _text: 'the longest line of all'}");
  const MeasuredSize lines = measureAt(text(0), NAN);
  const MeasuredSize longest = measureAt(text(1), NAN);
  EXPECT_EQ(lines.width, longest.width);
  EXPECT_GT(lines.height, 2 * longest.height);
}

TEST_F(NodeTextTest, TextUpdatesLandOnALaterTurnInOrderAndRelayTheNodeOut) {
  openTexts("{type: 'text', _text: 'Hello'}");
  const double before = shownWidth();
  update("value", "'Ignored'");
  dispatch::pumpFor(0.05);
  EXPECT_EQ(text().content(), "Hello");

  update("text", "'First'");
  update("text", "'A much longer second text'");
  EXPECT_EQ(text().string(), "Hello");
  dispatch::pumpFor(0.05);
  EXPECT_EQ(text().content(), "A much longer second text");
  EXPECT_EQ(text().string(), "A much longer second text");
  EXPECT_GT(shownWidth(), before);

  update("text", "undefined");
  dispatch::pumpFor(0.05);
  EXPECT_EQ(text().content(), "");
}

TEST_F(NodeTextTest, ATextNeverMeasuredIsNotMarkedDirtyByAnUpdate) {
  openTexts("{type: 'text', _text: 'Hi', _style: {width: 50, height: 20}}");
  ASSERT_FALSE(text().hasMeasure());
  screen().show = false;  // no layout pass, so a dirty mark would stay visible
  update("text", "'A text far longer than fifty points'");
  dispatch::pumpFor(0.05);
  EXPECT_EQ(text().content(), "A text far longer than fifty points");
  EXPECT_FALSE(YGNodeIsDirty(text().nodePtr()));
}

TEST_F(NodeTextTest, AnUpdateHoldsItsNodeWeakly) {
  openTexts("{type: 'text', _text: 'Hello'}");
  YGNodeRef nodePtr = createNodeRoot(0);
  auto loose = std::make_shared<NodeText>("text", nodePtr, global("tree"), engine.creatorUI());
  loose->updateNode("text", global("tree"));
  const std::weak_ptr<toolkit::View> weak = loose;
  loose.reset();
  EXPECT_TRUE(weak.expired());
  dispatch::pumpFor(0.05);  // the queued step finds nothing to change
  freeNode(nodePtr);
}

TEST_F(NodeTextTest, AFontChangeKeepsTheMeasuredSizeUntilTheFontIsReloaded) {
  openTexts("{type: 'text', _text: 'Hello'}");
  const double before = shownWidth();
  text().setFontSize(28);
  EXPECT_EQ(text().cachedFont().size(), 28);
  EXPECT_EQ(text().font(), text().cachedFont());
  dispatch::pumpFor(0.05);
  screen().calculateLayout(400, 300);
  EXPECT_EQ(shownWidth(), before);
  text().reloadFont();
  dispatch::pumpFor(0.05);
  EXPECT_GT(shownWidth(), before * 1.5);
  text().setFontStyle(2);
  EXPECT_TRUE(text().font().isItalic());
}

TEST_F(NodeTextTest, SpacingOrDecorationMakesAnAttributedTextThatKeepsTheColour) {
  openTexts("{type: 'text', _text: 'Spaced out'}");
  const Color red{1, 0, 0, 1}, blue{0, 0, 1, 1};
  text().setColor(red);
  EXPECT_TRUE(isPlain(text()));
  EXPECT_EQ(text().textColor(), red);
  const float plainWidth = measureAt(text(), NAN).width;

  text().setLetterSpacing(0.5);
  EXPECT_EQ(text().string(), "Spaced out");
  EXPECT_EQ(firstRun(text()).color, red);
  EXPECT_EQ(firstRun(text()).font, text().cachedFont());
  EXPECT_EQ(firstRun(text()).letterSpacing, 0.5);
  EXPECT_FALSE(firstRun(text()).underline);
  EXPECT_GT(measureAt(text(), NAN).width, plainWidth);
  text().setColor(blue);
  EXPECT_EQ(firstRun(text()).color, blue);

  text().setTextDecoration("underline");
  EXPECT_TRUE(firstRun(text()).underline);
  text().setTextDecoration("overline");
  EXPECT_EQ(text().decoration(), TextDecoration::Underline);
  text().setTextDecoration("line-through");
  EXPECT_TRUE(firstRun(text()).strikethrough);
  EXPECT_FALSE(firstRun(text()).underline);
  text().setLetterSpacing(0);
  EXPECT_FALSE(isPlain(text()));  // still struck through
  EXPECT_EQ(firstRun(text()).color, blue);
  text().setTextDecoration("none");
  EXPECT_TRUE(isPlain(text()));
  EXPECT_EQ(measureAt(text(), NAN).width, plainWidth);
}

}  // namespace
}  // namespace talvero
