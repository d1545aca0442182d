#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/image_view.h"
#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/window.h"
#include "style_core/style_core.h"
#include "ui/capabilities.h"
#include "ui/decoration.h"
#include "ui/node_text.h"
#include "ui/node_views.h"
#include "ui/style_capabilities.h"
#include "ui/ui_store.h"

namespace talvero {
namespace {

using namespace hash_literals;

// Screens opened by real scripts, styled through the real core, laid out at 200 by 200 on a
// white root.
class StyleDispatchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
  }

  // Opens `root` after running `declarations`, which name its nodes as globals.
  void open(const std::string& declarations) {
    engine.run(declarations + "\n_creatorUI.openScreen(root);");
    ASSERT_TRUE(store().currentScreen);
    layout();
  }
  void layout() { store().currentScreen->calculateLayout(200, 200); }
  void run(const std::string& source) { engine.run(source); }

  CreatorUIStore& store() { return engine.creatorUI(); }
  uint64_t idOf(const std::string& global) {
    return static_cast<uint64_t>(
        engine.currentContext().globalObject().get(global).get("_id").toDouble());
  }
  NodeProtocol& node(const std::string& global) {
    NodeProtocol* found = CreatorUIStore::getNode(idOf(global));
    EXPECT_NE(found, nullptr) << global;
    return *found;
  }
  toolkit::Layer& layer(const std::string& global) { return node(global).view().layer(); }
  toolkit::Rect frame(const std::string& global) { return node(global).view().frame(); }

  // "red", "blue", "white", or the channels.
  std::string colourAt(int x, int y) {
    const toolkit::Bitmap bitmap = toolkit::renderView(node("root").view());
    const uint8_t* p = bitmap.pixel(x, y);
    if (p[0] > 240 && p[1] < 15 && p[2] < 15) return "red";
    if (p[0] < 15 && p[1] < 15 && p[2] > 240) return "blue";
    if (p[0] > 240 && p[1] > 240 && p[2] > 240) return "white";
    return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]);
  }

  TalveroEngine engine;
};

const char* const kRootStyle = "{width: 200, height: 200, backgroundColor: '#ffffff'}";

TEST_F(StyleDispatchTest, PlainKeyAndBlockKeepTheirLayersAndASwitchBringsEachBack) {
  open(std::string("var box = {type: 'view', _style: {width: 50, height: 50,") +
       " backgroundColor: '#ff0000', $night: {backgroundColor: '#0000ff'}}};" +
       "var root = {type: 'screen', _style: " + kRootStyle + ", children: [box]};");
  EXPECT_EQ(colourAt(25, 25), "red");
  run("_creatorUI.setClass(box._id, 'night', true);");
  EXPECT_EQ(colourAt(25, 25), "blue");
  run("_creatorUI.setClass(box._id, 'night', false);");
  EXPECT_EQ(colourAt(25, 25), "red");
}

TEST_F(StyleDispatchTest, BlockDurationIsAButtonsTransitionAndNeverAStyle) {
  open(
      "var button = {type: 'button', _style: {opacity: 1,"
      "  onPressed: {opacity: 0.5, duration: 120, $big: {opacity: 0.25}}}};"
      "var label = {type: 'text', _text: 'hi', _style: {onPressed: {duration: 120}}};"
      "var root = {type: 'screen', children: [button, label]};");
  EXPECT_DOUBLE_EQ(dynamic_cast<NodeTransition&>(node("button")).duration, 0.12);
  for (const char* global : {"button", "label"}) {
    EXPECT_EQ(nodeContext(node(global).nodePtr())->styles.count("duration"_h), 0u) << global;
  }
  // Nested blocks reach the core with the innermost layer.
  const auto& opacity = nodeContext(node("button").nodePtr())->styles.at("opacity"_h);
  EXPECT_EQ(opacity.count(kDefaultLayer), 1u);
  EXPECT_EQ(opacity.count(kPressedLayer), 1u);
  EXPECT_EQ(opacity.size(), 3u);

  enableNodeLayer(node("button").nodePtr(), kPressedLayer);
  EXPECT_DOUBLE_EQ(layer("button").opacity(), 0.5);
  disableNodeLayer(node("button").nodePtr(), kPressedLayer);
  EXPECT_DOUBLE_EQ(layer("button").opacity(), 1.0);
}

std::vector<std::string>& handledTexts() {
  static std::vector<std::string> texts;
  return texts;
}

TEST_F(StyleDispatchTest, ObjectWithIdReachesTheCoreAsIdText) {
  addStringHandler("testHandle",
                   [](int32_t, YGNodeRef, const char* value) { handledTexts().push_back(value); });
  open(
      "var box = {type: 'view', _style: {testHandle: {_id: 42, other: 1}}};"
      "var root = {type: 'screen', children: [box]};");
  EXPECT_EQ(handledTexts(), std::vector<std::string>{"id:42"});
  const NodeContext* context = nodeContext(node("box").nodePtr());
  EXPECT_EQ(context->styles.count("_id"_h), 0u);  // not taken as a block
  EXPECT_EQ(context->styles.count("other"_h), 0u);
}

TEST_F(StyleDispatchTest, TextStylesReachTextNodesAndLeaveAScreenAsItWas) {
  open(
      "var label = {type: 'text', _text: 'hi'};"
      "var root = {type: 'screen', _style: {width: 200, height: 200}, children: [label]};");
  auto& label = dynamic_cast<NodeText&>(node("label"));
  label.setHidden(true);  // the screen alone is compared
  const toolkit::Bitmap before = toolkit::renderView(node("root").view());
  run("_creatorUI.updateStyle(root._id, 'color', '#ff0000');"
      "_creatorUI.updateStyle(label._id, 'color', '#0000ff');");
  EXPECT_EQ(label.textColor(), (toolkit::Color{0, 0, 1, 1}));
  EXPECT_EQ(toolkit::renderView(node("root").view()).rgba, before.rgba);

  const std::vector<std::pair<std::string, toolkit::TextAlignment>> alignments = {
      {"start", toolkit::TextAlignment::Left},     {"left", toolkit::TextAlignment::Left},
      {"center", toolkit::TextAlignment::Center},  {"middle", toolkit::TextAlignment::Center},
      {"end", toolkit::TextAlignment::Right},      {"right", toolkit::TextAlignment::Right},
      {"justify", toolkit::TextAlignment::Natural}};
  for (const auto& [value, alignment] : alignments) {
    run("_creatorUI.updateStyle(label._id, 'textAlign', '" + value + "');");
    EXPECT_EQ(label.alignment(), alignment) << value;
  }
}

TEST_F(StyleDispatchTest, DisplayNoneHidesAtOnceAndTheFlushMovesTheSiblings) {
  open(
      "var first = {type: 'view', _style: {height: 50}};"
      "var second = {type: 'view', _style: {height: 50}};"
      "var root = {type: 'screen', _style: {width: 200, height: 200}, children: [first, second]};");
  ASSERT_EQ(frame("second").y(), 50);
  run("_creatorUI.updateStyle(first._id, 'display', 'none');");
  EXPECT_TRUE(node("first").view().isHidden());
  EXPECT_EQ(frame("second").y(), 50);
  dispatch::pumpFor(0.05);
  EXPECT_EQ(frame("second").y(), 0);

  run("_creatorUI.updateStyle(first._id, 'display', 'flex');");
  EXPECT_FALSE(node("first").view().isHidden());
  dispatch::pumpFor(0.05);
  EXPECT_EQ(frame("second").y(), 50);
}

TEST_F(StyleDispatchTest, OneRadiusOnTheRoundedCornersNeverNegativeCappedOnceTheBoundsAreKnown) {
  open(
      "var box = {type: 'view', _style: {width: 40, height: 20, borderRadius: 50}};"
      "var corners = {type: 'view', _style: {width: 40, height: 40, borderTopRightRadius: 4,"
      "  borderBottomLeftRadius: 12}};"
      "var root = {type: 'screen', children: [box, corners]};");
  // Styled before its first frame: the radius is kept, and a frame change does not cap it.
  EXPECT_EQ(layer("box").cornerRadius(), 50);
  run("_creatorUI.updateStyle(box._id, 'borderRadius', 50);");
  EXPECT_EQ(layer("box").cornerRadius(), 10);

  EXPECT_EQ(layer("corners").cornerRadius(), 12);
  EXPECT_EQ(layer("corners").maskedCorners(),
            toolkit::kTopRightCorner | toolkit::kBottomLeftCorner);

  run("_creatorUI.updateStyle(corners._id, 'borderRadius', -4);");
  EXPECT_EQ(node("corners").extras.cuiCornerRadiusState->radii, (std::array<float, 4>{0, 0, 0, 0}));
  EXPECT_EQ(layer("corners").cornerRadius(), 0);
  EXPECT_EQ(layer("corners").maskedCorners(), toolkit::kAllCorners);
}

TEST_F(StyleDispatchTest, RoundedViewClipsItsChildrenUnlessOverflowIsVisible) {
  open(
      "var child = {type: 'view', _style: {width: 100, height: 100, backgroundColor: '#0000ff'}};"
      "var box = {type: 'view', _style: {width: 100, height: 100, borderRadius: 30},"
      "  children: [child]};"
      "var root = {type: 'screen', _style: " +
      std::string(kRootStyle) + ", children: [box]};");
  EXPECT_EQ(colourAt(2, 2), "white");
  EXPECT_EQ(colourAt(50, 50), "blue");
  run("_creatorUI.updateStyle(box._id, 'overflow', 'visible');");
  EXPECT_EQ(colourAt(2, 2), "blue");
  run("_creatorUI.updateStyle(box._id, 'overflow', 'hidden');");
  EXPECT_EQ(colourAt(2, 2), "white");
  run("_creatorUI.updateStyle(box._id, 'borderRadius', 0);");
  EXPECT_FALSE(layer("box").masksToBounds());  // square corners never clip here
}

TEST_F(StyleDispatchTest, UniformBorderOpacityAndPointerEventsChangeTheView) {
  open(
      "var box = {type: 'view', _style: {width: 40, height: 40, backgroundColor: '#ff0000',"
      "  borderColor: '#0000ff', borderWidth: 4}};"
      "var root = {type: 'screen', _style: " +
      std::string(kRootStyle) + ", children: [box]};");
  EXPECT_EQ(colourAt(1, 1), "blue");
  EXPECT_EQ(colourAt(20, 20), "red");

  run("_creatorUI.updateStyle(box._id, 'opacity', '50%');");
  // A percentage arrives as it is written, 50, not as a half: the view stays fully opaque.
  EXPECT_DOUBLE_EQ(layer("box").opacity(), 1.0);
  EXPECT_EQ(colourAt(20, 20), "red");
  run("_creatorUI.updateStyle(box._id, 'opacity', 0.5);");
  EXPECT_DOUBLE_EQ(layer("box").opacity(), 0.5);
  const toolkit::Bitmap faded = toolkit::renderView(node("root").view());
  EXPECT_EQ(faded.pixel(20, 20)[0], 255);
  EXPECT_NEAR(faded.pixel(20, 20)[1], 128, 2);  // half red over white

  run("_creatorUI.updateStyle(box._id, 'pointerEvents', 'none');");
  EXPECT_FALSE(node("box").extras.userInteractionEnabled);
  run("_creatorUI.updateStyle(box._id, 'pointerEvents', 'auto');");
  EXPECT_TRUE(node("box").extras.userInteractionEnabled);
}

TEST_F(StyleDispatchTest, TransformReachesTheNodeMatrixAndTheView) {
  open(
      "var box = {type: 'view', _style: {width: 20, height: 20, backgroundColor: '#ff0000',"
      "  transform: 'translate(30px, 40px)'}};"
      "var root = {type: 'screen', _style: " +
      std::string(kRootStyle) + ", children: [box]};");
  ASSERT_TRUE(node("box").matrix);
  EXPECT_EQ(node("box").matrix->m[12], 30);
  EXPECT_EQ(node("box").matrix->m[13], 40);
  EXPECT_EQ(colourAt(40, 50), "red");
  EXPECT_EQ(colourAt(10, 10), "white");

  run("_creatorUI.updateStyle(box._id, 'transform', 'rotate(90deg)');");
  EXPECT_NEAR(node("box").matrix->m[1], 1, 1e-6);   // b
  EXPECT_NEAR(node("box").matrix->m[4], -1, 1e-6);  // c
  EXPECT_EQ(layer("box").transform(), *node("box").matrix);
}

TEST_F(StyleDispatchTest, OverlayColorAfterShowWidgetTakesTapsAndItsResetLetsThemThrough) {
  store().setSize(200, 200);
  run("var widget = {type: 'widget', _style: {width: 50, height: 50,"
      "  $dim: {overlayColor: '#00000080'}}};"
      "_creatorUI.showWidget(widget);");
  const auto host = store().widgetHosts.at(idOf("widget"));
  EXPECT_FALSE(host->interceptsTaps);
  EXPECT_EQ(host->hitTest({5, 5}), nullptr);

  run("_creatorUI.setClass(widget._id, 'dim', true);");
  EXPECT_TRUE(host->interceptsTaps);
  EXPECT_EQ(host->hitTest({5, 5}), host.get());
  EXPECT_EQ(host->layer().backgroundColor(), toolkit::Color::fromRGBA(0x00000080));

  run("_creatorUI.setClass(widget._id, 'dim', false);");
  EXPECT_FALSE(host->interceptsTaps);
  EXPECT_EQ(host->hitTest({5, 5}), nullptr);
  EXPECT_EQ(CreatorUIStore::widgetOverlayColors().count(idOf("widget")), 0u);
}

// Stand-ins for node kinds still to be built, carrying what their style handlers look for.
class ImageStandIn : public NodeView<toolkit::ImageView> {
 public:
  using NodeView::NodeView;
};

class VideoStandIn : public NodeView<toolkit::View>, public NodeVideoFitting {
 public:
  using NodeView::NodeView;
  void setVideoGravity(VideoGravity value) override { gravity = value; }
  VideoGravity gravity = VideoGravity::AspectFill;
};

class ScrollStandIn : public NodeView<toolkit::View>, public NodeScrolling {
 public:
  using NodeView::NodeView;
  int scrollAxis() const override { return axis; }
  void setScrollAxis(int value) override { axes.push_back(axis = value); }
  int axis = 1;
  std::vector<int> axes;
};

TEST_F(StyleDispatchTest, FitAndScrollStylesReachTheNodesThatHaveThem) {
  open("var root = {type: 'screen'};");
  UIScreen& screen = *store().currentScreen;
  auto add = [&](auto made) {
    screen.nodes[made->nodeId()] = made;
    return made;
  };
  auto image = add(
      std::make_shared<ImageStandIn>(createNode(screen.rootNodePtr, 0, 0), ScriptValue(), store()));
  auto video = add(
      std::make_shared<VideoStandIn>(createNode(screen.rootNodePtr, 1, 0), ScriptValue(), store()));
  auto scroller = add(std::make_shared<ScrollStandIn>(createNode(screen.rootNodePtr, 2, 0),
                                                      ScriptValue(), store()));

  const std::vector<std::pair<const char*, toolkit::ImageScaling>> imageFits = {
      {"contain", toolkit::ImageScaling::ProportionallyDown},
      {"cover", toolkit::ImageScaling::ProportionallyUpOrDown},
      {"fill", toolkit::ImageScaling::AxesIndependently},
      {"scale-down", toolkit::ImageScaling::AxesIndependently}};  // unknown: kept
  for (const auto& [fit, scaling] : imageFits) {
    setString(image->nodePtr(), "objectFit", fit);
    EXPECT_EQ(image->imageScaling(), scaling) << fit;
  }
  const std::vector<std::pair<const char*, VideoGravity>> videoFits = {
      {"fill", VideoGravity::Resize},
      {"cover", VideoGravity::AspectFill},
      {"scale-down", VideoGravity::AspectFit}};
  for (const auto& [fit, gravity] : videoFits) {
    setString(video->nodePtr(), "objectFit", fit);
    EXPECT_EQ(video->gravity, gravity) << fit;
  }

  setString(scroller->nodePtr(), "scrollDirection", "horizontal");
  setFloat(scroller->nodePtr(), "showScrollbar", 0);
  EXPECT_FALSE(scroller->showScrollbar);
  EXPECT_EQ(scroller->axes, (std::vector<int>{2, 2}));  // the axis again, for the scrollers
}

}  // namespace
}  // namespace talvero
