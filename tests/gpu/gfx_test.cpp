#include "platform/gpu/gfx.h"

#include <epoxy/gl.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/gl_area_view.h"
#include "platform/toolkit/window.h"

namespace talvero::gpu {
namespace {

using Pixel = std::array<uint8_t, 4>;
using Colour = std::array<float, 4>;
constexpr Pixel kRed{255, 0, 0, 255}, kGreen{0, 255, 0, 255}, kBlue{0, 0, 255, 255},
    kWhite{255, 255, 255, 255}, kBlack{0, 0, 0, 255}, kGrey{128, 128, 128, 255};
constexpr Colour kClearBlack{0, 0, 0, 1}, kClearGrey{0.5f, 0.5f, 0.5f, 1};

bool near(Pixel got, Pixel want) {
  return std::equal(got.begin(), got.end(), want.begin(),
                    [](int a, int b) { return std::abs(a - b) <= 2; });
}

// Top row first, as the layer reads a target back.
std::vector<Pixel> pixelsOf(Target target) {
  const std::vector<uint8_t> rgba = readTarget(target);
  std::vector<Pixel> pixels(rgba.size() / 4);
  std::memcpy(pixels.data(), rgba.data(), rgba.size());
  return pixels;
}

Image imageOf(int width, int height, std::initializer_list<Pixel> pixels) {
  std::vector<uint8_t> bytes;
  for (const Pixel& p : pixels) bytes.insert(bytes.end(), p.begin(), p.end());
  return makeImage(width, height, bytes.data(), "creator2d-texture");
}

struct Vertex {
  float x, y, u, v;
};
static_assert(sizeof(Vertex) == 16);

// Quads from (left, top) to (right, bottom) of a y-up world, texture row 0 at their top.
std::vector<Vertex> quads(std::initializer_list<std::array<float, 4>> rects) {
  std::vector<Vertex> v;
  for (auto [l, t, r, b] : rects) {
    v.insert(v.end(), {{l, t, 0, 0}, {r, t, 1, 0}, {r, b, 1, 1}, {l, b, 0, 1}});
  }
  return v;
}

ShaderDesc spriteShader() {
  ShaderDesc desc;
  desc.vertexSource = R"(#version 330 core
layout(std140) uniform Frame { mat4 mvp; };
in vec2 pos; in vec2 uv; out vec2 fragmentUv;
void main() { gl_Position = mvp * vec4(pos, 0.0, 1.0); fragmentUv = uv; })";
  desc.fragmentSource = R"(#version 330 core
uniform sampler2D tex; in vec2 fragmentUv; out vec4 outColor;
void main() { outColor = texture(tex, fragmentUv); })";
  desc.attributes = {{"pos", 0}, {"uv", 1}};
  desc.uniformBlock = "Frame";
  desc.uniformBlockSize = 64;
  desc.textureUniform = "tex";
  desc.label = "creator2d-sprite";
  return desc;
}

PipelineDesc spritePipeline(Shader shader) {
  PipelineDesc desc{
      shader, sizeof(Vertex), {{0, VertexFormat::Float2, 0}, {1, VertexFormat::Float2, 8}}};
  desc.blend = true;
  desc.srcRGB = BlendFactor::SrcAlpha;
  desc.dstRGB = desc.dstAlpha = BlendFactor::OneMinusSrcAlpha;
  desc.label = "creator2d-sprite";
  return desc;
}

// Draws as the 2D renderer does: up to two textured quads a pass, alpha-blended.
class GfxDrawing : public ::testing::Test {
 protected:
  Shader shader;
  Pipeline pipeline;
  Sampler sampler;
  Buffer vertices, indices;

  void SetUp() override {
    ASSERT_TRUE(setup()) << "no GL device (" << unavailableReason() << "): run under xvfb-run";
    shader = makeShader(spriteShader());
    pipeline = makePipeline(spritePipeline(shader));
    sampler = makeSampler({.label = "creator2d-sampler"});
    vertices = makeBuffer(BufferUsage::StreamVertex, 8 * 16, nullptr, "creator2d-verts");
    const uint32_t order[12] = {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7};
    indices = makeBuffer(BufferUsage::ImmutableIndex, sizeof(order), order, "creator2d-indices");
    ASSERT_TRUE(shader.id && pipeline.id && sampler.id && vertices.id && indices.id);
  }
  // No drawn frame, labelled object or refused call may leave a GL error behind.
  void TearDown() override { EXPECT_TRUE(!hasDevice() || glGetError() == GL_NO_ERROR); }

  // Uploads `quads`, clears `target` and binds `image`: the caller draws and ends the pass.
  void open(Target target, Image image, const std::vector<Vertex>& quads, Colour clear) {
    ASSERT_TRUE(quads.empty() || updateBuffer(vertices, quads.data(), quads.size() * 16));
    ASSERT_TRUE(beginPass(target, PassAction{{clear[0], clear[1], clear[2], clear[3]}}));
    applyPipeline(pipeline);
    const float sx = 2.0f / targetWidth(target), sy = 2.0f / targetHeight(target);
    const float mvp[16] = {sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, 1, 0, -1, -1, 0, 1};
    applyUniforms(mvp, sizeof(mvp));
    applyBindings({vertices, indices, image, sampler});
  }
  void frame(Target target, Image image, const std::vector<Vertex>& quads, Colour clear) {
    open(target, image, quads, clear);
    if (!quads.empty()) draw(0, static_cast<int>(quads.size() / 4 * 6), 1);
    endPass();
    commit();
  }
};
using GfxHandles = GfxDrawing;

// The host opens the display after the layers are set up: the device waits for a call needing GL.
TEST(GfxDevice, TheDeviceIsMadeAtTheFirstCallThatNeedsIt) {
  if (hasDevice()) GTEST_SKIP() << "needs a process of its own; ctest gives it one";
  EXPECT_EQ(targetWidth(Target{1}), 0);
  EXPECT_FALSE(hasDevice());
  const Target target = makeTarget(3, 3, nullptr);
  ASSERT_TRUE(hasDevice()) << unavailableReason();
  EXPECT_EQ(targetWidth(target), 3);
}

TEST(GfxDevice, WithoutADisplayOneLineIsPrintedAndEveryCallFailsQuietly) {
  if (gtk_is_initialized() || ::testing::UnitTest::GetInstance()->test_to_run_count() != 1)
    GTEST_SKIP() << "takes the display from its whole process; ctest gives it one";
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(setup());
  EXPECT_EQ(makeTarget(4, 4, nullptr).id, 0u);
  EXPECT_FALSE(beginPass(Target{1}, PassAction{}));
  draw(0, 6, 1);
  EXPECT_TRUE(readTarget(Target{1}).empty());
  EXPECT_FALSE(setup());
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-2d] no GL device (no display): 2D scenes run but are not drawn\n");
  EXPECT_EQ(counters().draws, 0u);
}

TEST_F(GfxDrawing, PassesClearToExactBytesAndQuadsReadBackUprightWithTextureRowZeroOnTop) {
  // Rows of 12 bytes catch a wrong row stride in the read back.
  const Target target = makeTarget(3, 4, "creator2d-test-target");
  ASSERT_EQ(std::pair(targetWidth(target), targetHeight(target)), std::pair(3, 4));
  frame(target, {}, {}, {0.2f, 0.4f, 0.6f, 0.8f});
  EXPECT_EQ(pixelsOf(target), std::vector<Pixel>(12, Pixel{51, 102, 153, 204}));
  // A quad over the top two rows of the left two columns; the next pass clears again.
  frame(target, imageOf(2, 2, {kRed, kGreen, kBlue, kWhite}), quads({{0, 4, 2, 2}}), kClearBlack);
  EXPECT_EQ(pixelsOf(target), (std::vector<Pixel>{kRed, kGreen, kBlack, kBlue, kWhite, kBlack,
                                                  kBlack, kBlack, kBlack, kBlack, kBlack, kBlack}));
}

TEST_F(GfxDrawing, NearestKeepsTexelsApartLinearBlendsThemAndBlendingWeighsBySourceAlpha) {
  const Target target = makeTarget(4, 1, nullptr);
  const Image image = imageOf(2, 1, {kBlack, kWhite});
  frame(target, image, quads({{0, 1, 4, 0}}), kClearBlack);
  EXPECT_EQ(pixelsOf(target), (std::vector<Pixel>{kBlack, kBlack, kWhite, kWhite}));
  // Pixel centres fall at texel coordinates -0.25, 0.25, 0.75 and 1.25: clamped at the edges,
  // a quarter and three quarters of the way from black to white in between.
  sampler = makeSampler({.minFilter = Filter::Linear, .magFilter = Filter::Linear});
  frame(target, image, quads({{0, 1, 4, 0}}), kClearBlack);
  const std::vector<Pixel> shown = pixelsOf(target);
  EXPECT_TRUE(shown[0] == kBlack && shown[3] == kWhite);
  EXPECT_TRUE(near(shown[1], {64, 64, 64, 255}) && near(shown[2], {191, 191, 191, 255}));

  // Half-alpha red over half-alpha blue: alpha is 0.5 + 0.5 × (1 - 0.5), not rgb's 0.5.
  frame(target, imageOf(1, 1, {{255, 0, 0, 128}}), quads({{0, 1, 4, 0}}), {0, 0, 1, 0.5f});
  EXPECT_TRUE(near(pixelsOf(target)[1], {128, 0, 127, 191}));
}

TEST_F(GfxDrawing, ImagesTargetsAndBuffersRefuseSizesTheyCannotHold) {
  const int limit = maxTextureSize();
  EXPECT_GE(limit, 1024);  // the least GL 3.3 allows
  EXPECT_EQ(imageOf(0, 1, {kWhite}).id, 0u);
  EXPECT_EQ(imageOf(limit + 1, 1, {kWhite}).id, 0u);
  EXPECT_EQ(makeTarget(4, limit + 1, nullptr).id, 0u);
  const Image image = imageOf(2, 1, {kRed, kRed});
  const std::vector<uint8_t> bytes(8 * sizeof(Vertex) + 1, 255);
  EXPECT_TRUE(updateImage(image, 2, 1, bytes.data()));
  EXPECT_FALSE(updateImage(image, 1, 2, bytes.data()));
  const uint64_t updates = counters().bufferUpdates;
  EXPECT_FALSE(updateBuffer(vertices, bytes.data(), bytes.size()));
  EXPECT_TRUE(updateBuffer(vertices, bytes.data(), bytes.size() - 1));
  EXPECT_EQ(counters().bufferUpdates, updates + 1);
  EXPECT_FALSE(updateBuffer(indices, bytes.data(), 4));
  EXPECT_EQ(makeBuffer(BufferUsage::ImmutableIndex, 64, nullptr, nullptr).id, 0u);
  EXPECT_EQ(makeBuffer(BufferUsage::StreamVertex, 0, nullptr, nullptr).id, 0u);
}

TEST_F(GfxHandles, DestroyedAndNeverMadeHandlesAreRefusedAndCounted) {
  const uint8_t white[4] = {255, 255, 255, 255};
  const Image image = imageOf(1, 1, {kWhite});
  const Target target = makeTarget(2, 2, nullptr);
  destroy(image);
  destroy(target);
  destroy(vertices);
  const uint64_t refused = counters().refusedHandles;
  EXPECT_FALSE(updateImage(image, 1, 1, white));
  EXPECT_FALSE(updateBuffer(vertices, white, 4));
  EXPECT_EQ(targetWidth(target), 0);
  EXPECT_TRUE(readTarget(target).empty());
  EXPECT_FALSE(beginPass(target, PassAction{}));
  EXPECT_FALSE(presentTarget(target, 2, 2));
  destroy(image);  // twice
  EXPECT_FALSE(updateImage(Image{999999}, 1, 1, white));
  EXPECT_EQ(counters().refusedHandles, refused + 8);
  // A new object never takes the id of a destroyed one, so an old handle stays refused.
  EXPECT_NE(imageOf(1, 1, {kWhite}).id, image.id);
  EXPECT_FALSE(updateImage(image, 1, 1, white));
}

// One skipped draw must not take the rest of the pass with it.
TEST_F(GfxHandles, DrawsWithAStaleBindingOrPastTheIndexesAreSkippedAndThePassGoesOn) {
  const Image gone = imageOf(1, 1, {kWhite}), kept = imageOf(1, 1, {kWhite});
  destroy(gone);
  const Target target = makeTarget(2, 1, nullptr);
  const uint64_t draws = counters().draws, refused = counters().refusedHandles;
  open(target, gone, quads({{0, 1, 1, 0}, {1, 1, 2, 0}}), kClearGrey);
  draw(0, 6, 1);
  applyBindings({vertices, indices, kept, sampler});
  draw(7, 6, 1);  // one past the end of the twelve indexes
  draw(6, 6, 1);
  endPass();
  commit();
  EXPECT_EQ(counters().draws, draws + 1);
  EXPECT_GT(counters().refusedHandles, refused);
  EXPECT_EQ(pixelsOf(target), (std::vector<Pixel>{kGrey, kWhite}));

  // The stream buffer takes a shorter frame; a pipeline whose shader is gone draws nothing.
  frame(target, kept, quads({{0, 1, 1, 0}}), kClearGrey);
  EXPECT_EQ(pixelsOf(target), (std::vector<Pixel>{kWhite, kGrey}));
  destroy(shader);
  frame(target, kept, quads({{0, 1, 1, 0}}), kClearGrey);
  EXPECT_EQ(counters().draws, draws + 2);
  EXPECT_EQ(pixelsOf(target)[0], kGrey);
  EXPECT_EQ(makePipeline(spritePipeline(shader)).id, 0u);
}

TEST_F(GfxHandles, AShaderThatDoesNotCompileOrWhoseBlockDiffersIsNotMade) {
  ShaderDesc broken = spriteShader(), wrongBlock = spriteShader();
  broken.vertexSource = "#version 330 core\nvoid main() { gl_Position = undefinedThing; }\n";
  broken.label = "broken";
  wrongBlock.uniformBlockSize = 48;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(makeShader(broken).id, 0u);
  EXPECT_EQ(makeShader(wrongBlock).id, 0u);
  const std::string printed = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(printed.find("[creator-2d] shader \"broken\": the vertex stage does not compile"),
            std::string::npos);
  EXPECT_NE(printed.find("uniform block Frame holds 64 bytes, not 48"), std::string::npos);
}

// Presents a target in each render and reads back the corners of the top and bottom halves
// of what the area then shows; records the presses that reach it.
class PresentingView : public toolkit::GLAreaView {
 public:
  Target target;
  std::vector<Pixel> shown;
  std::pair<int, int> size;
  bool presented = false, inAreaContext = false;
  std::vector<std::string> presses;

  void mouseDown(toolkit::Point p) override { presses.push_back("down " + at(p)); }
  void mouseDragged(toolkit::Point p) override { presses.push_back("dragged " + at(p)); }
  void mouseUp(toolkit::Point p) override { presses.push_back("up " + at(p)); }

 protected:
  bool renderArea(int width, int height) override {
    size = {width, height};
    auto* area = GTK_GL_AREA(nativeContent());
    inAreaContext = gdk_gl_context_get_current() == gtk_gl_area_get_context(area);
    presented = presentTarget(target, width, height);
    shown.clear();
    // GL counts rows from the bottom.
    for (auto [x, y] :
         {std::pair{0, height - 1}, {width - 1, height / 2}, {0, height / 2 - 1}, {width - 1, 0}}) {
      glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, shown.emplace_back().data());
    }
    return true;
  }
  static std::string at(toolkit::Point p) {
    return std::to_string(std::lround(p.x)) + "," + std::to_string(std::lround(p.y));
  }
};
using GfxPresent = GfxDrawing;

TEST_F(GfxPresent, AGLAreaRendersInItsContextShowsTargetsUprightAndPassesPressesToTheView) {
  // Red over blue, and all green at half the size, to be stretched.
  const Target upright = makeTarget(64, 32, "creator2d-view"), small = makeTarget(32, 16, nullptr);
  frame(upright, imageOf(1, 1, {kRed}), quads({{0, 32, 64, 16}}), {0, 0, 1, 1});
  frame(small, {}, {}, {0, 1, 0, 1});
  auto view = std::make_shared<PresentingView>();
  view->target = upright;
  view->setFrame({{10, 10}, {64, 32}});
  EXPECT_FALSE(view->areaRealized());  // no GL context without a window
  // Polled, not timed: ten seconds is enough for a first frame on a loaded machine.
  const auto presentUntil = [&](auto done) {
    view->presented = false;
    view->queueRender();
    return dispatch::pumpUntil([&] { return view->presented && done(); }, 10);
  };
  toolkit::Application application("local.talvero.gpu-present-test");
  application.run([&] {
    [&] {
      toolkit::Window window(application, "present", 200, 100);
      window.present();
      window.contentView()->addSubview(view);
      ASSERT_TRUE(
          dispatch::pumpUntil([&] { return view->areaRealized() && view->areaHasSize(); }, 10));
      ASSERT_TRUE(presentUntil([] { return true; }));
      EXPECT_TRUE(view->inAreaContext);
      const int scale = static_cast<int>(view->backingScaleFactor());
      EXPECT_EQ(view->size, std::pair(64 * scale, 32 * scale));
      EXPECT_EQ(view->shown, (std::vector<Pixel>{kRed, kRed, kBlue, kBlue}));
      view->target = small;
      view->setFrame({{10, 10}, {80, 40}});
      ASSERT_TRUE(presentUntil([&] { return view->size == std::pair(80 * scale, 40 * scale); }));
      EXPECT_EQ(view->shown, (std::vector<Pixel>{kGreen, kGreen, kGreen, kGreen}));

      // The platform's own picking passes the area by, so presses reach the view.
      auto* content = static_cast<GtkWidget*>(window.contentView()->nativeWidget());
      EXPECT_EQ(gtk_widget_pick(content, 50, 30, GTK_PICK_DEFAULT), view->nativeWidget());
      EXPECT_TRUE(window.injectMouse(toolkit::MouseEventKind::LeftDown, {30, 20}));
      EXPECT_TRUE(window.injectMouse(toolkit::MouseEventKind::LeftDragged, {60, 40}));
      EXPECT_TRUE(window.injectMouse(toolkit::MouseEventKind::LeftUp, {150, 90}));
      EXPECT_EQ(view->presses,
                (std::vector<std::string>{"down 20,10", "dragged 50,30", "up 140,80"}));
      view->removeFromSuperview();
      EXPECT_FALSE(view->areaRealized());
    }();
    application.quit();
  });
  // Out of any render there is no framebuffer to present into; the layer's own context comes
  // back at its next call.
  gdk_gl_context_clear_current();
  EXPECT_FALSE(presentTarget(upright, 64, 32));
  EXPECT_EQ(readTarget(upright).size(), 64u * 32u * 4u);
}

}  // namespace
}  // namespace talvero::gpu
