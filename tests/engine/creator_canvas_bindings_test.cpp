#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "image_encoding.h"
#include "runtime/buffers.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

// `_creatorCanvas` in the engine's own context; `got` collects what the callbacks receive.
class CreatorCanvasTest : public ::testing::Test {
 protected:
  CreatorCanvasTest() {
    run("var got = [];"
        "function ok() { got.push(Array.prototype.slice.call(arguments)); }"
        "function fail() { got.push('error', arguments.length); }");
  }
  std::string value(const std::string& expression) {
    return json(engine.currentContext(), expression);
  }
  void run(const std::string& source) { engine.currentContext().evaluate(source); }
  std::vector<uint8_t> rgba(int64_t surface) {
    const auto pixels = engine.creatorCanvasHandler().surfacePixels(surface);
    return pixels ? pixels->rgba : std::vector<uint8_t>{};
  }

  TalveroEngine engine;
};

TEST_F(CreatorCanvasTest, RasterizeReadsAFloat32ArrayAndTheStringTableAndNothingElse) {
  // fillStyle "red", fillRect 0 0 4 2, on a 4 × 2 surface at scale 2.
  EXPECT_EQ(value("_creatorCanvas.rasterize(0, 4, 2, 2,"
                  " new Float32Array([6, 0, 25, 0, 0, 4, 2]), 7, ['red'])"),
            "1");
  const auto pixels = engine.creatorCanvasHandler().surfacePixels(1);
  ASSERT_TRUE(pixels);
  EXPECT_EQ(pixels->width, 8);
  EXPECT_EQ(pixels->height, 4);
  EXPECT_EQ(std::vector<uint8_t>(pixels->rgba.begin(), pixels->rgba.begin() + 4),
            (std::vector<uint8_t>{255, 0, 0, 255}));
  // Holes read as "": index 1 is a hole, so transparent. A count past the array is cut.
  run("var strings = []; strings[2] = 'blue';");
  EXPECT_EQ(value("_creatorCanvas.rasterize(1, 4, 2, 1,"
                  " new Float32Array([6, 1, 25, 0, 0, 4, 2]), 1e9, strings)"),
            "1");
  EXPECT_EQ(rgba(1)[3], 0);

  ::testing::internal::CaptureStdout();
  EXPECT_EQ(value("[_creatorCanvas.rasterize(0, 4, 4, 1, [25, 0, 0, 4, 4], 5, []),"
                  " _creatorCanvas.rasterize(0, 4, 4, 1, new Float64Array(5), 5, []),"
                  " _creatorCanvas.rasterize(0, 4, 4, 1, undefined, 5, [])]"),
            "[0,0,0]");
  const std::string line = "[canvas] rasterize: commands must be a Float32Array\n";
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), line + line + line);
  // A string table that is no array counts as empty.
  EXPECT_EQ(value("_creatorCanvas.rasterize(0, 4, 4, 1, new Float32Array(0), 0, 7)"), "2");
}

TEST_F(CreatorCanvasTest, MeasureSnapshotAndDestroy) {
  const canvas::TextMetrics m = canvas::measureText("Hello", "20px");
  ASSERT_GT(m.descent, 0);
  EXPECT_EQ(value("_creatorCanvas.measureText('Hello', '20px').map(Math.round)"),
            "[" + std::to_string(std::lround(m.width)) + "," +
                std::to_string(std::lround(m.ascent)) + "," +
                std::to_string(std::lround(m.descent)) + "]");
  EXPECT_EQ(value("_creatorCanvas.measureText('', '20px')[0]"), "0");
  run("var id = _creatorCanvas.rasterize(0, 2, 2, 1, new Float32Array(0), 0, []);"
      "var copy = _creatorCanvas.snapshot(id);"
      "_creatorCanvas.destroySurface(id); _creatorCanvas.destroySurface(42);");
  EXPECT_EQ(value("[id, copy, _creatorCanvas.snapshot(42), _creatorCanvas.snapshot(id)]"),
            "[1,2,0,0]");
  EXPECT_EQ(rgba(2).size(), 16u);
}

TEST_F(CreatorCanvasTest, LoadImageDecodesBufferBytesOrRendersSvgText) {
  const std::vector<uint8_t> pixels = {255, 0, 0, 255, 0, 0, 255, 255, 0, 255, 0, 255,
                                       0,   0, 0, 0,   9, 9, 9,   255, 1, 2,   3, 255};
  const auto load = [this](const std::string& svg, int64_t buffer) {
    run("_creatorCanvas.loadImage('" + svg + "', " + std::to_string(buffer) + ", ok, fail);");
  };
  const std::string rect =
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"6\" height=\"4\">"
      "<rect width=\"6\" height=\"4\" fill=\"#ff0000\"/></svg>";
  load(rect, Buffers::putBuffer(makeBytes(testing::encodeImage(3, 2, pixels.data()))));
  load("", Buffers::putBuffer(makeBytes({1, 2, 3, 4, 5})));
  load("", 987654);
  load(rect, -1);
  load("<svg xmlns=\"http://www.w3.org/2000/svg\"/>", -1);
  load("not markup", -1);
  // Over the pixel limit: no bitmap, so onError.
  load("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9000\" height=\"9000\"/>", -1);
  EXPECT_EQ(value("got"),
            "[[1,3,2],\"error\",0,\"error\",0,[2,6,4],\"error\",0,\"error\",0,\"error\",0]");
  EXPECT_EQ(rgba(1), pixels);
  EXPECT_EQ(engine.creatorCanvasHandler().surfaces().find(1)->width, 3);
  const std::vector<uint8_t> svgPixels = rgba(2);
  EXPECT_EQ(svgPixels.size(), 6u * 4 * 4);
  EXPECT_EQ(std::vector<uint8_t>(svgPixels.begin(), svgPixels.begin() + 4),
            (std::vector<uint8_t>{255, 0, 0, 255}));
}

TEST_F(CreatorCanvasTest, ToFileWritesPngUnlessJpegIsAskedAndUnknownIdsFail) {
  run("var id = _creatorCanvas.rasterize(0, 4, 4, 1, new Float32Array([6, 0, 25, 0, 0, 4, 2]),"
      " 7, ['#336699']);"
      "['image/png', 'image/webp', 'image/jpeg'].forEach(function (mime) {"
      " _creatorCanvas.toFile(id, mime, ok, fail); });"
      "_creatorCanvas.toFile(77, 'image/png', ok, fail);");
  EXPECT_EQ(value("got.slice(3)"), "[\"error\",0]");
  const std::vector<uint8_t> pngSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  for (int i = 0; i < 3; ++i) {
    const Bytes bytes = Buffers::get(std::stoll(value("got[" + std::to_string(i) + "][0]")));
    ASSERT_TRUE(bytes);
    EXPECT_EQ(std::to_string(bytes->size()), value("got[" + std::to_string(i) + "][1]"));
    const std::vector<uint8_t> head(bytes->begin(), bytes->begin() + (i < 2 ? 8 : 2));
    EXPECT_EQ(head, (i < 2 ? pngSignature : std::vector<uint8_t>{0xff, 0xd8})) << i;
  }
  // The PNG decodes back to the very pixels, half filled and half clear.
  run("_creatorCanvas.loadImage('', got[0][0], ok, fail);");
  EXPECT_EQ(value("got[5]"), "[2,4,4]");
  EXPECT_EQ(rgba(2), rgba(1));
  EXPECT_EQ(rgba(1)[3], 255);
  EXPECT_EQ(rgba(1)[63], 0);
}

}  // namespace
}  // namespace talvero
