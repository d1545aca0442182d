#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "app/app_delegate.h"
#include "app/command_line.h"
#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "platform/dispatch/timer_source.h"
#include "platform/toolkit/window.h"
#include "runtime/log.h"

#ifndef TALVERO_APP_BUNDLE_DIR
#define TALVERO_APP_BUNDLE_DIR "/usr/local/share/talvero/TalveroSDK_TalveroApp.bundle"
#endif

namespace {

constexpr double kIdleCheckMs = 10;

// One script in a fresh context, without window or launcher.
int runScript(const talvero::CommandLine& line) {
  std::ifstream file(line.script, std::ios::binary);
  std::stringstream source;
  if (!file || !(source << file.rdbuf())) {
    std::cerr << "talvero: cannot read " << line.script << "\n";
    return 2;
  }

  // A display is optional here: without one the UI tree says so and shows nothing.
  talvero::toolkit::initToolkit();
  auto engine = std::make_unique<talvero::TalveroEngine>();
  talvero::dispatch::TimerSource idleCheck;
  if (line.exitWhenIdle) {
    idleCheck = talvero::dispatch::TimerSource(kIdleCheckMs, kIdleCheckMs, [&engine] {
      if (!engine->hasPendingWork() && talvero::dispatch::pendingCount() == 0) {
        talvero::dispatch::quitMainLoop();
      }
    });
  }
  engine->run(source.str(), line.script);
  talvero::dispatch::runMainLoop();
  idleCheck.cancel();
  engine.reset();
  std::fflush(stdout);
  return 0;
}

int runHost(const talvero::CommandLine& line) {
  const std::string bundle = talvero::resolveAppBundle(line.bundle, talvero::executableDirectory(),
                                                       TALVERO_APP_BUNDLE_DIR);
  // Never destroyed: closing the window ends the process, and timers, sockets and script
  // contexts end with it rather than being torn down one by one.
  auto* delegate = new talvero::AppDelegate(line.argv, bundle);
  if (delegate->headlessVerify || delegate->headlessVerifyLauncher) {
    const int status = delegate->runVerification();
    std::fflush(stdout);
    std::_Exit(status);
  }
  if (!talvero::toolkit::initToolkit()) {
    std::cerr << "talvero: no display could be opened; the host needs an X11 display "
                 "(scripts run without one through --run FILE.js)\n";
    return 1;
  }
  auto* application = new talvero::toolkit::Application("local.talvero.Talvero");
  const int status = application->run(
      [delegate, application] { delegate->applicationDidFinishLaunching(*application); });
  std::fflush(stdout);
  std::_Exit(status);
}

}  // namespace

int main(int argc, char** argv) {
  // Logs are the product's interface: one line reaches a pipe as soon as it is written.
  std::setvbuf(stdout, nullptr, _IOLBF, 0);

  const talvero::CommandLine line = talvero::parseCommandLine({argv, argv + argc});
  if (line.help) {
    std::cout << talvero::usage();
    return 0;
  }
  if (line.error) {
    std::cerr << "talvero: " << *line.error << "\n\n" << talvero::usage();
    return 2;
  }
  if (line.mode == talvero::RunMode::Script) return runScript(line);
  return runHost(line);
}
