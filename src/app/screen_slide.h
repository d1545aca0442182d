#pragma once

#include <memory>

#include "platform/toolkit/view.h"

namespace talvero {

// The router's screen change: `incoming` slides in from `sign` times the container's width
// to its place while `outgoing` slides out to the other side, both over 0.3 s ease-in-ease-
// out under the animation key "routerSlide". `outgoing` keeps its final position and leaves
// its parent when its slide ends. A positive sign brings the new screen in from the right.
void slideScreens(toolkit::View& container, toolkit::View& incoming,
                  const std::shared_ptr<toolkit::View>& outgoing, int sign);

// Drops what is left of a view's slide, such as the held end of a slide out, so that it shows
// at its place again. An unfinished outgoing slide then leaves the view where it is.
void endScreenSlide(toolkit::View& view);

}  // namespace talvero
