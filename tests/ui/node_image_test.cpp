#include <yoga/Yoga.h>

#include <cmath>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "image_encoding.h"
#include "net/http_test_server.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/snapshot.h"
#include "runtime/buffers.h"
#include "ui/css_hex_color.h"
#include "ui/node_image.h"
#include "ui_test_support.h"

namespace talvero {
namespace {

using testing::MeasuredSize;
using testing::unpacked;
using toolkit::ImageScaling;
using toolkit::Size;

// `width` × `height` PNG whose left half is `left` and right half `right` (0xRRGGBB, opaque).
std::string halvesPng(int width, int height, uint32_t left, uint32_t right) {
  std::vector<uint8_t> rgba;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const uint32_t colour = x < width / 2 ? left : right;
      rgba.insert(rgba.end(),
                  {static_cast<uint8_t>(colour >> 16), static_cast<uint8_t>(colour >> 8),
                   static_cast<uint8_t>(colour), 255});
    }
  }
  const std::vector<uint8_t> png = testing::encodeImage(width, height, rgba.data());
  return std::string(png.begin(), png.end());
}

std::string solidPng(int width, int height, uint32_t colour) {
  return halvesPng(width, height, colour, colour);
}

// A script expression for an SVG source of a square of `side` points in `fill`.
std::string svgSource(int side, const std::string& fill, const std::string& extra = "") {
  const std::string s = std::to_string(side);
  return "{svg: \"<svg xmlns='http://www.w3.org/2000/svg' width='" + s + "' height='" + s +
         "'><rect width='" + s + "' height='" + s + "' fill='" + fill + "'/></svg>\"" + extra + "}";
}

// "red", "blue", "white", "clear", or the channels, of straight RGBA pixels.
std::string colourName(const uint8_t* p) {
  const auto near = [&](int r, int g, int b) {
    return std::abs(p[0] - r) < 16 && std::abs(p[1] - g) < 16 && std::abs(p[2] - b) < 16 &&
           p[3] > 240;
  };
  if (p[3] < 16) return "clear";
  if (near(255, 0, 0)) return "red";
  if (near(0, 0, 255)) return "blue";
  if (near(0, 255, 0)) return "green";
  if (near(255, 255, 255)) return "white";
  return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]) + "," +
         std::to_string(p[3]);
}

// The colour in the middle of what the view shows, or "none" without an image.
std::string shownColour(const NodeImage& node) {
  const auto& image = node.image();
  if (!image) return "none";
  const std::vector<uint8_t> rgba = image->rgba();
  return colourName(
      &rgba[(static_cast<size_t>(image->height() / 2) * image->width() + image->width() / 2) * 4]);
}

MeasuredSize measureIn(NodeImage& node, float width, float height) {
  return unpacked(node.measure(width, YGMeasureModeAtMost, height, YGMeasureModeAtMost));
}

// Holds every SVG drawing whose markup contains `marker` on its background thread until
// released; the hook is taken away again, releasing what is held, when the guard goes.
class HeldSVGDrawings {
 public:
  explicit HeldSVGDrawings(std::string marker) : state_(std::make_shared<State>()) {
    NodeImage::setBeforeSVGRender([state = state_, marker](const std::string& markup) {
      if (markup.find(marker) == std::string::npos) return;
      std::unique_lock lock(state->mutex);
      ++state->held;
      state->changed.notify_all();
      state->changed.wait(lock, [&] { return state->released; });
    });
  }
  ~HeldSVGDrawings() {
    release();
    NodeImage::setBeforeSVGRender(nullptr);
  }
  void release() {
    std::lock_guard lock(state_->mutex);
    state_->released = true;
    state_->changed.notify_all();
  }
  bool waitUntilHeld() {
    return dispatch::pumpUntil(
        [&] {
          std::lock_guard lock(state_->mutex);
          return state_->held > 0;
        },
        5);
  }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    int held = 0;
    bool released = false;
  };
  std::shared_ptr<State> state_;
};

class NodeImageTest : public testing::UIEngineTest {
 protected:
  // Opens a white screen whose children keep their own sizes.
  void openImages(const std::string& children) {
    openTree(
        "{type: 'screen', _style: {alignItems: 'flex-start', backgroundColor: '#ffffff'},"
        " children: [" +
        children + "]}");
  }
  NodeImage& image(int index = 0) {
    return nodeAt<NodeImage>("tree.children[" + std::to_string(index) + "]");
  }
  void setSource(int index, const std::string& source) {
    engine.run("_creatorUI.updateNode(tree.children[" + std::to_string(index) + "]._id, 'src', " +
               source + ");");
  }
  // An expression for a buffer source holding `bytes`.
  std::string bufferSource(const std::string& bytes) {
    const int64_t id =
        Buffers::putBuffer(std::make_shared<std::vector<uint8_t>>(bytes.begin(), bytes.end()));
    return "{_id: " + std::to_string(id) + "}";
  }
  bool waitForColour(int index, const std::string& colour) {
    return dispatch::pumpUntil([&] { return shownColour(image(index)) == colour; }, 5);
  }
  // What the screen shows at a point of the first image node.
  std::string pixelAt(int x, int y) {
    const toolkit::Bitmap bitmap = toolkit::renderView(screen().rootNode->view());
    const toolkit::Point origin = image().frame().origin;
    return colourName(bitmap.pixel(static_cast<int>(origin.x) + x, static_cast<int>(origin.y) + y));
  }
  void settle() { testing::drainMainQueue(); }

  testing::HttpTestServer server;
};

TEST_F(NodeImageTest, StartsLayerBackedClippedAndProportionalAndMeasuresNothingWithoutAnImage) {
  openImages("{type: 'image'}");
  EXPECT_TRUE(image().layer().masksToBounds());
  EXPECT_EQ(image().imageScaling(), ImageScaling::ProportionallyUpOrDown);
  EXPECT_TRUE(image().hasMeasure());
  EXPECT_EQ(image().frame().size, (Size{0, 0}));
  const MeasuredSize none = measureIn(image(), 400, 400);
  EXPECT_EQ(none.width, 0);
  EXPECT_EQ(none.height, 0);
}

TEST_F(NodeImageTest, UrlImageArrivesLateMovesTheLayoutAndSparesARemovedNode) {
  const std::string red = solidPng(100, 50, 0xff0000);
  SoupServerMessage* held = nullptr;
  server.on("/a.png", [&](SoupServerMessage* message) { testing::respond(message, 200, red); });
  server.on("/held.png", [&](SoupServerMessage* message) {
    held = message;
    soup_server_message_pause(message);
  });
  openImages("{type: 'image', _src: '" + server.url("/a.png") + "'}, {type: 'image', _src: '" +
             server.url("/held.png") + "'}");
  const std::shared_ptr<toolkit::View> gone = image(1).viewPtr();
  ASSERT_TRUE(dispatch::pumpUntil([&] { return held != nullptr; }, 5));
  engine.run("_creatorUI.removeNode(tree._id, tree.children[1]);");

  // Measured at 0 by 0 before it came, the node takes the image's size once it is there.
  ASSERT_TRUE(waitForColour(0, "red"));
  ASSERT_TRUE(dispatch::pumpUntil([&] { return image().frame().size == Size{100, 50}; }, 5));
  EXPECT_EQ(image().baseImage()->width(), 100);

  testing::respond(held, 200, red);
  soup_server_message_unpause(held);
  dispatch::pumpFor(0.3);
  auto* goneImage = dynamic_cast<NodeImage*>(gone.get());
  ASSERT_NE(goneImage, nullptr);
  EXPECT_EQ(goneImage->image(), nullptr);
  EXPECT_EQ(goneImage->baseImage(), nullptr);
}

TEST_F(NodeImageTest, OfTwoDownloadsTheLastToFinishWins) {
  SoupServerMessage* held = nullptr;
  server.on("/slow", [&](SoupServerMessage* message) {
    held = message;
    soup_server_message_pause(message);
  });
  const std::string blue = solidPng(8, 8, 0x0000ff), red = solidPng(8, 8, 0xff0000);
  server.on("/fast", [&](SoupServerMessage* message) { testing::respond(message, 200, blue); });
  server.on("/junk", [&](SoupServerMessage* message) { testing::respond(message, 200, "<svg/>"); });
  openImages("{type: 'image', _style: {width: 20, height: 20}}");
  setSource(0, "'" + server.url("/slow") + "'");
  ASSERT_TRUE(dispatch::pumpUntil([&] { return held != nullptr; }, 5));
  setSource(0, "'" + server.url("/fast") + "'");
  ASSERT_TRUE(waitForColour(0, "blue"));
  testing::respond(held, 200, red);
  soup_server_message_unpause(held);
  ASSERT_TRUE(waitForColour(0, "red"));
  // Bytes that are no raster image leave the node as it was.
  setSource(0, "'" + server.url("/junk") + "'");
  dispatch::pumpUntil([&] { return server.received.size() == 3; }, 5);
  dispatch::pumpFor(0.2);
  EXPECT_EQ(shownColour(image()), "red");
}

TEST_F(NodeImageTest, TwoQuickSvgSourcesShowTheSecondWhicheverDrawingEndsFirst) {
  // Drawn once at its layout size first, so that no layout pass starts drawings of its own.
  openImages("{type: 'image', _style: {width: 20, height: 20}, _src: " + svgSource(10, "white") +
             "}");
  ASSERT_TRUE(waitForColour(0, "white"));
  ASSERT_EQ(image().lastSVGRenderSize(), (Size{20, 20}));
  {
    // The first drawing ends last.
    HeldSVGDrawings holdFirst("red");
    setSource(0, svgSource(10, "red"));
    ASSERT_TRUE(holdFirst.waitUntilHeld());
    setSource(0, svgSource(10, "blue"));
    ASSERT_TRUE(waitForColour(0, "blue"));
    holdFirst.release();
    dispatch::pumpFor(0.3);
    EXPECT_EQ(shownColour(image()), "blue");
  }
  {
    // The first drawing ends first: it is already stale when it lands.
    HeldSVGDrawings holdSecond("#00ff00");
    setSource(0, svgSource(10, "red"));
    setSource(0, svgSource(10, "#00ff00"));
    ASSERT_TRUE(holdSecond.waitUntilHeld());
    dispatch::pumpFor(0.3);
    EXPECT_EQ(shownColour(image()), "blue");  // still the drawing from before
    holdSecond.release();
    ASSERT_TRUE(waitForColour(0, "green"));
  }
}

TEST_F(NodeImageTest, SvgIsDrawnAtItsOwnSizeThenAtItsLayoutSizeOnlyOnce) {
  // No layout yet: the view has no size when the source arrives.
  engine.run(
      "var tree = {type: 'screen', children: [{type: 'image', _style: {width: 40, height: 30},"
      " _src: " +
      svgSource(10, "red") +
      "}, {type: 'image', _style: {width: 40, height: 30}, _src: {svg: '<svg/>'}}]};"
      " _creatorUI.openScreen(tree);");
  NodeImage& node = image();
  ASSERT_TRUE(dispatch::pumpUntil([&] { return node.image() != nullptr; }, 5));
  EXPECT_EQ(node.svgIntrinsicSize(), (Size{10, 10}));
  EXPECT_EQ(node.lastSVGRenderSize(), (Size{0, 0}));
  EXPECT_EQ(node.image()->width(), 20);  // twice the points with no window
  EXPECT_EQ(node.image()->pointSize(), (Size{10, 10}));

  screen().calculateLayout(400, 300);
  ASSERT_TRUE(dispatch::pumpUntil([&] { return node.lastSVGRenderSize() == Size{40, 30}; }, 5));
  EXPECT_EQ(node.image()->width(), 80);
  EXPECT_EQ(node.image()->height(), 60);
  EXPECT_EQ(node.svgIntrinsicSize(), (Size{10, 10}));
  EXPECT_EQ(shownColour(node), "red");

  // Another layout pass at the same size draws nothing new.
  const uint64_t generation = node.svgGeneration();
  screen().calculateLayout(400, 300);
  EXPECT_EQ(node.svgGeneration(), generation);

  // Nor again and again for markup that never draws.
  const uint64_t failed = image(1).svgGeneration();
  testing::drainMainQueue();
  screen().calculateLayout(400, 300);
  EXPECT_EQ(image(1).svgGeneration(), failed);
  EXPECT_FALSE(image(1).image());
}

TEST_F(NodeImageTest, MeasuresTheImageScaledDownToTheBoxButNeverUp) {
  openImages("{type: 'image'}");
  NodeImage& node = image();
  setSource(0, bufferSource(solidPng(100, 50, 0xff0000)));
  settle();
  ASSERT_TRUE(node.baseImage());
  const MeasuredSize small = measureIn(node, 40, 40);
  EXPECT_EQ(small.width, 40);
  EXPECT_EQ(small.height, 20);
  const MeasuredSize large = measureIn(node, 400, 400);
  EXPECT_EQ(large.width, 100);
  EXPECT_EQ(large.height, 50);
  // A NaN side sets no limit on its axis; the other still does.
  const MeasuredSize freeWidth = measureIn(node, NAN, 25);
  EXPECT_EQ(freeWidth.width, 50);
  EXPECT_EQ(freeWidth.height, 25);
  const MeasuredSize free = measureIn(node, NAN, NAN);
  EXPECT_EQ(free.width, 100);
  EXPECT_EQ(free.height, 50);
  const MeasuredSize zero = measureIn(node, 0, 400);
  EXPECT_EQ(zero.width, 0);
  EXPECT_EQ(zero.height, 0);
  // The layout core took the image's own size.
  EXPECT_EQ(node.frame().size, (Size{100, 50}));
}

TEST_F(NodeImageTest, BufferSourcesThatAreMissingOrNoImageChangeNothing) {
  openImages("{type: 'image'}");
  setSource(0, bufferSource(solidPng(4, 4, 0x0000ff)));
  settle();
  ASSERT_EQ(shownColour(image()), "blue");
  ::testing::internal::CaptureStdout();
  setSource(0, "{_id: 987654}");
  setSource(0, bufferSource("<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'/>"));
  settle();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(shownColour(image()), "blue");
}

TEST_F(NodeImageTest, SourceRectNeedsFourNumbersAndStretchesTheCrop) {
  const std::string sheet = halvesPng(20, 10, 0xff0000, 0x0000ff);
  openImages("{type: 'image', _sourceRect: [0, 0, 10], _src: " + bufferSource(sheet) +
             "}, {type: 'image', _sourceRect: [10, 0, 10, 10], _src: " + bufferSource(sheet) +
             "}, {type: 'image', _sourceRect: [0, 0, NaN, 1e300], _src: " + bufferSource(sheet) +
             "}");
  EXPECT_FALSE(image(0).sourceRect());
  EXPECT_FALSE(image(2).sourceRect());
  EXPECT_EQ(image(0).imageScaling(), ImageScaling::ProportionallyUpOrDown);
  EXPECT_EQ(image(0).image()->width(), 20);
  ASSERT_TRUE(image(1).sourceRect());
  EXPECT_EQ(image(1).imageScaling(), ImageScaling::AxesIndependently);
  EXPECT_EQ(image(1).image()->width(), 10);
  EXPECT_EQ(shownColour(image(1)), "blue");
  settle();
  EXPECT_EQ(image(1).frame().size, (Size{10, 10}));  // measured by the crop
}

TEST_F(NodeImageTest, MovingTheCropNeedsNoLayoutPassButResizingItDoes) {
  const std::string sheet = halvesPng(20, 10, 0xff0000, 0x0000ff);
  openImages("{type: 'image', _sourceRect: [0, 0, 10, 10], _src: " + bufferSource(sheet) + "}");
  settle();
  NodeImage& node = image();
  ASSERT_EQ(shownColour(node), "red");
  ASSERT_FALSE(screen().flushScheduled);

  // Queued: the row lands on a later turn of the main queue.
  engine.run("_creatorUI.setSourceRect(tree.children[0]._id, 10, 0, 10, 10);");
  EXPECT_EQ(node.sourceRect()->x(), 0);
  ASSERT_TRUE(dispatch::pumpUntil([&] { return shownColour(node) == "blue"; }, 5));
  EXPECT_FALSE(screen().flushScheduled);
  EXPECT_FALSE(YGNodeIsDirty(node.nodePtr()));

  // A rectangle no float holds is ignored.
  engine.run("_creatorUI.setSourceRect(tree.children[0]._id, NaN, 0, 1e300, 10);");
  testing::drainMainQueue();
  EXPECT_EQ(node.sourceRect()->x(), 10);

  node.setSourceRect({{0, 0}, {20, 10}});
  EXPECT_TRUE(YGNodeIsDirty(node.nodePtr()));
  EXPECT_TRUE(screen().flushScheduled);
  settle();
  EXPECT_EQ(node.frame().size, (Size{20, 10}));
  // A crop that misses the image shows it whole.
  node.setSourceRect({{50, 50}, {4, 4}});
  EXPECT_EQ(node.image(), node.baseImage());
  node.setSourceRect({{-3e9f, 0}, {6e9f, 4}});  // far outside any int: the whole width
  EXPECT_EQ(node.image()->width(), 20);
}

TEST_F(NodeImageTest, ObjectFitScalesTheImageInsideTheView) {
  openImages("{type: 'image', _style: {width: 40, height: 40}, _src: " +
             bufferSource(solidPng(20, 10, 0xff0000)) + "}");
  // Proportional up or down by default: 40 by 20 across the middle.
  EXPECT_EQ(pixelAt(20, 5), "white");
  EXPECT_EQ(pixelAt(2, 20), "red");
  engine.run("_creatorUI.updateStyle(tree.children[0]._id, 'objectFit', 'contain');");
  EXPECT_EQ(pixelAt(5, 20), "white");  // shrunk only: 20 by 10 in the middle
  EXPECT_EQ(pixelAt(20, 20), "red");
  engine.run("_creatorUI.updateStyle(tree.children[0]._id, 'objectFit', 'fill');");
  EXPECT_EQ(pixelAt(2, 2), "red");
  EXPECT_EQ(pixelAt(37, 37), "red");
  engine.run("_creatorUI.updateStyle(tree.children[0]._id, 'objectFit', 'none');");
  EXPECT_EQ(image().imageScaling(), ImageScaling::AxesIndependently);
  engine.run("_creatorUI.updateStyle(tree.children[0]._id, 'objectFit', 'cover');");
  EXPECT_EQ(pixelAt(20, 5), "white");
}

TEST_F(NodeImageTest, MissingCanvasSurfacePrintsOneLineKeepsTheImageAndDropsTheMarkup) {
  openImages("{type: 'image', _style: {width: 20, height: 20}, _src: " + svgSource(10, "red") +
             "}");
  ASSERT_TRUE(waitForColour(0, "red"));
  ::testing::internal::CaptureStdout();
  setSource(0, "{canvasSurface: 4242}");
  settle();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "Error loading image: canvas surface 4242 not found\n");
  EXPECT_FALSE(image().svgMarkup());
  EXPECT_EQ(shownColour(image()), "red");
}

TEST_F(NodeImageTest, CanvasSurfaceAtScaleTwoIsMeasuredInPoints) {
  engine.run(
      "var surface = _creatorCanvas.rasterize(0, 100, 50, 2,"
      " new Float32Array([6, 0, 25, 0, 0, 100, 50]), 7, ['blue']);");
  openImages("{type: 'image', _src: {canvasSurface: surface}}");
  NodeImage& node = image();
  ASSERT_TRUE(node.baseImage());
  EXPECT_EQ(node.baseImage()->width(), 200);
  EXPECT_EQ(node.baseImage()->height(), 100);
  const MeasuredSize size = measureIn(node, 400, 400);
  EXPECT_EQ(size.width, 100);
  EXPECT_EQ(size.height, 50);
  EXPECT_EQ(shownColour(node), "blue");
  settle();
  EXPECT_EQ(node.frame().size, (Size{100, 50}));
}

TEST_F(NodeImageTest, TintRedrawsMarkupButOnlyTintsABitmap) {
  openImages("{type: 'image', _style: {width: 20, height: 20}, _src: " +
             svgSource(10, "red", ", tintColor: '#0000ff'") +
             "}, {type: 'image', _src: " + bufferSource(solidPng(4, 4, 0xff0000)) + "}");
  EXPECT_EQ(image(0).svgTint(), (toolkit::Color{0, 0, 1, 1}));
  ASSERT_TRUE(waitForColour(0, "blue"));
  const uint64_t generation = image(0).svgGeneration();
  engine.run("_creatorUI.updateStyle(tree.children[0]._id, 'tintColor', '#ff0000');");
  EXPECT_GT(image(0).svgGeneration(), generation);
  ASSERT_TRUE(waitForColour(0, "red"));
  EXPECT_FALSE(image(0).contentTintColor());

  engine.run("_creatorUI.updateStyle(tree.children[1]._id, 'tintColor', '#0000ff');");
  EXPECT_EQ(image(1).contentTintColor(), (toolkit::Color{0, 0, 1, 1}));
  EXPECT_EQ(shownColour(image(1)), "red");  // the image itself is untouched
  EXPECT_FALSE(image(1).svgMarkup());
}

TEST(CssColor, ThreeSixAndEightHexDigitsMakeAColour) {
  EXPECT_EQ(cssHexColor("#f00"), (toolkit::Color{1, 0, 0, 1}));
  EXPECT_EQ(cssHexColor("#0000ff"), (toolkit::Color{0, 0, 1, 1}));
  EXPECT_EQ(cssHexColor("#00ff0080"), toolkit::Color::fromRGBA(0x00ff0080));
  EXPECT_EQ(cssHexColor("#ABCDEF"), toolkit::Color::fromRGBA(0xabcdefff));
}

TEST(CssColor, OtherLengthsNamesAndNonHexMakeNone) {
  EXPECT_FALSE(cssHexColor("#f00f"));
  EXPECT_FALSE(cssHexColor("red"));
  EXPECT_FALSE(cssHexColor("#"));
  EXPECT_FALSE(cssHexColor("#12345"));
  EXPECT_FALSE(cssHexColor("#1234567890"));
  EXPECT_FALSE(cssHexColor("#gg0000"));
  EXPECT_FALSE(cssHexColor("ff0000"));
}

class CssColorOfScriptValues : public testing::UIEngineTest {};

TEST_F(CssColorOfScriptValues, OnlyAStringCanBeAColour) {
  engine.run("var text = '#0f0', number = 0x00ff00;");
  EXPECT_EQ(cssColor(global("text")), (toolkit::Color{0, 1, 0, 1}));
  EXPECT_FALSE(cssColor(global("number")));
  EXPECT_FALSE(cssColor(global("missing")));
}

}  // namespace
}  // namespace talvero
