// What a frame of the 2D layer costs the main thread over the same frame made by hand, in one
// process, context and 800 × 600 target: 10,000 sprites of 16 × 16 on 4 textures, grouped in z
// into 4 runs, all moving every frame and a tenth of them turning.
// - Ours: a script's update function moves them through one `bulkSetPositions` (and turns its
//   tenth through `setRotation`), then the 2D frame builds, sorts, emits, uploads and draws.
// - Reference: a C++ loop with the same motion fills the same vertex array in draw order, uploads
//   it and issues the same draws through the same pipeline.
// Times are CPU time of the main thread (CLOCK_THREAD_CPUTIME_ID), so that llvmpipe's own
// threads do not blur them; medians over 300 frames after 60 of warm-up. Also, for information,
// the same motion through 10,000 `setPosition` calls, and the draws with z interleaved.
// Needs a display with GL 3.3: run under xvfb-run.

#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "bench_clock.h"
#include "engine/engine.h"
#include "platform/gpu/gfx.h"
#include "platform/toolkit/window.h"
#include "scene2d/internal/renderer.h"
#include "scene2d/scene2d.h"

namespace {

using talvero::bench::median;
using talvero::bench::threadSeconds;

using namespace talvero;
using scene2d::V2D;

constexpr int kSprites = 10000;
constexpr int kTextures = 4;
constexpr int kWidth = 800;
constexpr int kHeight = 600;
constexpr int kWarmUp = 60;
constexpr int kMeasured = 300;
constexpr double kFrameMs = 16;

// The motion both paths make: each sprite circles its own home, a tenth of them also turn.
struct Motion {
  static float x(int i, double t) { return float((i % 100) * 8 - 396 + 20 * std::cos(t + i)); }
  static float y(int i, double t) { return float((i / 100) * 6 - 297 + 20 * std::sin(t + i)); }
  static float degrees(double t) { return float(t * 90); }
};

const char* kMotionScript = R"(
var ids = new Int32Array(%d), at = new Float32Array(%d * 2), t = 0;
for (var i = 0; i < ids.length; i++) ids[i] = first + i;
function bulk(dt) {
  t += dt;
  for (var i = 0; i < ids.length; i++) {
    at[2 * i] = (i %% 100) * 8 - 396 + 20 * Math.cos(t + i);
    at[2 * i + 1] = Math.floor(i / 100) * 6 - 297 + 20 * Math.sin(t + i);
  }
  _creator2d.bulkSetPositions(ids, at, ids.length);
  for (var i = 0; i < ids.length; i += 10) _creator2d.setRotation(ids[i], t * 90);
}
function single(dt) {
  t += dt;
  for (var i = 0; i < ids.length; i++) {
    _creator2d.setPosition(ids[i], (i %% 100) * 8 - 396 + 20 * Math.cos(t + i),
        Math.floor(i / 100) * 6 - 297 + 20 * Math.sin(t + i));
  }
  for (var i = 0; i < ids.length; i += 10) _creator2d.setRotation(ids[i], t * 90);
}
)";

struct Figures {
  std::vector<double> script, build, gl;
  int draws = 0, quads = 0;
};

class Bench {
 public:
  Bench() {
    target_ = gpu::makeTarget(kWidth, kHeight, "bench");
    c2dSetViewport(kWidth, kHeight);
    c2dSetDensity(1);
    for (int k = 0; k < kTextures; ++k) {
      std::vector<uint8_t> rgba(16 * 16 * 4, uint8_t(60 * k + 40));
      textures_[k] = c2dCreateTextureFromRGBA(rgba.data(), 16, 16);
    }
    scene_ = c2dCreateScene();
    for (int i = 0; i < kSprites; ++i) {
      const int32_t e = c2dCreateEntity();
      if (i == 0) first_ = e;
      c2dSetSprite(e, textures_[i * kTextures / kSprites]);
      c2dAddEntityToScene(scene_, e);
    }
    groupZ();
    c2dOpenScene(scene_);
    char source[2048];
    std::snprintf(source, sizeof source, kMotionScript, kSprites, kSprites);
    engine_.run("var first = " + std::to_string(first_) + ";" + source);
  }
  ~Bench() { gpu::destroy(target_); }

  // z by texture: one run per texture.
  void groupZ() {
    for (int i = 0; i < kSprites; ++i) c2dSetZ(first_ + i, float(i * kTextures / kSprites));
  }
  // z of a hundred levels, textures cycling through them: a run per level.
  void interleaveZ() {
    for (int i = 0; i < kSprites; ++i) {
      c2dSetSprite(first_ + i, textures_[(i / 100) % kTextures]);
      c2dSetZ(first_ + i, float(i / 100));
    }
  }

  Figures ours(const char* function) {
    engine_.run("_creator2d.onUpdate(" + std::string(function) + ");");
    Figures figures;
    for (int frame = 0; frame < kWarmUp + kMeasured; ++frame) {
      const double start = threadSeconds();
      engine_.creator2dHandler().runUpdates(kFrameMs / 1000);
      const double scripted = threadSeconds() - start;
      c2dRenderGL(target_, clockMs_ += kFrameMs);
      const C2DFrameStats& stats = c2dLastFrameStats();
      if (frame < kWarmUp) continue;
      figures.script.push_back(scripted);
      figures.build.push_back(stats.buildSeconds);
      figures.gl.push_back(stats.glSeconds);
      figures.draws = stats.draws;
      figures.quads = stats.quads;
    }
    engine_.run("_creator2d.offUpdate(" + std::string(function) + ");");
    return figures;
  }

  // The same frame by hand, on the renderer's own pipeline, sampler and buffers.
  Figures reference() {
    const scene2d::Renderer& r = scene2d::g_renderer;
    std::vector<V2D> vertices(size_t(kSprites) * 4);
    Figures figures;
    double t = 0;
    for (int frame = 0; frame < kWarmUp + kMeasured; ++frame) {
      const double start = threadSeconds();
      t += kFrameMs / 1000;
      const float radians = Motion::degrees(t) * 0.017453292f;
      for (int i = 0; i < kSprites; ++i) {
        const float x = Motion::x(i, t), y = Motion::y(i, t);
        const float c = i % 10 == 0 ? std::cos(radians) : 1,
                    s = i % 10 == 0 ? std::sin(radians) : 0;
        const float cx[4] = {-8, 8, 8, -8}, cy[4] = {8, 8, -8, -8};
        const float u[4] = {0, 1, 1, 0}, v[4] = {0, 0, 1, 1};
        for (int k = 0; k < 4; ++k) {
          vertices[size_t(i) * 4 + k] = {
              x + c * cx[k] - s * cy[k], y + s * cx[k] + c * cy[k], u[k], v[k], 1, 1, 1, 1};
        }
      }
      const double filled = threadSeconds();
      gpu::PassAction action;
      gpu::beginPass(target_, action);
      gpu::updateBuffer(r.vertexBuffer, vertices.data(), vertices.size() * sizeof(V2D));
      // The camera at the origin, zoom 1, no rotation.
      const float mvp[16] = {
          2.0f / kWidth, 0, 0, 0, 0, 2.0f / kHeight, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
      gpu::applyPipeline(r.pipeline);
      gpu::applyUniforms(mvp, sizeof mvp);
      const int perTexture = kSprites / kTextures;
      for (int k = 0; k < kTextures; ++k) {
        gpu::applyBindings(
            {r.vertexBuffer, r.indexBuffer, scene2d::liveTexture(textures_[k])->image, r.sampler});
        gpu::draw(k * perTexture * 6, perTexture * 6, 1);
      }
      gpu::endPass();
      gpu::commit();
      const double done = threadSeconds();
      if (frame < kWarmUp) continue;
      figures.script.push_back(0);
      figures.build.push_back(filled - start);
      figures.gl.push_back(done - filled);
      figures.draws = kTextures;
      figures.quads = kSprites;
    }
    return figures;
  }

 private:
  TalveroEngine engine_;
  gpu::Target target_;
  int32_t textures_[kTextures] = {};
  int32_t scene_ = 0;
  int32_t first_ = 0;
  double clockMs_ = 1000;
};

double total(const Figures& f) {
  return median(f.script) + median(f.build) + median(f.gl);
}

void print(const char* name, const Figures& f) {
  std::printf(
      "%-34s script %6.3f ms  build %6.3f ms  GL %6.3f ms  total %6.3f ms  draws %d  quads %d\n",
      name, median(f.script) * 1e3, median(f.build) * 1e3, median(f.gl) * 1e3, total(f) * 1e3,
      f.draws, f.quads);
}

}  // namespace

int main() {
  if (!toolkit::initToolkit() || !gpu::setup()) {
    std::printf("talvero_2d_bench needs a display with GL 3.3: run it under xvfb-run\n");
    return 1;
  }
  Bench bench;
  const Figures ours = bench.ours("bulk");
  const Figures reference = bench.reference();
  std::printf("2D frame, %d sprites of 16 x 16 on %d textures, %d x %d, medians of %d frames\n",
              kSprites, kTextures, kWidth, kHeight, kMeasured);
  print("ours (bulkSetPositions)", ours);
  print("reference (C++ fill, same draws)", reference);
  const double outsideGL = median(ours.script) + median(ours.build);
  std::printf("total ratio ours / reference: %.2f (goal <= 1.3)\n", total(ours) / total(reference));
  std::printf("ours outside GL calls: %.3f ms (goal < 2 ms)\n", outsideGL * 1e3);
  std::printf("draws per frame: %d for %d texture runs\n", ours.draws, kTextures);
  print("information: setPosition x 10,000", bench.ours("single"));
  bench.interleaveZ();
  const Figures interleaved = bench.ours("bulk");
  std::printf("draws per frame with z interleaved: %d for 100 texture runs\n", interleaved.draws);
  return 0;
}
