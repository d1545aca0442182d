#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/toolkit/snapshot.h"

namespace talvero {

class AnimationManager;
class AppLaunch;
class Creator2DHandler;
class CreatorUIStore;
class HostViews;

// The pixels that stand out from the first one, which is taken as the background: those whose
// red, green and blue differ from it by 41 or more in sum, on the 0 to 255 scale.
size_t countDifferingPixels(const toolkit::Bitmap& bitmap);
// More than one pixel in 500 stands out: a flat picture of any colour is empty.
bool hasContent(const toolkit::Bitmap& bitmap);

// Renders the open 3D scene offscreen at `width` × `height` pixels: 8 frames to settle, one read
// back, 6 more after it, each frame ticking `animations` and moving the frame loop's clock on by
// 16 ms. Writes the picture read, upright, to `pngPath` and gives the count of its pixels that
// differ from the first. Leaves its own swap chain in place; a scene view on screen makes its own
// again at its next frame.
size_t renderCurrentSceneHeadless(AnimationManager& animations, uint32_t width, uint32_t height,
                                  const std::string& pngPath);

struct Headless2dRender {
  size_t count = 0;  // pixels that differ from the first
  double comY = 0;   // their mean row index, row 0 the top; 0 with none
};
// Renders the open 2D scene at `width` × `height` pixels into a target of its own, at density
// 1: `frames` frames (at least one), each moving a clock of the process on by 16 ms and running
// the script's updates with 0.016 s, `animations`' tick and the 2D frame. Reads the last frame
// back after 0.15 s and writes it to `pngPath`. Nothing is counted without a GL device.
Headless2dRender render2dHeadless(Creator2DHandler& handler, AnimationManager& animations,
                                  int width, int height, int frames, const std::string& pngPath);

// The self-test modes: they drive the real engine and scripts through the UI store's test
// hooks in a container without a window, write PNG files, log one line per check and give
// the process's exit status. Main thread only; the main loop is pumped by hand.
class HeadlessVerify {
 public:
  // The host's container exists and the engine is wired.
  HeadlessVerify(CreatorUIStore& store, AnimationManager& animations, AppLaunch& launch,
                 HostViews& host);

  // "--verify": "bundle.js", its screen typed into, clicked, routed, dismissed and dragged, its 3D
  // scene rendered, dragged through and rendered again. 0 or 1.
  int verifyBundle();
  // "--verify-launcher": the launcher's first screen, its first button, the keyboard. 0 or 1.
  int verifyLauncher();

  // Runs the main loop in slices of at most 0.02 s until `seconds` have passed.
  void pumpRunLoop(double seconds);
  // Renders the container to a PNG; whether the picture has content. False without a container.
  bool snapshotUI(const std::string& path);
  // Renders the container to a PNG, whatever it shows.
  void snapshotLayer(const std::string& path);

  // Where the PNG files go.
  std::string snapshotFolder = "/tmp";

 private:
  std::string snapshotPath(const std::string& name) const;
  // Layout, a fifth of a second of the loop for queued work and slides, layout again.
  void settle(double seconds = 0.2);
  // The bundle's screen through its steps; the first picture and the typed text count for the
  // result.
  bool driveScreen();
  // The first scrollable of the screen scrolled to 200; it must have gone past 50. True
  // without one.
  bool scrollStep();
  // The open 3D scene rendered at 800 × 600, dragged over and rendered again; the first render
  // must have content.
  bool sceneStep();
  // The open 2D scene after half a second: one frame with content, then 90 more in which what
  // stands out has moved down by more than 10 rows.
  bool scene2dStep();
  bool keyboardTest();

  CreatorUIStore& store_;
  AnimationManager& animations_;
  AppLaunch& launch_;
  HostViews& host_;
};

}  // namespace talvero
