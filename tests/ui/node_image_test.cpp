#include <yoga/Yoga.h>

#include <atomic>
#include <cmath>
#include <future>
#include <memory>
#include <string>
#include <utility>
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

// "red", "blue", "green", "white", "clear", or the channels, of straight RGBA pixels.
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

Size measureIn(NodeImage& node, float width, float height) {
  const auto size =
      testing::unpacked(node.measure(width, YGMeasureModeAtMost, height, YGMeasureModeAtMost));
  return {size.width, size.height};
}

// Holds every SVG drawing whose markup contains `marker` on its background thread until
// released; the hook is taken away again, releasing what is held, when the guard goes.
class HeldSVGDrawings {
 public:
  explicit HeldSVGDrawings(const std::string& marker) {
    NodeImage::setBeforeSVGRender([held = held_, released = released_.get_future().share(),
                                   marker](const std::string& markup) {
      if (markup.find(marker) == std::string::npos) return;
      ++*held;
      released.wait();
    });
  }
  ~HeldSVGDrawings() {
    release();
    NodeImage::setBeforeSVGRender(nullptr);
  }
  void release() {
    if (!std::exchange(releasedYet_, true)) released_.set_value();
  }
  bool waitUntilHeld() {
    return dispatch::pumpUntil([&] { return *held_ > 0; }, 5);
  }

 private:
  std::shared_ptr<std::atomic<int>> held_ = std::make_shared<std::atomic<int>>(0);
  std::promise<void> released_;
  bool releasedYet_ = false;
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
  // Calls `_creatorUI.<call>(id of child `index`, <arguments>)`.
  void run(int index, const std::string& call, const std::string& arguments) {
    engine.run("_creatorUI." + call + "(tree.children[" + std::to_string(index) + "]._id, " +
               arguments + ");");
  }
  void setSource(int index, const std::string& source) {
    run(index, "updateNode", "'src', " + source);
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
  // Pauses requests for `path`, leaving them in `held` until `answer`.
  void holdRequests(const std::string& path, SoupServerMessage*& held) {
    server.on(path, [&held](SoupServerMessage* message) {
      held = message;
      soup_server_message_pause(message);
    });
  }
  static void answer(SoupServerMessage* held, const std::string& body) {
    testing::respond(held, 200, body);
    soup_server_message_unpause(held);
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

TEST_F(NodeImageTest, UrlImagesArriveLateSpareARemovedNodeAndTheLastToFinishWins) {
  const std::string red = solidPng(100, 50, 0xff0000);
  SoupServerMessage *removed = nullptr, *slow = nullptr;
  server.on("/a.png", [&](SoupServerMessage* message) { testing::respond(message, 200, red); });
  server.on("/fast", [&](SoupServerMessage* message) {
    testing::respond(message, 200, solidPng(8, 8, 0x0000ff));
  });
  server.on("/junk", [&](SoupServerMessage* message) { testing::respond(message, 200, "<svg/>"); });
  holdRequests("/removed.png", removed);
  holdRequests("/slow", slow);
  openImages("{type: 'image', _src: '" + server.url("/a.png") +
             "'}, {type: 'image', _style: {width: 20, height: 20}}, {type: 'image', _src: '" +
             server.url("/removed.png") + "'}");
  EXPECT_TRUE(image().layer().masksToBounds());
  const std::shared_ptr<toolkit::View> gone = image(2).viewPtr();
  ASSERT_TRUE(dispatch::pumpUntil([&] { return removed != nullptr; }, 5));
  engine.run("_creatorUI.removeNode(tree._id, tree.children[2]);");

  // Measured at 0 by 0 before it came, the node takes the image's size once it is there.
  ASSERT_TRUE(waitForColour(0, "red"));
  ASSERT_TRUE(dispatch::pumpUntil([&] { return image().frame().size == Size{100, 50}; }, 5));
  answer(removed, red);  // before more requests: the session has few connections to a host

  // Of two downloads for one node, the one that finishes last is shown.
  setSource(1, "'" + server.url("/slow") + "'");
  ASSERT_TRUE(dispatch::pumpUntil([&] { return slow != nullptr; }, 5));
  setSource(1, "'" + server.url("/fast") + "'");
  ASSERT_TRUE(waitForColour(1, "blue"));
  answer(slow, red);
  ASSERT_TRUE(waitForColour(1, "red"));
  // Bytes that are no raster image leave the node as it was.
  setSource(1, "'" + server.url("/junk") + "'");
  dispatch::pumpUntil([&] { return server.received.size() == 5; }, 5);
  dispatch::pumpFor(0.3);
  EXPECT_EQ(shownColour(image(1)), "red");
  auto* goneImage = dynamic_cast<NodeImage*>(gone.get());
  ASSERT_NE(goneImage, nullptr);
  EXPECT_EQ(goneImage->image(), nullptr);
  EXPECT_EQ(goneImage->baseImage(), nullptr);
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
      "var tree = {type: 'screen', children: [{type: 'image', _style: {width: 40, height: "
      "30}, _src: " +
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
  EXPECT_EQ(shownColour(node), "red");

  // Another layout pass at the same size draws nothing new, and markup that never draws is
  // not asked again either.
  const uint64_t drawn = node.svgGeneration(), failed = image(1).svgGeneration();
  settle();
  screen().calculateLayout(400, 300);
  EXPECT_EQ(node.svgGeneration(), drawn);
  EXPECT_EQ(image(1).svgGeneration(), failed);
  EXPECT_FALSE(image(1).image());
}

TEST_F(NodeImageTest, MeasuresBitmapsScaledDownButNeverUpAndSurfacesInPoints) {
  engine.run(
      "var surface = _creatorCanvas.rasterize(0, 100, 50, 2,"
      " new Float32Array([6, 0, 25, 0, 0, 100, 50]), 7, ['blue']);");
  openImages("{type: 'image'}, {type: 'image', _src: {canvasSurface: surface}}");
  NodeImage& node = image();
  EXPECT_EQ(measureIn(node, 400, 400), (Size{0, 0}));

  setSource(0, bufferSource(solidPng(100, 50, 0xff0000)));
  settle();
  ASSERT_TRUE(node.baseImage());
  EXPECT_EQ(measureIn(node, 40, 40), (Size{40, 20}));
  EXPECT_EQ(measureIn(node, 400, 400), (Size{100, 50}));
  // A NaN side sets no limit on its axis; the other still does.
  EXPECT_EQ(measureIn(node, NAN, 25), (Size{50, 25}));
  EXPECT_EQ(measureIn(node, NAN, NAN), (Size{100, 50}));
  EXPECT_EQ(measureIn(node, 0, 400), (Size{0, 0}));
  EXPECT_EQ(node.frame().size, (Size{100, 50}));  // the layout core took the image's own size

  // A surface drawn at scale 2 has twice the pixels but measures in points.
  NodeImage& surface = image(1);
  ASSERT_TRUE(surface.baseImage());
  EXPECT_EQ(surface.baseImage()->width(), 200);
  EXPECT_EQ(measureIn(surface, 400, 400), (Size{100, 50}));
  EXPECT_EQ(shownColour(surface), "blue");
}

TEST_F(NodeImageTest, TintAndSourcesThatAreMissingOrNoImage) {
  openImages("{type: 'image', _style: {width: 20, height: 20}, _src: " +
             svgSource(10, "red", ", tintColor: '#0000ff'") +
             "}, {type: 'image', _src: " + bufferSource(solidPng(4, 4, 0xff0000)) + "}");

  // Tint redraws markup, but only tints a bitmap.
  EXPECT_EQ(image(0).svgTint(), (toolkit::Color{0, 0, 1, 1}));
  ASSERT_TRUE(waitForColour(0, "blue"));
  const uint64_t generation = image(0).svgGeneration();
  run(0, "updateStyle", "'tintColor', '#ff0000'");
  EXPECT_GT(image(0).svgGeneration(), generation);
  ASSERT_TRUE(waitForColour(0, "red"));
  EXPECT_FALSE(image(0).contentTintColor());
  run(1, "updateStyle", "'tintColor', '#0000ff'");
  EXPECT_EQ(image(1).contentTintColor(), (toolkit::Color{0, 0, 1, 1}));
  EXPECT_EQ(shownColour(image(1)), "red");  // the image itself is untouched
  EXPECT_FALSE(image(1).svgMarkup());

  // A missing buffer, and SVG bytes in a buffer, silently change nothing.
  ::testing::internal::CaptureStdout();
  setSource(1, "{_id: 987654}");
  setSource(1, bufferSource("<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'/>"));
  settle();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(shownColour(image(1)), "red");

  // A missing canvas surface: one line, the image kept, the markup dropped.
  ::testing::internal::CaptureStdout();
  setSource(0, "{canvasSurface: 4242}");
  settle();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "Error loading image: canvas surface 4242 not found\n");
  EXPECT_FALSE(image(0).svgMarkup());
  EXPECT_EQ(shownColour(image(0)), "red");
}

TEST_F(NodeImageTest, SourceRectOfFourFiniteNumbersCropsAndOnlyAResizeRelayouts) {
  const std::string sheet = halvesPng(20, 10, 0xff0000, 0x0000ff);
  openImages("{type: 'image', _sourceRect: [0, 0, 10], _src: " + bufferSource(sheet) +
             "}, {type: 'image', _sourceRect: [0, 0, NaN, 1e300], _src: " + bufferSource(sheet) +
             "}, {type: 'image', _sourceRect: [0, 0, 10, 10], _src: " + bufferSource(sheet) + "}");
  settle();
  for (int index : {0, 1}) {
    EXPECT_FALSE(image(index).sourceRect()) << index;
    EXPECT_EQ(image(index).imageScaling(), ImageScaling::ProportionallyUpOrDown) << index;
    EXPECT_EQ(image(index).image()->width(), 20) << index;
  }
  NodeImage& node = image(2);
  ASSERT_TRUE(node.sourceRect());
  EXPECT_EQ(node.imageScaling(), ImageScaling::AxesIndependently);
  EXPECT_EQ(node.image()->width(), 10);
  EXPECT_EQ(shownColour(node), "red");
  EXPECT_EQ(node.frame().size, (Size{10, 10}));  // measured by the crop
  ASSERT_FALSE(screen().flushScheduled);

  // Moved, not resized: queued for a later turn of the main queue, and no layout pass.
  run(2, "setSourceRect", "10, 0, 10, 10");
  EXPECT_EQ(node.sourceRect()->x(), 0);
  ASSERT_TRUE(dispatch::pumpUntil([&] { return shownColour(node) == "blue"; }, 5));
  EXPECT_FALSE(screen().flushScheduled);
  EXPECT_FALSE(YGNodeIsDirty(node.nodePtr()));

  // A rectangle no float holds is ignored.
  run(2, "setSourceRect", "NaN, 0, 1e300, 10");
  settle();
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
  run(0, "updateStyle", "'objectFit', 'contain'");
  EXPECT_EQ(pixelAt(5, 20), "white");  // shrunk only: 20 by 10 in the middle
  EXPECT_EQ(pixelAt(20, 20), "red");
  run(0, "updateStyle", "'objectFit', 'fill'");
  EXPECT_EQ(pixelAt(2, 2), "red");
  EXPECT_EQ(pixelAt(37, 37), "red");
  run(0, "updateStyle", "'objectFit', 'none'");
  EXPECT_EQ(image().imageScaling(), ImageScaling::AxesIndependently);
  run(0, "updateStyle", "'objectFit', 'cover'");
  EXPECT_EQ(pixelAt(20, 5), "white");
}

class CssColorTest : public testing::UIEngineTest {};

TEST_F(CssColorTest, ThreeSixOrEightHexDigitsInAStringAndNothingElseMakeAColour) {
  EXPECT_EQ(cssHexColor("#f00"), (toolkit::Color{1, 0, 0, 1}));
  EXPECT_EQ(cssHexColor("#0000ff"), (toolkit::Color{0, 0, 1, 1}));
  EXPECT_EQ(cssHexColor("#00ff0080"), toolkit::Color::fromRGBA(0x00ff0080));
  EXPECT_EQ(cssHexColor("#ABCDEF"), toolkit::Color::fromRGBA(0xabcdefff));
  for (const char* text : {"#f00f", "red", "#", "#12345", "#1234567890", "#gg0000", "ff0000"}) {
    EXPECT_FALSE(cssHexColor(text)) << text;
  }
  engine.run("var text = '#0f0', number = 0x00ff00;");
  EXPECT_EQ(cssColor(global("text")), (toolkit::Color{0, 1, 0, 1}));
  EXPECT_FALSE(cssColor(global("number")));
  EXPECT_FALSE(cssColor(global("missing")));
}

}  // namespace
}  // namespace talvero
