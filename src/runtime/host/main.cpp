#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "platform/dispatch/main_queue.h"
#include "platform/dispatch/timer_source.h"
#include "runtime/engine.h"
#include "runtime/host/command_line.h"
#include "runtime/log.h"

namespace {

constexpr double kIdleCheckMs = 10;

}  // namespace

int main(int argc, char** argv) {
  // Logs are the product's interface: one line reaches a pipe as soon as it is written.
  std::setvbuf(stdout, nullptr, _IOLBF, 0);

  const talvero::CommandLine line = talvero::parseCommandLine({argv + 1, argv + argc});
  if (line.help) {
    std::cout << talvero::usage();
    return 0;
  }
  if (line.error) {
    std::cerr << "talvero: " << *line.error << "\n\n" << talvero::usage();
    return 2;
  }
  std::ifstream file(line.script, std::ios::binary);
  std::stringstream source;
  if (!file || !(source << file.rdbuf())) {
    std::cerr << "talvero: cannot read " << line.script << "\n";
    return 2;
  }

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
