#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "app/host_views.h"
#include "engine/engine.h"
#include "platform/toolkit/window.h"

namespace talvero {

// What the UI benchmarks drive: the real engine, whose screens the host shows in a container
// of the given size without a window, as in the self-test modes. The views are GTK widgets,
// so a display is needed all the same: without one the program says so and ends.
struct UIBenchHost {
  UIBenchHost(const char* program, float width, float height) {
    if (!toolkit::initToolkit()) {
      std::fprintf(stderr, "%s needs a display: run it under xvfb-run -a\n", program);
      std::exit(1);
    }
    engine = std::make_unique<TalveroEngine>();
    host = std::make_unique<HostViews>(engine->creatorUI(), engine->animationManager(),
                                       engine->creator2dHandler());
    host->container = std::make_shared<toolkit::View>();
    host->container->setFrame({{0, 0}, {width, height}});
    host->wireStore();
  }

  std::unique_ptr<TalveroEngine> engine;
  std::unique_ptr<HostViews> host;
};

}  // namespace talvero
