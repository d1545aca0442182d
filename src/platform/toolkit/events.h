#pragma once

#include <cstdint>
#include <functional>

#include "platform/toolkit/geometry.h"

namespace talvero::toolkit {

class Window;

enum class MouseEventKind { LeftDown, LeftDragged, LeftUp };

// A left-button event as the application sees it, at a point of the window's content
// (top-left origin).
struct MouseEvent {
  MouseEventKind kind = MouseEventKind::LeftDown;
  Point locationInWindow;
  Window* window = nullptr;
};

// Sees every left-button press, drag and release of every window before any view does.
// Returning false swallows the event: no view and no later monitor gets it. Monitors run
// in the order they were added. Returns a token for `removeMouseMonitor`.
int addMouseMonitor(std::function<bool(const MouseEvent&)> monitor);
void removeMouseMonitor(int token);

// Bit 0 is set while the left button is down.
uint32_t pressedMouseButtons();

}  // namespace talvero::toolkit
