#include "app/headless_verify.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>

#include "app/app_launch.h"
#include "app/host_views.h"
#include "engine/bindings/creator2d_bindings.h"
#include "platform/dispatch/main_queue.h"
#include "platform/gpu/gfx.h"
#include "runtime/animation_manager.h"
#include "runtime/keyboard_state.h"
#include "runtime/log.h"
#include "scene2d/scene2d.h"
#include "scene3d/frame_loop.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

constexpr int kDifferenceThreshold = 41;
constexpr size_t kContentShare = 500;
constexpr double kPumpSlice = 0.02;
constexpr double kLaunchTimeout = 12;
constexpr double kLaunchPoll = 0.1;
constexpr double kLauncherSettle = 2.5;
constexpr double kPlaygroundSettle = 0.5;
constexpr uint32_t kSceneWidth = 800;
constexpr uint32_t kSceneHeight = 600;
constexpr size_t kSceneMinimumContent = 2401;
constexpr int kWarmUpFrames = 8;
constexpr int kFramesAfterRead = 6;
constexpr int kFrameTries = 200;
constexpr auto kFrameRetry = std::chrono::milliseconds(8);
constexpr int64_t kFrameStepMs = 16;
constexpr double kAfterRenderWait = 0.2;
constexpr double k2dFrameStepMs = 16;
constexpr double k2dFrameDt = 0.016;
constexpr auto k2dReadWait = std::chrono::milliseconds(150);
constexpr double k2dSettle = 0.5;
constexpr int k2dSettledFrames = 90;
constexpr size_t k2dFirstMinimumContent = 961;
constexpr int k2dFallMinimum = 10;

void logResult(bool ok, const std::string& rendered, const std::string& empty) {
  logLine(ok ? rendered : empty);
}

std::string word(bool value) {
  return value ? "true" : "false";
}

// The shortest text that reads back as the same number: "200", "12.5".
std::string numberText(double value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return std::string(text, end);
}

}  // namespace

size_t countDifferingPixels(const toolkit::Bitmap& bitmap) {
  if (bitmap.width <= 0 || bitmap.height <= 0) return 0;
  const uint8_t* first = bitmap.pixel(0, 0);
  size_t count = 0;
  for (size_t i = 0; i + 3 < bitmap.rgba.size(); i += 4) {
    const int difference = std::abs(bitmap.rgba[i] - first[0]) +
                           std::abs(bitmap.rgba[i + 1] - first[1]) +
                           std::abs(bitmap.rgba[i + 2] - first[2]);
    if (difference >= kDifferenceThreshold) ++count;
  }
  return count;
}

bool hasContent(const toolkit::Bitmap& bitmap) {
  const size_t pixels = static_cast<size_t>(std::max(0, bitmap.width)) *
                        static_cast<size_t>(std::max(0, bitmap.height));
  return countDifferingPixels(bitmap) * kContentShare > pixels;
}

size_t renderCurrentSceneHeadless(AnimationManager& animations, uint32_t width, uint32_t height,
                                  const std::string& pngPath) {
  scene3d::createSwapChainHeadless(width, height);
  scene3d::setViewport(width, height);
  scene3d::setDensityGL(1, 1);
  // From the loop's own clock, so that no frame steps back in time.
  int64_t time = scene3d::lastFrameTime();
  // A try whose frame the renderer skips while the GPU catches up waits a little and counts.
  const auto drawFrames = [&](int wanted) {
    int drawn = 0;
    for (int attempt = 0; attempt < kFrameTries && drawn < wanted; ++attempt) {
      std::this_thread::sleep_for(kFrameRetry);
      if (!scene3d::beginFrame()) continue;
      animations.tick();
      scene3d::render(time += kFrameStepMs);
      ++drawn;
    }
  };
  drawFrames(kWarmUpFrames);
  toolkit::Bitmap bitmap{static_cast<int>(width), static_cast<int>(height),
                         std::vector<uint8_t>(size_t(width) * height * 4, 0)};
  for (int attempt = 0; attempt < kFrameTries; ++attempt) {
    std::this_thread::sleep_for(kFrameRetry);
    if (!scene3d::beginFrame()) continue;
    scene3d::render_to_offscreen(time += kFrameStepMs, bitmap.rgba.data());
    break;
  }
  drawFrames(kFramesAfterRead);
  // Work the frames queued on the main queue goes on meanwhile.
  dispatch::pumpFor(kAfterRenderWait);
  const size_t count = countDifferingPixels(bitmap);
  // The renderer gives its rows top first already: the picture is written as it came.
  if (!toolkit::writePng(bitmap, pngPath)) logLine("[TalveroApp] could not write " + pngPath);
  return count;
}

Headless2dRender render2dHeadless(Creator2DHandler& handler, AnimationManager& animations,
                                  int width, int height, int frames, const std::string& pngPath) {
  // One clock for every call of the process, so that no frame steps back in time.
  static double clockMs = 0;
  const gpu::Target target = gpu::makeTarget(width, height, "creator2d-headless");
  c2dSetViewport(width, height);
  c2dSetDensity(1);
  for (int frame = 0; frame < std::max(frames, 1); ++frame) {
    clockMs += k2dFrameStepMs;
    handler.runUpdates(k2dFrameDt);
    animations.tick();
    c2dRenderGL(target, clockMs);
  }
  std::this_thread::sleep_for(k2dReadWait);
  toolkit::Bitmap bitmap{width, height, gpu::readTarget(target)};
  gpu::destroy(target);
  Headless2dRender result;
  if (bitmap.rgba.size() != size_t(width) * size_t(height) * 4) {
    logLine("[verify] 2D frame could not be read back: no GL device");
    return result;
  }
  const uint8_t* first = bitmap.pixel(0, 0);
  double rowSum = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const uint8_t* pixel = bitmap.pixel(x, y);
      const int difference = std::abs(pixel[0] - first[0]) + std::abs(pixel[1] - first[1]) +
                             std::abs(pixel[2] - first[2]);
      if (difference < kDifferenceThreshold) continue;
      ++result.count;
      rowSum += y;
    }
  }
  result.comY = result.count ? rowSum / double(result.count) : 0;
  if (!toolkit::writePng(bitmap, pngPath)) logLine("[TalveroApp] could not write " + pngPath);
  return result;
}

HeadlessVerify::HeadlessVerify(CreatorUIStore& store, AnimationManager& animations,
                               AppLaunch& launch, HostViews& host)
    : store_(store), animations_(animations), launch_(launch), host_(host) {}

void HeadlessVerify::pumpRunLoop(double seconds) {
  const auto end =
      std::chrono::steady_clock::now() + std::chrono::duration<double>(std::max(0.0, seconds));
  for (;;) {
    const double left =
        std::chrono::duration<double>(end - std::chrono::steady_clock::now()).count();
    if (left <= 0) break;
    dispatch::pumpFor(std::min(kPumpSlice, left));
  }
}

bool HeadlessVerify::snapshotUI(const std::string& path) {
  if (!host_.container) return false;
  const toolkit::Bitmap bitmap = toolkit::renderView(*host_.container);
  if (!toolkit::writePng(bitmap, path)) logLine("[TalveroApp] could not write " + path);
  return hasContent(bitmap);
}

void HeadlessVerify::snapshotLayer(const std::string& path) {
  if (!host_.container) return;
  if (!toolkit::writePng(toolkit::renderView(*host_.container), path)) {
    logLine("[TalveroApp] could not write " + path);
  }
}

std::string HeadlessVerify::snapshotPath(const std::string& name) const {
  return snapshotFolder + "/" + name;
}

void HeadlessVerify::settle(double seconds) {
  host_.layoutScreen();
  pumpRunLoop(seconds);
  host_.layoutScreen();
}

bool HeadlessVerify::driveScreen() {
  settle();
  const bool rendered = snapshotUI(snapshotPath("talvero-app-ui.png"));
  logResult(rendered, "[verify] UI screen rendered", "[verify] UI snapshot empty");

  // A screen without an input passes the typing step.
  bool typed = true;
  if (const std::optional<std::string> text = store_.debugTypeFirstInput("macOS")) {
    logLine("[verify] typed into input; getTextValue -> \"" + *text + "\"");
    typed = *text == "macOS";
    settle();
    logResult(snapshotUI(snapshotPath("talvero-app-ui-typed.png")),
              "[verify] post-type UI rendered", "[verify] post-type UI empty");
  }

  const bool scrolled = scrollStep();

  if (store_.debugClickFirstButton()) {
    logLine("[verify] clicked first button");
    settle();
    if (store_.currentScreen) {
      logResult(snapshotUI(snapshotPath("talvero-app-ui-after.png")),
                "[verify] post-click UI rendered", "[verify] post-click UI empty");
    }
    if (store_.navStack.size() >= 2) {
      logLine("[verify] router pushed; depth " + std::to_string(store_.navStack.size()));
      if (store_.debugClickFirstButton()) {
        settle();
        logLine("[verify] router popped; depth " + std::to_string(store_.navStack.size()));
        snapshotUI(snapshotPath("talvero-app-ui-popped.png"));
      }
    }
    if (store_.debugDismissFirstWidget()) {
      logLine("[verify] dismissed widget via overlay tap");
      settle();
      snapshotUI(snapshotPath("talvero-app-ui-dismissed.png"));
    }
  }

  if (store_.debugScreenDrag(190, 190, 470, 360)) {
    logLine("[verify] screen drag tracked (track -> onMove/onEnd)");
    settle();
    logResult(snapshotUI(snapshotPath("talvero-app-ui-dragged.png")),
              "[verify] post-drag UI rendered", "[verify] post-drag UI empty");
  }
  return rendered && typed && scrolled;
}

bool HeadlessVerify::sceneStep() {
  const size_t count = renderCurrentSceneHeadless(animations_, kSceneWidth, kSceneHeight,
                                                  snapshotPath("talvero-app-render.png"));
  logLine("[verify] 3D scene non-background pixels: " + std::to_string(count));
  logResult(store_.debugDragGL(200, 320, 660, 230), "[verify] drag tracked (touchstart -> track)",
            "[verify] drag not tracked");
  const size_t afterDrag = renderCurrentSceneHeadless(
      animations_, kSceneWidth, kSceneHeight, snapshotPath("talvero-app-render-after-drag.png"));
  logLine("[verify] post-drag 3D non-background pixels: " + std::to_string(afterDrag));
  return count >= kSceneMinimumContent;
}

bool HeadlessVerify::scene2dStep() {
  pumpRunLoop(k2dSettle);
  Creator2DHandler& handler = host_.creator2d();
  const Headless2dRender first = render2dHeadless(handler, animations_, kSceneWidth, kSceneHeight,
                                                  1, snapshotPath("talvero-app-2d-first.png"));
  logLine("[verify] 2D first-frame non-background pixels: " + std::to_string(first.count));
  const Headless2dRender settled =
      render2dHeadless(handler, animations_, kSceneWidth, kSceneHeight, k2dSettledFrames,
                       snapshotPath("talvero-app-2d-settled.png"));
  logLine("[verify] 2D settled non-background pixels: " + std::to_string(settled.count) +
          ", comY " + std::to_string(int64_t(first.comY)) + " -> " +
          std::to_string(int64_t(settled.comY)));
  return first.count >= k2dFirstMinimumContent && settled.count >= 1 &&
         first.comY + k2dFallMinimum < settled.comY;
}

bool HeadlessVerify::scrollStep() {
  const std::optional<double> offset = store_.debugScrollFirst(200);
  if (!offset) return true;
  logLine("[verify] scrolled list; offset -> " + numberText(*offset));
  settle();
  logResult(snapshotUI(snapshotPath("talvero-app-ui-scrolled.png")),
            "[verify] post-scroll UI rendered", "[verify] post-scroll UI empty");
  return *offset > 50;
}

int HeadlessVerify::verifyBundle() {
  launch_.runBundle();
  bool ok = true;
  if (store_.currentScreen) ok = driveScreen();
  if (host_.sceneOpened) ok = sceneStep() && ok;
  if (host_.scene2dOpened) ok = scene2dStep() && ok;
  // Media transport is checked once media players exist; with none there is no line.
  logLine(ok ? "[verify] OK" : "[verify] FAILED");
  return ok ? 0 : 1;
}

int HeadlessVerify::verifyLauncher() {
  launch_.runLauncher();
  for (double waited = 0; waited < kLaunchTimeout; waited += kLaunchPoll) {
    if (host_.sceneOpened || store_.currentScreen) break;
    pumpRunLoop(kLaunchPoll);
  }

  bool ok = false;
  if (store_.currentScreen) {
    settle(kLauncherSettle);
    ok = snapshotUI(snapshotPath("talvero-launcher.png"));
    logResult(ok, "[launcher] UI rendered", "[launcher] UI empty");
    if (launch_.launchArgument().empty() && store_.debugClickFirstButton()) {
      settle(kPlaygroundSettle);
      if (host_.sceneOpened) {
        logLine("[launcher] playground opened: 3D (Bullet)");
      } else if (host_.scene2dOpened) {
        logLine("[launcher] playground opened: 2D (Box2D)");
      } else {
        logLine("[launcher] playground did not open a scene");
        ok = false;
      }
    }
  } else if (host_.sceneOpened) {
    const size_t count = renderCurrentSceneHeadless(animations_, kSceneWidth, kSceneHeight,
                                                    snapshotPath("talvero-launcher.png"));
    logLine("[launcher] 3D non-background pixels: " + std::to_string(count));
    ok = count >= kSceneMinimumContent;
  } else {
    logLine("[launcher] nothing launched within timeout");
  }

  ok = keyboardTest() && ok;
  snapshotLayer(snapshotPath("talvero-launcher-layer.png"));
  logLine(ok ? "[launcher] OK" : "[launcher] FAILED");
  return ok ? 0 : 1;
}

bool HeadlessVerify::keyboardTest() {
  KeyboardState& keys = KeyboardState::shared();
  keys.debugSet("KeyA", true);
  const bool aDown = keys.isPressed("KeyA");
  const bool dDown = keys.isPressed("KeyD");
  keys.debugSet("KeyA", false);
  const bool aUp = keys.isPressed("KeyA");
  const bool passed = aDown && !dDown && !aUp;
  logLine("[launcher] inputKey: A-down=" + word(aDown) + " D-down=" + word(dDown) +
          " A-up=" + word(aUp) + " -> " + (passed ? "OK" : "FAIL"));
  return passed;
}

}  // namespace talvero
