// What the script face of the 3D layer costs over Filament driven directly, all in one process
// on one engine, offscreen at 960 × 640:
// - a frame of 1,000 meshes moved by a script update function through `_creator.setPosition`
//   and `setQuaternion`, against the same frame moved by `TransformManager::setTransform` with
//   the same matrices;
// - one `_creator.setPosition` call against a bare JavaScriptCore callback doing the same
//   transform write;
// - the first pixels after `createEngine` of a script-built mesh, against raw Filament from
//   `Engine::create` to the same pixels;
// - the render view in a window, driven by the display's frame clock with its frames read back
//   and shown, against the same frames drawn offscreen one after another with no handoff.
// Needs a display with GLX: run under xvfb-run.

#include <JavaScriptCore/JavaScript.h>
#include <backend/PixelBufferDescriptor.h>
#include <filament/Camera.h>
#include <filament/Engine.h>
#include <filament/IndexBuffer.h>
#include <filament/Material.h>
#include <filament/MaterialInstance.h>
#include <filament/RenderableManager.h>
#include <filament/Renderer.h>
#include <filament/Scene.h>
#include <filament/Skybox.h>
#include <filament/SwapChain.h>
#include <filament/TransformManager.h>
#include <filament/VertexBuffer.h>
#include <filament/View.h>
#include <filament/Viewport.h>
#include <math/mat4.h>
#include <math/quat.h>
#include <utils/EntityManager.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "bench_clock.h"
#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "platform/script/jsc_glue.h"
#include "platform/toolkit/window.h"
#include "runtime/buffers.h"
#include "scene3d/engine_state.h"
#include "scene3d/frame_loop.h"
#include "scene3d/scenes.h"
#include "viewer/creator_gl_view.h"

namespace {

using talvero::bench::median;

using namespace talvero;
using Clock = std::chrono::steady_clock;
using filament::math::float3;
using filament::math::mat3f;
using filament::math::mat4f;
using filament::math::quatf;

constexpr uint32_t kWidth = 960;
constexpr uint32_t kHeight = 640;
constexpr int kMeshes = 1000;
constexpr int kFrames = 60;
constexpr int kCalls = 200000;
constexpr int kFirstFrameRepeats = 5;

double msSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::vector<uint8_t> readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

const std::string kMaterialPath = std::string(TALVERO_BENCH_MATERIALS) + "/unlit_color.filamat";

void beginFrameOrWait() {
  while (!scene3d::beginFrame()) std::this_thread::sleep_for(std::chrono::microseconds(200));
}

// Where mesh i stands and how it turns at time t: the same numbers on both sides.
constexpr const char* kMotion = R"js(
function placeOf(i, t) {
  var a = t + i * 0.01, h = a * 0.5;
  return [(i % 40) * 0.5 - 10, Math.floor(i / 40) * 0.5 - 6, -20 + Math.sin(a),
          0, Math.sin(h), 0, Math.cos(h)];
}
)js";

void placeOf(int i, double t, float out[7]) {
  const double a = t + i * 0.01;
  const double h = a * 0.5;
  const double values[7] = {
      (i % 40) * 0.5 - 10, std::floor(i / 40.0) * 0.5 - 6, -20 + std::sin(a), 0, std::sin(h), 0,
      std::cos(h)};
  for (int k = 0; k < 7; ++k) out[k] = static_cast<float>(values[k]);
}

struct FrameTimes {
  double mainThread = 0;  // to the end of `endFrame`
  double whole = 0;       // to `flushAndWait`
};

FrameTimes timeFrames(int64_t* clockMs) {
  std::vector<double> main, whole;
  for (int frame = 0; frame < kFrames; ++frame) {
    beginFrameOrWait();
    const auto start = Clock::now();
    *clockMs += 16;
    scene3d::render(*clockMs);
    main.push_back(msSince(start));
    scene3d::state().engine->flushAndWait();
    whole.push_back(msSince(start));
  }
  return {median(main), median(whole)};
}

struct FrameFigures {
  FrameTimes script;
  FrameTimes raw;
};

// 1,000 unlit quads in one scene; the script's early update moves them all, then C++ does.
FrameFigures measureFrames(TalveroEngine& engine) {
  const ScriptContext context = engine.currentContext();
  const int64_t buffer =
      Buffers::putBuffer(std::make_shared<const std::vector<uint8_t>>(readFile(kMaterialPath)));
  context.evaluate(std::string(kMotion) + R"js(
_creator.createEngine([]);
var scene = _creator.createScene(), camera = _creator.createEntity();
_creator.attachCameraToAR(scene, camera);
var material = _creator.createMaterial()js" +
                   std::to_string(buffer) + R"js();
_creator.setUniformRgba(material, "baseColor", 0x3366ccff);
var meshes = [], time = 0;
for (var i = 0; i < 1000; i++) {
  var e = _creator.createEntity();
  _creator.setMesh(e, material, new Float32Array([0,0,0, 0.4,0,0, 0.4,0.4,0, 0,0.4,0]),
      new Float32Array([0,0,1, 0,0,1, 0,0,1, 0,0,1]), new Uint16Array([0,1,2, 0,2,3]),
      new Float32Array(8), 0);
  _creator.addEntityToScene(scene, e);
  meshes.push(e);
}
_creator.openScene(scene);
function moveAll(dt) {
  time += dt;
  for (var i = 0; i < meshes.length; i++) {
    var p = placeOf(i, time);
    _creator.setPosition(meshes[i], p[0], p[1], p[2]);
    _creator.setQuaternion(meshes[i], p[3], p[4], p[5], p[6]);
  }
}
)js");
  scene3d::createSwapChainHeadless(kWidth, kHeight);
  scene3d::setViewport(kWidth, kHeight);
  int64_t clockMs = 1000;

  context.evaluate("_creator.setEarlyUpdate(moveAll);");
  timeFrames(&clockMs);  // shaders compiled, caches warm
  FrameFigures figures;
  figures.script = timeFrames(&clockMs);

  // The same motion written straight into the transform manager.
  std::vector<filament::TransformManager::Instance> instances;
  filament::TransformManager& transforms = scene3d::state().engine->getTransformManager();
  const ScriptValue meshes = context.globalObject().get("meshes");
  for (int i = 0; i < kMeshes; ++i) {
    instances.push_back(transforms.getInstance(utils::Entity::import(meshes.at(i).toInt32())));
  }
  double time = 0;
  context.evaluate("_creator.setEarlyUpdate(null);");
  scene3d::setUpdateFuncs(
      [&](float dt) {
        time += dt;
        float p[7];
        for (int i = 0; i < kMeshes; ++i) {
          placeOf(i, time, p);
          mat4f local(mat3f(normalize(quatf{p[6], p[3], p[4], p[5]})));
          local[3] = {p[0], p[1], p[2], 1};
          transforms.setTransform(instances[i], local);
        }
      },
      nullptr);
  timeFrames(&clockMs);
  figures.raw = timeFrames(&clockMs);
  scene3d::setUpdateFuncs(nullptr, nullptr);
  return figures;
}

// The bare callback: four numbers in, the local transform's translation written.
JSValueRef bareSetPosition(JSContextRef ctx, JSObjectRef, JSObjectRef, size_t argc,
                           const JSValueRef argv[], JSValueRef*) {
  if (argc < 4) return JSValueMakeUndefined(ctx);
  const auto entity = static_cast<uint32_t>(JSValueToNumber(ctx, argv[0], nullptr));
  filament::TransformManager& transforms = scene3d::state().engine->getTransformManager();
  const auto instance = transforms.getInstance(utils::Entity::import(static_cast<int>(entity)));
  mat4f local = transforms.getTransform(instance);
  local[3] = {static_cast<float>(JSValueToNumber(ctx, argv[1], nullptr)),
              static_cast<float>(JSValueToNumber(ctx, argv[2], nullptr)),
              static_cast<float>(JSValueToNumber(ctx, argv[3], nullptr)), local[3].w};
  transforms.setTransform(instance, local);
  return JSValueMakeUndefined(ctx);
}

struct CallFigures {
  double creator = 0;
  double bare = 0;
};

CallFigures measureCalls(TalveroEngine& engine) {
  const ScriptContext context = engine.currentContext();
  JSContextRef ctx = context.state()->context;
  JSStringRef name = JSStringCreateWithUTF8CString("setPosition");
  JSObjectRef bare = JSObjectMake(ctx, nullptr, nullptr);
  JSObjectSetProperty(ctx, bare, name, JSObjectMakeFunctionWithCallback(ctx, name, bareSetPosition),
                      kJSPropertyAttributeNone, nullptr);
  JSStringRelease(name);
  context.setGlobal("bare", glue::wrap(ctx, bare));
  context.evaluate(
      "var target = meshes[0];"
      "function callMany(object, n) { for (var i = 0; i < n; i++)"
      " object.setPosition(target, i % 7, 1, 2); }");
  const ScriptValue callMany = context.globalObject().get("callMany");
  const ScriptValue creator = context.globalObject().get("_creator");
  const ScriptValue bareObject = context.globalObject().get("bare");
  const auto nsPerCall = [&](const ScriptValue& object) {
    std::vector<double> runs;
    for (int run = 0; run < 7; ++run) {
      const auto start = Clock::now();
      callMany.call({object, kCalls});
      runs.push_back(msSince(start) * 1e6 / kCalls);
    }
    return median(runs);
  };
  nsPerCall(creator);
  nsPerCall(bareObject);
  CallFigures figures;
  figures.creator = nsPerCall(creator);
  figures.bare = nsPerCall(bareObject);
  return figures;
}

// From `createEngine` in script to the first pixels of one mesh read back.
double scriptFirstFrame(TalveroEngine& engine, int64_t buffer) {
  const auto start = Clock::now();
  engine.currentContext().evaluate(R"js(
_creator.createEngine([]);
var s = _creator.createScene(), c = _creator.createEntity();
_creator.attachCameraToAR(s, c);
var m = _creator.createMaterial()js" +
                                   std::to_string(buffer) + R"js();
var e = _creator.createEntity();
_creator.setMesh(e, m, new Float32Array([-1,-1,-3, 1,-1,-3, 1,1,-3, -1,1,-3]),
    new Float32Array([0,0,1, 0,0,1, 0,0,1, 0,0,1]), new Uint16Array([0,1,2, 0,2,3]),
    new Float32Array(8), 0);
_creator.addEntityToScene(s, e);
_creator.openScene(s);
)js");
  scene3d::createSwapChainHeadless(kWidth, kHeight);
  scene3d::setViewport(kWidth, kHeight);
  std::vector<uint8_t> pixels(size_t(kWidth) * kHeight * 4);
  beginFrameOrWait();
  scene3d::render_to_offscreen(16, pixels.data());
  const double ms = msSince(start);
  scene3d::destroyEngine();
  return ms;
}

// The same first pixels with Filament alone.
double rawFirstFrame(const std::vector<uint8_t>& package) {
  using namespace filament;
  struct Vertex {
    float position[3];
    float tangents[4];
    uint8_t colour[4];
    float uv[2];
  };
  static const Vertex vertices[4] = {{{-1, -1, -3}, {0, 0, 0, 1}, {255, 255, 255, 255}, {0, 0}},
                                     {{1, -1, -3}, {0, 0, 0, 1}, {255, 255, 255, 255}, {1, 0}},
                                     {{1, 1, -3}, {0, 0, 0, 1}, {255, 255, 255, 255}, {1, 1}},
                                     {{-1, 1, -3}, {0, 0, 0, 1}, {255, 255, 255, 255}, {0, 1}}};
  static const uint16_t indices[6] = {0, 1, 2, 0, 2, 3};
  const auto start = Clock::now();
  Engine* engine = Engine::create();
  SwapChain* swapChain = engine->createSwapChain(kWidth, kHeight, 0);
  Renderer* renderer = engine->createRenderer();
  Scene* scene = engine->createScene();
  View* view = engine->createView();
  utils::EntityManager& entities = utils::EntityManager::get();
  const utils::Entity cameraEntity = entities.create();
  Camera* camera = engine->createCamera(cameraEntity);
  camera->setProjection(60, double(kWidth) / kHeight, 0.01, 100, Camera::Fov::VERTICAL);
  Skybox* sky = Skybox::Builder().color({0.1f, 0.25f, 0.57f, 1}).build(*engine);
  scene->setSkybox(sky);
  view->setScene(scene);
  view->setCamera(camera);
  view->setViewport({0, 0, kWidth, kHeight});
  view->setPostProcessingEnabled(false);
  Material* material = Material::Builder().package(package.data(), package.size()).build(*engine);
  MaterialInstance* instance = material->createInstance();
  VertexBuffer* vb = VertexBuffer::Builder()
                         .vertexCount(4)
                         .bufferCount(1)
                         .attribute(VertexAttribute::POSITION, 0,
                                    VertexBuffer::AttributeType::FLOAT3, 0, sizeof(Vertex))
                         .attribute(VertexAttribute::TANGENTS, 0,
                                    VertexBuffer::AttributeType::FLOAT4, 12, sizeof(Vertex))
                         .attribute(VertexAttribute::COLOR, 0, VertexBuffer::AttributeType::UBYTE4,
                                    28, sizeof(Vertex))
                         .normalized(VertexAttribute::COLOR)
                         .attribute(VertexAttribute::UV0, 0, VertexBuffer::AttributeType::FLOAT2,
                                    32, sizeof(Vertex))
                         .build(*engine);
  vb->setBufferAt(*engine, 0, VertexBuffer::BufferDescriptor(vertices, sizeof vertices));
  IndexBuffer* ib = IndexBuffer::Builder()
                        .indexCount(6)
                        .bufferType(IndexBuffer::IndexType::USHORT)
                        .build(*engine);
  ib->setBuffer(*engine, IndexBuffer::BufferDescriptor(indices, sizeof indices));
  const utils::Entity mesh = entities.create();
  RenderableManager::Builder(1)
      .boundingBox({{0, 0, -3}, {1, 1, 0.01f}})
      .geometry(0, RenderableManager::PrimitiveType::TRIANGLES, vb, ib)
      .material(0, instance)
      .build(*engine, mesh);
  scene->addEntity(mesh);
  std::vector<uint8_t> pixels(size_t(kWidth) * kHeight * 4);
  std::atomic<bool> delivered{false};
  while (!renderer->beginFrame(swapChain, 0)) {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  renderer->render(view);
  renderer->readPixels(
      0, 0, kWidth, kHeight,
      backend::PixelBufferDescriptor(
          pixels.data(), pixels.size(), backend::PixelDataFormat::RGBA,
          backend::PixelDataType::UBYTE,
          [](void*, size_t, void* user) { static_cast<std::atomic<bool>*>(user)->store(true); },
          &delivered));
  renderer->endFrame();
  while (!delivered.load()) engine->flushAndWait();
  const double ms = msSince(start);
  engine->destroy(mesh);
  engine->destroy(vb);
  engine->destroy(ib);
  engine->destroy(instance);
  engine->destroy(material);
  engine->destroyCameraComponent(cameraEntity);
  engine->destroy(view);
  engine->destroy(scene);
  engine->destroy(sky);
  engine->destroy(renderer);
  engine->destroy(swapChain);
  Engine::destroy(&engine);
  return ms;
}

// Frames per wall-clock time of the 1,000 moving meshes in the render view, in a window where
// the display's frame clock starts each frame and the pixels go back to the toolkit, against the
// same frames drawn offscreen with no handoff, started on the same 60 Hz grid (the next tick
// after the previous frame, a frame skipped while the driver is behind). Pacing both alike
// leaves the handoff as the difference. The script's early update counts the frames drawn.
struct ViewFigures {
  double offscreen = 0;
  double window = 0;
};

int framesDrawn(const ScriptContext& context) {
  return context.globalObject().get("framesDrawn").toInt32();
}

ViewFigures measureView(TalveroEngine& engine) {
  constexpr int kWarmFrames = 30;
  constexpr int kTimedFrames = 120;
  const ScriptContext context = engine.currentContext();
  context.evaluate(
      "var framesDrawn = 0;"
      "_creator.setEarlyUpdate(function (dt) { framesDrawn++; moveAll(dt); });");
  ViewFigures figures;
  int64_t clockMs = 100000;
  const auto period = std::chrono::microseconds(16667);
  const auto origin = Clock::now();
  const auto offscreenFrames = [&](int count) {
    for (int drawn = 0; drawn < count;) {
      std::this_thread::sleep_until(origin + period * ((Clock::now() - origin) / period + 1));
      if (!scene3d::beginFrame()) continue;
      engine.animationManager().tick();
      clockMs += 16;
      scene3d::render(clockMs);
      ++drawn;
    }
  };
  offscreenFrames(kWarmFrames);
  auto start = Clock::now();
  offscreenFrames(kTimedFrames);
  figures.offscreen = msSince(start) / kTimedFrames;
  scene3d::destroySwapChain();

  toolkit::initToolkit();
  toolkit::Application application("local.talvero.scene3d-bench");
  application.run([&] {
    {
      toolkit::Window window(application, "scene3d bench", kWidth, kHeight);
      auto view = std::make_shared<CreatorGLView>(engine.creatorUI(), engine.animationManager());
      view->setFrame({{0, 0}, {double(kWidth), double(kHeight)}});
      window.contentView()->addSubview(view);
      window.present();
      const int first = framesDrawn(context);
      dispatch::pumpUntil([&] { return framesDrawn(context) >= first + kWarmFrames; }, 120);
      const int from = framesDrawn(context);
      start = Clock::now();
      dispatch::pumpUntil([&] { return framesDrawn(context) >= from + kTimedFrames; }, 240);
      figures.window = msSince(start) / std::max(1, framesDrawn(context) - from);
      view->removeFromSuperview();
    }
    application.quit();
  });
  return figures;
}

struct FirstFrameFigures {
  double script = 0;
  double raw = 0;
};

FirstFrameFigures measureFirstFrame(TalveroEngine& engine) {
  const std::vector<uint8_t> package = readFile(kMaterialPath);
  const int64_t buffer = Buffers::putBuffer(std::make_shared<const std::vector<uint8_t>>(package));
  std::vector<double> script, raw;
  // Alternating, after one of each to load the driver, so neither side pays the process's
  // first start.
  scene3d::destroyEngine();
  scriptFirstFrame(engine, buffer);
  rawFirstFrame(package);
  for (int i = 0; i < kFirstFrameRepeats; ++i) {
    script.push_back(scriptFirstFrame(engine, buffer));
    raw.push_back(rawFirstFrame(package));
  }
  return {median(script), median(raw)};
}

}  // namespace

int main() {
  TalveroEngine engine;
  const FrameFigures frames = measureFrames(engine);
  const CallFigures calls = measureCalls(engine);
  const ViewFigures view = measureView(engine);
  const FirstFrameFigures first = measureFirstFrame(engine);

  std::printf("3D layer against Filament driven directly (offscreen %ux%u, medians)\n", kWidth,
              kHeight);
  std::printf("%-46s %10s %10s %8s %6s\n", "", "_creator", "raw", "ratio", "goal");
  std::printf("%-46s %10.3f %10.3f\n", "1,000 meshes moved, ms to endFrame",
              frames.script.mainThread, frames.raw.mainThread);
  std::printf("%-46s %10.3f %10.3f %8.2f %6.2f\n", "1,000 meshes moved, ms whole frame",
              frames.script.whole, frames.raw.whole, frames.script.whole / frames.raw.whole, 1.10);
  std::printf("%-46s %10.1f %10.1f %8.2f %6.2f\n", "setPosition, ns per call", calls.creator,
              calls.bare, calls.creator / calls.bare, 1.3);
  std::printf("%-46s %10.2f %10.2f %8.2f %6.2f\n", "createEngine to first pixels, ms", first.script,
              first.raw, first.script / first.raw, 1.2);
  std::printf("\n%-46s %10s %10s %8s %6s\n", "", "window", "offscreen", "ratio", "goal");
  std::printf("%-46s %10.2f %10.2f %8.2f %6.2f\n", "render view frame, ms (1,000 moving meshes)",
              view.window, view.offscreen, view.window / view.offscreen, 1.15);
  return 0;
}
