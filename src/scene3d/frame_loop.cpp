#include "scene3d/frame_loop.h"

#include <backend/PixelBufferDescriptor.h>
#include <filament/Camera.h>
#include <filament/Fence.h>
#include <filament/View.h>
#include <filament/Viewport.h>
#include <utils/EntityManager.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/gpu/gl_probe.h"
#include "runtime/log.h"
#include "scene3d/engine_state.h"
#include "scene3d/glb/glb_assets.h"
#include "scene3d/materials.h"
#include "scene3d/particles/particles.h"
#include "scene3d/physics/physics_world.h"
#include "scene3d/report.h"
#include "scene3d/scene_struct.h"
#include "scene3d/textures.h"
#include "scene3d/warm_up.h"

namespace talvero::scene3d {

namespace {

constexpr float kLongestFrame = 0.05f;
constexpr double kFieldOfView = 60;
constexpr float kPerspectiveScaleStep = 20;

// One frame's pixels on their way back from the driver. With a handler nobody waits: the
// delivery hands the pixels over and frees the read. Without one, whoever of the waiter and the
// delivery comes last frees it, so pixels that come back late never land in the waiter's buffer.
struct PixelRead {
  static constexpr int kPending = 0;
  static constexpr int kDelivered = 1;
  static constexpr int kAbandoned = 2;
  FramePixels frame;
  FramePixelsHandler onPixels;
  std::atomic<int> state{kPending};
};

void pixelsArrived(void*, size_t, void* user) {
  auto* read = static_cast<PixelRead*>(user);
  if (read->onPixels) {
    read->onPixels(read->frame);
    delete read;
    return;
  }
  if (read->state.exchange(PixelRead::kDelivered) == PixelRead::kAbandoned) delete read;
}

// Asks for the pixels of the viewport drawn in this frame; the driver holds `read` from here on.
void queueRead(filament::Renderer& renderer, const filament::Viewport& viewport, PixelRead* read) {
  read->frame.width = viewport.width;
  read->frame.height = viewport.height;
  const size_t size = size_t(viewport.width) * viewport.height * 4;
  read->frame.rgba.resize(size);
  renderer.readPixels(0, 0, viewport.width, viewport.height,
                      filament::backend::PixelBufferDescriptor(
                          read->frame.rgba.data(), size, filament::backend::PixelDataFormat::RGBA,
                          filament::backend::PixelDataType::UBYTE, &pixelsArrived, read));
}

// Flushes until the read is delivered. The read comes back to the caller when it was; else it is
// abandoned to the driver, which frees it if it ever delivers.
std::unique_ptr<PixelRead> waitForPixels(PixelRead* read) {
  EngineState& s = state();
  for (int attempt = 0; attempt < 100 && read->state.load() == PixelRead::kPending; ++attempt) {
    s.engine->flushAndWait();
  }
  if (read->state.exchange(PixelRead::kAbandoned) == PixelRead::kDelivered) {
    return std::unique_ptr<PixelRead>(read);
  }
  return nullptr;
}

float frameSeconds(int64_t timeMs) {
  EngineState& s = state();
  if (s.lastTime == 0) return 0;
  return static_cast<float>(timeMs - s.lastTime) / 1000.0f;
}

}  // namespace

EngineState& state() {
  static EngineState engineState;
  return engineState;
}

void init() {
  EngineState& s = state();
  if (s.engine) destroyEngine();
  // The renderer ends the process when the display does not open or offers no GLX.
  const gpu::GLProbe& probe = gpu::probeGL();
  if (probe.displayOpens && probe.hasGlx) s.engine = filament::Engine::create();
  s.creationFailed = !s.engine;
  ++s.generation;
  if (!s.engine) {
    logLine("[creator-gl] ERROR: Filament Engine creation failed (GPU/driver unavailable)");
    return;
  }
  // The renderer's post-processing misdraws colours on software rasterizers, and the
  // settings that fix it cost ten times the frame; those draw linear colour without it.
  s.postProcessing = !probe.isSoftware;
  if (probe.isSoftware) logLine("[creator-gl] software rasterizer: post-processing off");
  s.ncm = std::make_unique<utils::NameComponentManager>(utils::EntityManager::get());
  resetReports();
  physicsInit();
}

void destroyEngine() {
  EngineState& s = state();
  if (!s.engine) return;
  physicsShutdown();
  warmCleanup();
  destroySwapChain();
  destroyScenes();
  destroyGlbResources();
  destroyMaterialTables();
  destroyTextureTable();
  s.ncm.reset();
  filament::Engine::destroy(&s.engine);
  s.engine = nullptr;
  s.lastPerspScale = 0;
}

bool hasEngine() {
  return state().engine != nullptr;
}

const char* backendName() {
  // Before the first engine, the default this build would resolve to.
  if (!state().engine) return state().creationFailed ? "none" : "OpenGL (Filament)";
  switch (state().engine->getBackend()) {
    case filament::backend::Backend::OPENGL:
      return "OpenGL (Filament)";
    case filament::backend::Backend::VULKAN:
      return "Vulkan (Filament)";
    default:
      return "Filament";
  }
}

void createSwapChainHeadless(uint32_t width, uint32_t height) {
  EngineState& s = state();
  if (!s.engine) return;
  destroySwapChain();
  s.swapChain = s.engine->createSwapChain(width, height, 0);
  s.swapChainId = ++s.swapChainsMade;
  s.renderer = s.engine->createRenderer();
  s.renderer->setClearOptions({.clearColor = {0, 0, 0, 0}, .clear = true, .discard = true});
}

void destroySwapChain() {
  EngineState& s = state();
  if (!s.engine) return;
  if (s.swapChain) s.engine->destroy(s.swapChain);
  if (s.renderer) s.engine->destroy(s.renderer);
  s.swapChain = nullptr;
  s.renderer = nullptr;
  s.swapChainId = 0;
}

uint64_t swapChainId() {
  return state().swapChainId;
}

bool beginFrame() {
  EngineState& s = state();
  return s.renderer && s.swapChain && s.renderer->beginFrame(s.swapChain, 0);
}

void setUpdateFuncs(UpdateFunction early, UpdateFunction late) {
  state().earlyUpdate = std::move(early);
  state().lateUpdate = std::move(late);
}

namespace {

// The frame of `render`. With `read`, the drawn viewport is read into it before the frame
// ends, and the driver holds it from then on. False when nothing was drawn: `read` stays the
// caller's.
bool runFrame(int64_t timeMs, PixelRead* read) {
  EngineState& s = state();
  if (!s.currentScene) {
    // Nothing moves and nothing is drawn, but the frame begun must still end.
    if (s.renderer) s.renderer->endFrame();
    return false;
  }
  float dt = frameSeconds(timeMs);
  if (dt > kLongestFrame) dt = kLongestFrame;
  s.lastTime = timeMs;
  // An update function may close the scene or replace the engine: the frame ends there, and
  // a replaced engine took its renderer with it.
  const uint64_t generation = s.generation;
  const auto goesOn = [&] { return s.generation == generation && s.currentScene; };
  if (s.earlyUpdate) s.earlyUpdate(dt);
  if (goesOn()) {
    physicsStep(dt);
    physicsSyncForRender();
    applyGlbAnimations(dt);
    updateParticles(dt);
    if (s.lateUpdate) s.lateUpdate(dt);
  }
  // A scene shows nothing until a camera looks at it.
  bool drawn = false;
  if (goesOn() && s.currentScene->camera) {
    s.renderer->render(s.currentScene->view);
    if (read) queueRead(*s.renderer, s.currentScene->view->getViewport(), read);
    drawn = true;
  }
  if (s.generation == generation && s.renderer) s.renderer->endFrame();
  return drawn;
}

}  // namespace

void render(int64_t timeMs) {
  runFrame(timeMs, nullptr);
}

void renderReadingBack(int64_t timeMs, FramePixelsHandler onPixels) {
  auto read = std::make_unique<PixelRead>();
  read->onPixels = std::move(onPixels);
  if (runFrame(timeMs, read.get())) read.release();
}

std::optional<FramePixels> renderAndWaitForPixels(int64_t timeMs) {
  auto read = std::make_unique<PixelRead>();
  if (!runFrame(timeMs, read.get())) return std::nullopt;
  std::unique_ptr<PixelRead> done = waitForPixels(read.release());
  if (!done) {
    logLine("[creator-gl] render: the frame's pixels did not come back");
    return std::nullopt;
  }
  return std::move(done->frame);
}

void render_to_offscreen(int64_t timeMs, uint8_t* rgba) {
  EngineState& s = state();
  if (!s.renderer) return;
  if (!s.currentScene || !s.currentScene->camera) {
    s.renderer->endFrame();
    return;
  }
  if (s.lastTime != 0) applyGlbAnimations(static_cast<float>(timeMs - s.lastTime) / 1000.0f);
  s.lastTime = timeMs;
  s.renderer->render(s.currentScene->view);
  auto* read = new PixelRead;
  queueRead(*s.renderer, s.currentScene->view->getViewport(), read);
  s.renderer->endFrame();
  if (std::unique_ptr<PixelRead> done = waitForPixels(read)) {
    std::memcpy(rgba, done->frame.rgba.data(), done->frame.rgba.size());
  } else {
    logLine("[creator-gl] render_to_offscreen: the frame's pixels did not come back");
  }
}

void setViewport(uint32_t width, uint32_t height) {
  EngineState& s = state();
  s.currentViewportWidth = width;
  s.currentViewportHeight = height;
  SceneStruct* scene = s.currentScene;
  if (!scene || !scene->camera) return;
  scene->view->setViewport({0, 0, width, height});
  const double aspect = height > 0 ? double(width) / height : 1.0;
  scene->camera->setProjection(kFieldOfView, aspect, 0.01, 100, filament::Camera::Fov::VERTICAL);
  const double fov = scene->camera->getFieldOfViewInDegrees(filament::Camera::Fov::VERTICAL);
  const auto scale = static_cast<float>(height / (2 * std::tan(fov / 180 * M_PI * 0.5)));
  if (std::fabs(scale - s.lastPerspScale) < kPerspectiveScaleStep) return;
  s.lastPerspScale = scale;
  setMaterialGlobal3(scale);
}

void setDensityGL(float x, float y) {
  state().densityX = x;
  state().densityY = y;
}

int64_t lastFrameTime() {
  return state().lastTime;
}
uint32_t viewportWidth() {
  return state().currentViewportWidth;
}
uint32_t viewportHeight() {
  return state().currentViewportHeight;
}
float perspectiveScale() {
  return state().lastPerspScale;
}

}  // namespace talvero::scene3d
