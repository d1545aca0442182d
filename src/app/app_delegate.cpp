#include "app/app_delegate.h"

#include "runtime/keyboard_state.h"
#include "runtime/log.h"

namespace talvero {

namespace {

constexpr int kWindowWidth = 960;
constexpr int kWindowHeight = 640;

}  // namespace

AppDelegate::AppDelegate(std::vector<std::string> argv, std::string bundle)
    : engine(std::make_unique<TalveroEngine>()),
      launch_(*engine, std::move(bundle), std::move(argv), executableDirectory()) {
  const LaunchFlags flags = readLaunchFlags(launch_.argv());
  headlessVerify = flags.verify;
  headlessVerifyLauncher = flags.verifyLauncher;
  launch_.containerSize = [this]() -> std::optional<toolkit::Size> {
    if (!container) return std::nullopt;
    return container->bounds().size;
  };
}

void AppDelegate::applicationDidFinishLaunching(toolkit::Application& application) {
  logLine("[TalveroApp] applicationDidFinishLaunching");
  window = std::make_unique<toolkit::Window>(application, "Talvero", kWindowWidth, kWindowHeight);
  container = window->contentView();
  launch_.wireEngine();
  window->present();
  keyMonitor = KeyboardState::installMonitor(*window);
  launch_.runLauncher();
}

int AppDelegate::runVerification() {
  logLine("[TalveroApp] applicationDidFinishLaunching");
  if (headlessVerifyLauncher) {
    logLine("[TalveroApp] --verify-launcher: the launcher self-test is not implemented yet");
  } else {
    logLine("[TalveroApp] --verify: the bundle self-test is not implemented yet");
  }
  return 1;
}

}  // namespace talvero
