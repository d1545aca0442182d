#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/engine.h"
#include "image_encoding.h"
#include "runtime/buffers.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

// `_creatorCanvas` in the engine's own context.
class CreatorCanvasTest : public ::testing::Test {
 protected:
  std::string value(const std::string& expression) {
    return json(engine.currentContext(), expression);
  }
  void run(const std::string& source) { engine.currentContext().evaluate(source); }
  canvas::SurfaceTable& surfaces() { return engine.creatorCanvasHandler().surfaces(); }

  TalveroEngine engine;
};

TEST_F(CreatorCanvasTest, RasterizePaintsFromAFloat32ArrayAndTheStringTable) {
  // fillStyle "red", fillRect 0 0 4 2, on a 4 × 2 surface at scale 2.
  EXPECT_EQ(value("_creatorCanvas.rasterize(0, 4, 2, 2,"
                  " new Float32Array([6, 0, 25, 0, 0, 4, 2]), 7, ['red'])"),
            "1");
  const auto pixels = engine.creatorCanvasHandler().surfacePixels(1);
  ASSERT_TRUE(pixels);
  EXPECT_EQ(pixels->width, 8);
  EXPECT_EQ(pixels->height, 4);
  EXPECT_EQ(pixels->rgba[0], 255);
  EXPECT_EQ(pixels->rgba[3], 255);
  EXPECT_FALSE(engine.creatorCanvasHandler().surfacePixels(2));

  // Holes read as "", other values through String(): index 1 is a hole, so transparent.
  run("var strings = []; strings[2] = 'blue';");
  EXPECT_EQ(value("_creatorCanvas.rasterize(1, 4, 2, 1,"
                  " new Float32Array([6, 1, 25, 0, 0, 4, 2]), 1e9, strings)"),
            "1");
  EXPECT_EQ(engine.creatorCanvasHandler().surfacePixels(1)->rgba[3], 0);
}

TEST_F(CreatorCanvasTest, CommandsThatAreNoFloat32ArrayGiveZeroAndALine) {
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(value("[_creatorCanvas.rasterize(0, 4, 4, 1, [25, 0, 0, 4, 4], 5, []),"
                  " _creatorCanvas.rasterize(0, 4, 4, 1, new Float64Array(5), 5, []),"
                  " _creatorCanvas.rasterize(0, 4, 4, 1, undefined, 5, [])]"),
            "[0,0,0]");
  const std::string out = ::testing::internal::GetCapturedStdout();
  std::string line = "[canvas] rasterize: commands must be a Float32Array\n";
  EXPECT_EQ(out, line + line + line);
  // A string table that is no array counts as empty.
  EXPECT_EQ(value("_creatorCanvas.rasterize(0, 4, 4, 1, new Float32Array(0), 0, 7)"), "1");
}

TEST_F(CreatorCanvasTest, MeasureSnapshotAndDestroy) {
  EXPECT_EQ(value("_creatorCanvas.measureText('', '20px')[0]"), "0");
  EXPECT_EQ(value("(function () { var m = _creatorCanvas.measureText('Hello', '20px');"
                  " return m.length === 3 && m[0] > 20 && m[1] > 0 && m[2] > 0; })()"),
            "true");
  run("var id = _creatorCanvas.rasterize(0, 2, 2, 1, new Float32Array(0), 0, []);"
      "var copy = _creatorCanvas.snapshot(id);");
  EXPECT_EQ(value("[id, copy, _creatorCanvas.snapshot(42)]"), "[1,2,0]");
  run("_creatorCanvas.destroySurface(id); _creatorCanvas.destroySurface(42);");
  EXPECT_EQ(surfaces().find(1), nullptr);
  EXPECT_NE(surfaces().find(2), nullptr);
}

TEST_F(CreatorCanvasTest, LoadImageDecodesBufferBytesAndIgnoresTheString) {
  const std::vector<uint8_t> rgba = {255, 0, 0, 255, 0, 0, 255, 255, 0, 255, 0, 255,
                                     0,   0, 0, 0,   9, 9, 9,   255, 1, 2,   3, 255};
  const int64_t png = Buffers::putBuffer(makeBytes(testing::encodeImage(3, 2, rgba.data())));
  const int64_t junk = Buffers::putBuffer(makeBytes({1, 2, 3, 4, 5}));
  run("var got = [];"
      "function ok() { got.push(['load'].concat(Array.prototype.slice.call(arguments))); }"
      "function fail() { got.push(['error', arguments.length]); }"
      "_creatorCanvas.loadImage('<svg/>', " +
      std::to_string(png) +
      ", ok, fail);"
      "_creatorCanvas.loadImage('', " +
      std::to_string(junk) +
      ", ok, fail);"
      "_creatorCanvas.loadImage('', 987654, ok, fail);");
  EXPECT_EQ(value("got"), "[[\"load\",1,3,2],[\"error\",0],[\"error\",0]]");
  const canvas::Surface* surface = surfaces().find(1);
  ASSERT_NE(surface, nullptr);
  EXPECT_EQ(surface->width, 3);
  EXPECT_EQ(surface->scale, 1);
  const auto pixels = surfaces().straightRGBA(1);
  EXPECT_EQ(std::vector<uint8_t>(pixels->rgba.begin(), pixels->rgba.begin() + 8),
            std::vector<uint8_t>(rgba.begin(), rgba.begin() + 8));
}

TEST_F(CreatorCanvasTest, LoadImageRendersSvgTextAtItsDocumentSize) {
  run("var got = [];"
      "function ok() { got.push(Array.prototype.slice.call(arguments)); }"
      "function fail() { got.push('error'); }"
      "_creatorCanvas.loadImage('<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"6\""
      " height=\"4\"><rect width=\"6\" height=\"4\" fill=\"#ff0000\"/></svg>', -1, ok,"
      " fail);"
      "_creatorCanvas.loadImage('<svg xmlns=\"http://www.w3.org/2000/svg\"/>', -1, ok, fail);"
      "_creatorCanvas.loadImage('not markup', -1, ok, fail);"
      "_creatorCanvas.loadImage('', -1, ok, fail);");
  EXPECT_EQ(value("got"), "[[1,6,4],\"error\",\"error\",\"error\"]");
  const auto pixels = surfaces().straightRGBA(1);
  ASSERT_TRUE(pixels);
  EXPECT_EQ(std::vector<uint8_t>(pixels->rgba.begin(), pixels->rgba.begin() + 4),
            (std::vector<uint8_t>{255, 0, 0, 255}));
}

TEST_F(CreatorCanvasTest, ToFileWritesPngUnlessJpegIsAskedAndUnknownIdsFail) {
  run("var done = [];"
      "var id = _creatorCanvas.rasterize(0, 4, 4, 1, new Float32Array([6, 0, 25, 0, 0, 4, 4]),"
      " 7, ['#336699']);"
      "function ok(buffer, size) { done.push([buffer, size]); }"
      "function fail() { done.push('error'); }"
      "_creatorCanvas.toFile(id, 'image/png', ok, fail);"
      "_creatorCanvas.toFile(id, 'image/webp', ok, fail);"
      "_creatorCanvas.toFile(id, 'image/jpeg', ok, fail);"
      "_creatorCanvas.toFile(77, 'image/png', ok, fail);");
  EXPECT_EQ(value("done.length"), "4");
  EXPECT_EQ(value("done[3]"), "\"error\"");
  const std::vector<uint8_t> pngSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  for (int i = 0; i < 3; ++i) {
    const int64_t buffer = std::stoll(value("done[" + std::to_string(i) + "][0]"));
    const Bytes bytes = Buffers::get(buffer);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(std::to_string(bytes->size()), value("done[" + std::to_string(i) + "][1]"));
    if (i < 2) {
      EXPECT_EQ(std::vector<uint8_t>(bytes->begin(), bytes->begin() + 8), pngSignature);
    } else {
      EXPECT_EQ((*bytes)[0], 0xff);
      EXPECT_EQ((*bytes)[1], 0xd8);
    }
  }
}

}  // namespace
}  // namespace talvero
