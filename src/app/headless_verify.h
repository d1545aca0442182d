#pragma once

#include <cstddef>
#include <string>

#include "platform/toolkit/snapshot.h"

namespace talvero {

class AppLaunch;
class CreatorUIStore;
class HostViews;

// The pixels that stand out from the first one, which is taken as the background: those whose
// red, green and blue differ from it by 41 or more in sum, on the 0 to 255 scale.
size_t countDifferingPixels(const toolkit::Bitmap& bitmap);
// More than one pixel in 500 stands out: a flat picture of any colour is empty.
bool hasContent(const toolkit::Bitmap& bitmap);

// The self-test modes: they drive the real engine and scripts through the UI store's test
// hooks in a container without a window, write PNG files, log one line per check and give
// the process's exit status. Main thread only; the main loop is pumped by hand.
class HeadlessVerify {
 public:
  // The host's container exists and the engine is wired.
  HeadlessVerify(CreatorUIStore& store, AppLaunch& launch, HostViews& host);

  // "--verify": "bundle.js", its screen typed into, clicked, routed, dismissed and dragged.
  // 0 or 1.
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
  bool keyboardTest();

  CreatorUIStore& store_;
  AppLaunch& launch_;
  HostViews& host_;
};

}  // namespace talvero
