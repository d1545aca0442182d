#include "app/app_delegate.h"

#include "app/headless_verify.h"
#include "runtime/keyboard_state.h"
#include "runtime/log.h"

namespace talvero {

namespace {

constexpr int kWindowWidth = 960;
constexpr int kWindowHeight = 640;
constexpr double kVerifyWidth = 800;
constexpr double kVerifyHeight = 600;

}  // namespace

AppDelegate::AppDelegate(std::vector<std::string> argv, std::string bundle)
    : engine(std::make_unique<TalveroEngine>()),
      host(engine->creatorUI(), engine->animationManager(), engine->creator2dHandler()),
      launch_(*engine, std::move(bundle), std::move(argv), executableDirectory()) {
  const LaunchFlags flags = readLaunchFlags(launch_.argv());
  headlessVerify = flags.verify;
  headlessVerifyLauncher = flags.verifyLauncher;
  launch_.containerSize = [this]() -> std::optional<toolkit::Size> {
    if (!host.container) return std::nullopt;
    return host.container->bounds().size;
  };
}

void AppDelegate::wireEngine() {
  launch_.wireEngine();
  host.wireStore();
  // Pickers and sharing open over this window; its scale factor is the script's pixel ratio.
  engine->creatorUtilsHandler().systemUtilities().mainWindow = [this] { return window.get(); };
}

void AppDelegate::applicationDidFinishLaunching(toolkit::Application& application) {
  logLine("[TalveroApp] applicationDidFinishLaunching");
  window = std::make_unique<toolkit::Window>(application, "Talvero", kWindowWidth, kWindowHeight);
  host.container = window->contentView();
  wireEngine();
  window->setOnResize([this](toolkit::Size) { host.containerResized(); });
  window->present();
  keyMonitor = KeyboardState::installMonitor(*window);
  launch_.runLauncher();
}

int AppDelegate::runVerification() {
  logLine("[TalveroApp] applicationDidFinishLaunching");
  const char* failed = headlessVerifyLauncher ? "[launcher] FAILED" : "[verify] FAILED";
  // No window, but the views are the toolkit's and need a display connection.
  if (!toolkit::initToolkit()) {
    logLine(
        "[TalveroApp] the self-tests build real views and need an X11 display; none could "
        "be opened (try xvfb-run -a)");
    logLine(failed);
    return 1;
  }
  host.container = std::make_shared<toolkit::View>();
  host.container->setFrame({{0, 0}, {kVerifyWidth, kVerifyHeight}});
  // The bundle test renders scenes offscreen only; the launcher test builds their views.
  host.buildsSceneViews = headlessVerifyLauncher;
  wireEngine();
  HeadlessVerify verify(engine->creatorUI(), engine->animationManager(), launch_, host);
  verify.snapshotFolder = snapshotFolder;
  return headlessVerifyLauncher ? verify.verifyLauncher() : verify.verifyBundle();
}

}  // namespace talvero
