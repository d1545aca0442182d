#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "net/http_test_server.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/snapshot.h"
#include "runtime/buffers.h"
#include "ui/decoration.h"
#include "ui_test_support.h"

namespace talvero {
namespace {

// A 10 by 10 PNG, its top half of one colour (0xRRGGBB) and its bottom half of another.
std::string png(uint32_t top, uint32_t bottom) {
  toolkit::Bitmap bitmap{10, 10, {}};
  for (int i = 0; i < 100; ++i) {
    const uint32_t colour = i < 50 ? top : bottom;
    bitmap.rgba.insert(bitmap.rgba.end(),
                       {static_cast<uint8_t>(colour >> 16), static_cast<uint8_t>(colour >> 8),
                        static_cast<uint8_t>(colour), 255});
  }
  const std::string path = ::testing::TempDir() + "talvero-decoration-test.png";
  EXPECT_TRUE(toolkit::writePng(bitmap, path));
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// Trees opened by real scripts on a white screen, styled through the real core, read back as
// pixels; an HTTP server on the loopback serves images.
class DecorationTest : public testing::UIEngineTest {
 protected:
  void open(const std::string& declarations, const std::string& children) {
    engine.run(declarations);
    openTree(
        "{type: 'screen', _style: {width: 400, height: 300, backgroundColor: '#ffffff'},"
        " children: [" +
        children + "]}");
  }
  void style(const std::string& global, const std::string& key, const std::string& value) {
    engine.run("_creatorUI.updateStyle(" + global + "._id, '" + key + "', " + value + ");");
  }
  // The flush that a change of layout queues.
  void settle() { dispatch::pumpFor(0.05); }

  NodeProtocol& node(const std::string& global) { return nodeAt<NodeProtocol>(global); }
  toolkit::Layer& layer(const std::string& global) { return node(global).view().layer(); }

  // "red", "blue", "green", "white", or the channels when it is none of them.
  std::string colourAt(int x, int y) {
    const toolkit::Bitmap bitmap = toolkit::renderView(node("tree").view());
    const uint8_t* p = bitmap.pixel(x, y);
    const auto near = [&](int r, int g, int b) {
      return std::abs(p[0] - r) < 16 && std::abs(p[1] - g) < 16 && std::abs(p[2] - b) < 16;
    };
    if (near(255, 0, 0)) return "red";
    if (near(0, 0, 255)) return "blue";
    if (near(0, 255, 0)) return "green";
    if (near(255, 255, 255)) return "white";
    return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]);
  }

  bool waitForNewContents(const std::string& global) {
    const std::shared_ptr<const toolkit::Image> before = layer(global).contents();
    return dispatch::pumpUntil([&] { return layer(global).contents() != before; }, 5);
  }

  testing::HttpTestServer server;
};

TEST_F(DecorationTest, LinearGradientsEndInTheirStopColoursAndFollowTheFrame) {
  open(
      "var across = {type: 'view', _style: {width: 100, height: 50, borderTopRightRadius: 20,"
      "  backgroundGradient: 'linear-gradient(90deg, #ff0000, #0000ff)'},"
      "  children: [{type: 'view', _style: {width: 10, height: 10, backgroundColor: '#0f0'}}]};"
      "var down = {type: 'view', _style: {width: 100, height: 50,"
      "  backgroundGradient: 'linear-gradient(#ff0000, #0000ff)'}};"
      "var slant = {type: 'view', _style: {width: 200, height: 50,"
      "  backgroundGradient: 'linear-gradient(45deg, #ff0000, #0000ff)'}};",
      "across, down, slant");
  EXPECT_EQ(colourAt(0, 25), "red");  // 90 degrees: left to right
  EXPECT_EQ(colourAt(99, 25), "blue");
  EXPECT_EQ(colourAt(5, 5), "green");   // behind the content
  EXPECT_EQ(colourAt(99, 0), "white");  // rounded where the view is, and only there
  EXPECT_EQ(colourAt(99, 49), "blue");
  EXPECT_EQ(colourAt(50, 50), "red");  // no direction: 180 degrees, top to bottom
  EXPECT_EQ(colourAt(50, 99), "blue");
  EXPECT_EQ(colourAt(0, 75), colourAt(99, 75));
  EXPECT_EQ(colourAt(0, 149), "red");  // at an angle the corners take the end colours
  EXPECT_EQ(colourAt(199, 100), "blue");

  style("across", "width", "200");
  settle();
  EXPECT_EQ(colourAt(195, 25), "blue");
  EXPECT_NE(colourAt(95, 25), "blue");
  // A radial gradient is not painted: it clears the view's gradient.
  style("across", "backgroundGradient", "'radial-gradient(#ff0000, #0000ff)'");
  EXPECT_TRUE(layer("across").sublayers().empty());
}

TEST_F(DecorationTest, PaintLayersStackInOrderAndAreReused) {
  open("", "{type: 'view', _style: {width: 200, height: 100}}");
  NodeProtocol& box = node("tree.children[0]");
  CUIGradientSpec linear{.angle = 90, .colors = {{1, 0, 0, 1}, {0, 0, 1, 1}}, .locations = {0, 1}};
  CUIGradientSpec circle = linear;
  circle.isRadial = true;
  circle.shape = 1;
  circle.extent = 1;  // closest side
  circle.cx = 0.25;
  circle.cy = 0.5;
  setGradients(box, {linear, circle});
  const std::vector<std::shared_ptr<toolkit::Layer>>& layers = box.extras.cuiGradientLayers->layers;
  ASSERT_EQ(layers.size(), 2u);
  EXPECT_EQ(layers[1]->zPosition(), -2);
  EXPECT_EQ(colourAt(0, 50), "red");  // the first on top: the circle would be blue there
  // At a quarter of 200 by 100 the closest side is 50 points away on both axes.
  EXPECT_EQ(layers[1]->gradient()->end, (toolkit::Point{0.5, 1.0}));

  const std::shared_ptr<toolkit::Layer> kept = layers[0];
  setGradients(box, {circle});
  EXPECT_EQ(box.view().layer().sublayers(), std::vector<std::shared_ptr<toolkit::Layer>>{kept});
  EXPECT_TRUE(kept->gradient()->radial);
}

TEST_F(DecorationTest, SideBordersDrawOverTheChildrenOnlyWithWidthAndColour) {
  open(
      "var box = {type: 'view', _style: {width: 100, height: 100,"
      "  borderTopWidth: 10, borderTopColor: '#ff0000', borderRightColor: '#00ff00',"
      "  borderRightWidth: 4, borderBottomWidth: 6, borderLeftColor: '#ff0000',"
      "  $thin: {borderTopWidth: 0}, $under: {borderBottomColor: '#ff0000'}},"
      "  children: [{type: 'view', _style: {width: 100, height: 100,"
      "    backgroundColor: '#0000ff'}}]};",
      "box");
  // Layout keeps room for the top edge; the child, too large, runs under the others.
  EXPECT_EQ(colourAt(50, 5), "red");
  EXPECT_EQ(colourAt(50, 12), "blue");
  EXPECT_EQ(colourAt(97, 50), "green");  // given its colour before its width
  EXPECT_EQ(colourAt(50, 97), "blue");   // a width without a colour draws nothing
  EXPECT_EQ(colourAt(1, 50), "blue");    // nor a colour without a width
  engine.run("_creatorUI.setClass(box._id, 'under', true);");
  EXPECT_EQ(colourAt(50, 97), "red");

  // A width of 0 removes the edge's layer and a width back makes a new one.
  const BorderState& state = *node("box").extras.cuiBorderState;
  const std::shared_ptr<toolkit::Layer> top = state.layers[0];
  engine.run("_creatorUI.setClass(box._id, 'thin', true);");
  EXPECT_EQ(state.layers[0], nullptr);
  engine.run("_creatorUI.setClass(box._id, 'thin', false);");
  EXPECT_NE(state.layers[0], nullptr);
  EXPECT_NE(state.layers[0], top);
  // A colour reset removes the layer and keeps the width.
  engine.run("_creatorUI.setClass(box._id, 'under', false);");
  EXPECT_EQ(state.layers[2], nullptr);
  EXPECT_EQ(state.widths[2], 6);
  EXPECT_EQ(colourAt(50, 97), "blue");

  engine.run("_creatorUI.setClass(box._id, 'under', true);");
  style("box", "width", "150");
  settle();
  EXPECT_EQ(colourAt(147, 50), "green");  // the edges follow the bounds
  EXPECT_EQ(colourAt(120, 97), "red");
}

TEST_F(DecorationTest, RadiusIsCappedAndOnlyRoundedCornersClipUnlessOverflowIsVisible) {
  open(
      "var box = {type: 'view', _style: {width: 40, height: 20, margin: 20, overflow: 'hidden'},"
      "  children: [{type: 'view', _style: {width: 60, height: 40, margin: -10,"
      "    backgroundColor: '#0000ff'}}]};",
      "box");
  EXPECT_EQ(colourAt(15, 15), "blue");  // square corners do not clip, whatever the overflow
  style("box", "borderRadius", "50");
  EXPECT_EQ(layer("box").cornerRadius(), 10);
  EXPECT_EQ(colourAt(15, 15), "white");
  EXPECT_EQ(colourAt(20, 20), "white");  // the ends are half circles of radius 10
  EXPECT_EQ(colourAt(21, 30), "blue");
  EXPECT_EQ(colourAt(40, 20), "blue");  // and the long sides straight between them
  style("box", "overflow", "'visible'");
  EXPECT_EQ(colourAt(15, 15), "blue");
}

TEST_F(DecorationTest, BufferImageCoversByDefaultFitsWhenContainedAndIsCutToTheView) {
  const std::string bytes = png(0xff0000, 0x0000ff);
  const int64_t id =
      Buffers::putBuffer(makeBytes(std::vector<uint8_t>(bytes.begin(), bytes.end())));
  open(
      "var box = {type: 'view', _style: {width: 100, height: 50, marginTop: 50,"
      "  backgroundImage: {_id: " +
          std::to_string(id) +
          "}, $fit: {backgroundSize: 'contain'}}};"
          "var none = {type: 'view', _style: {backgroundImage: 'id:" +
          std::to_string(id + 1) + "'}};",
      "box, none");
  EXPECT_EQ(layer("none").contents(), nullptr);
  // Covering: 100 by 100 about the middle, cut to the view.
  EXPECT_EQ(colourAt(5, 60), "red");
  EXPECT_EQ(colourAt(95, 90), "blue");
  EXPECT_EQ(colourAt(50, 40), "white");
  engine.run("_creatorUI.setClass(box._id, 'fit', true);");
  EXPECT_EQ(colourAt(5, 75), "white");  // fitted: 50 by 50 in the middle
  EXPECT_EQ(colourAt(50, 55), "red");
  EXPECT_EQ(colourAt(50, 95), "blue");
  style("box", "backgroundSize", "'auto'");
  EXPECT_EQ(layer("box").contentsGravity(), toolkit::ContentsGravity::ResizeAspect);
  style("box", "overflow", "'hidden'");  // the overflow rule decides the clipping again
  EXPECT_FALSE(layer("box").masksToBounds());
}

TEST_F(DecorationTest, UrlImageTakesTheSizeSetBeforeItAndSparesARemovedNode) {
  const std::string bytes = png(0xff0000, 0x0000ff);
  server.on("/a.png", [&](SoupServerMessage* message) { testing::respond(message, 200, bytes); });
  server.on("/junk", [&](SoupServerMessage* message) { testing::respond(message, 200, "junk"); });
  const std::string url = "'" + server.url("/a.png") + "'";
  open(
      "var box = {type: 'view', _style: {width: 100, height: 50, backgroundSize: 'contain'}};"
      "var gone = {type: 'view', _style: {width: 10, height: 10}};",
      "box, gone");
  const std::shared_ptr<toolkit::View> goneView = node("gone").viewPtr();
  style("gone", "backgroundImage", url);
  engine.run("_creatorUI.removeNode(tree._id, gone);");
  style("box", "backgroundImage", url);
  EXPECT_EQ(layer("box").contents(), nullptr);  // not before the load ends
  ASSERT_TRUE(waitForNewContents("box"));
  EXPECT_EQ(colourAt(5, 25), "white");
  EXPECT_EQ(colourAt(50, 5), "red");
  EXPECT_EQ(colourAt(50, 45), "blue");
  style("box", "backgroundImage", "'" + server.url("/junk") + "'");  // no image: kept
  dispatch::pumpFor(0.2);
  EXPECT_EQ(server.received.size(), 3u);
  EXPECT_EQ(goneView->layer().contents(), nullptr);
  EXPECT_EQ(colourAt(50, 5), "red");
}

TEST_F(DecorationTest, TheLoadThatFinishesLastWins) {
  const std::string red = png(0xff0000, 0xff0000), blue = png(0x0000ff, 0x0000ff);
  SoupServerMessage* held = nullptr;
  server.on("/slow", [&](SoupServerMessage* message) {
    held = message;
    soup_server_message_pause(message);
  });
  server.on("/fast", [&](SoupServerMessage* message) { testing::respond(message, 200, blue); });
  open("var box = {type: 'view', _style: {width: 20, height: 20}};", "box");
  style("box", "backgroundImage", "'" + server.url("/slow") + "'");
  ASSERT_TRUE(dispatch::pumpUntil([&] { return held != nullptr; }, 5));
  style("box", "backgroundImage", "'" + server.url("/fast") + "'");
  ASSERT_TRUE(waitForNewContents("box"));
  EXPECT_EQ(colourAt(10, 10), "blue");
  testing::respond(held, 200, red);
  soup_server_message_unpause(held);
  ASSERT_TRUE(waitForNewContents("box"));
  EXPECT_EQ(colourAt(10, 10), "red");
}

TEST_F(DecorationTest, SvgIsNoBackgroundImageFromABufferOrAUrl) {
  const std::string svg =
      "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'>"
      "<rect width='10' height='10' fill='#ff0000'/></svg>";
  const int64_t id = Buffers::putBuffer(makeBytes(std::vector<uint8_t>(svg.begin(), svg.end())));
  server.on("/icon.svg", [&](SoupServerMessage* message) { testing::respond(message, 200, svg); });
  open("var fromBuffer = {type: 'view', _style: {width: 10, height: 10, backgroundImage: 'id:" +
           std::to_string(id) +
           "'}};"
           "var fromUrl = {type: 'view', _style: {width: 10, height: 10}};",
       "fromBuffer, fromUrl");
  style("fromUrl", "backgroundImage", "'" + server.url("/icon.svg") + "'");
  ASSERT_TRUE(dispatch::pumpUntil([&] { return !server.received.empty(); }, 5));
  dispatch::pumpFor(0.2);
  EXPECT_EQ(layer("fromBuffer").contents(), nullptr);
  EXPECT_EQ(layer("fromUrl").contents(), nullptr);
}

}  // namespace
}  // namespace talvero
