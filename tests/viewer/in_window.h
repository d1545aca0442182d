#pragma once

#include <functional>
#include <memory>

#include "platform/toolkit/window.h"

namespace talvero::testing {

// Runs `body` inside the application's loop with `view` filling a 240 × 160 window on screen;
// the window closes and the loop ends after it.
inline void inWindow(const std::shared_ptr<toolkit::View>& view,
                     const std::function<void(toolkit::Window&)>& body) {
  toolkit::Application application("local.talvero.scene-view-test");
  application.run([&] {
    {
      toolkit::Window window(application, "scene view", 240, 160);
      view->setFrame({{0, 0}, {240, 160}});
      window.contentView()->addSubview(view);
      window.present();
      body(window);
    }
    application.quit();
  });
}

}  // namespace talvero::testing
