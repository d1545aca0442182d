#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/app_launch.h"
#include "app/host_views.h"
#include "engine/engine.h"
#include "platform/toolkit/view.h"
#include "platform/toolkit/window.h"

namespace talvero {

// The host: one window whose content view is the container of every other view, and the
// engine wired to it. Main thread only.
class AppDelegate {
 public:
  AppDelegate(std::vector<std::string> argv, std::string bundle);
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;

  // The window, the engine's wiring, the keyboard monitor, then the launcher. Called once the
  // application is ready; the program then lives on the event loop.
  void applicationDidFinishLaunching(toolkit::Application& application);
  // The self-test modes, which have no window: the process ends with the status returned.
  int runVerification();

  // The host functions and the provenance lines, then the UI store's host slots.
  void wireEngine();

  std::unique_ptr<toolkit::Window> window;
  std::unique_ptr<TalveroEngine> engine;
  HostViews host;  // the container and the views stacked in it
  std::optional<int> keyMonitor;
  bool headlessVerify = false;
  bool headlessVerifyLauncher = false;
  // Where the self-tests write their PNG files.
  std::string snapshotFolder = "/tmp";

 private:
  AppLaunch launch_;
};

}  // namespace talvero
