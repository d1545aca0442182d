#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "platform/toolkit/window.h"

namespace talvero {

// Which keys are down, for scripts that poll them in their frame loop (`inputKey`). Key names
// are the web's key codes, with "OptionLeft" for the left Alt key; the codes are X11
// hardware key codes of a PC keyboard (evdev + 8), so they name a key by its place on the
// keyboard whatever the layout.
class KeyboardState {
 public:
  static KeyboardState& shared();

  static const std::array<std::pair<std::string_view, uint16_t>, 62> codeMap;
  // The code of a name of `codeMap`; names are compared exactly.
  static std::optional<uint16_t> code(std::string_view name);

  // Watches the window's keys; the host keeps the token. Every event goes on to the views.
  static int installMonitor(toolkit::Window& window) {
    return window.addKeyMonitor([](uint16_t keyCode, bool down) {
      if (down) {
        shared().keyDown(keyCode);
      } else {
        shared().keyUp(keyCode);
      }
    });
  }

  // False for a name outside `codeMap`.
  bool isPressed(std::string_view name) const;
  // As a key event would; a name outside `codeMap` does nothing.
  void debugSet(std::string_view name, bool down);

  // Auto-repeat presses find the code already there and change nothing. A key held while
  // the window loses the focus stays down until its release arrives.
  void keyDown(uint16_t keyCode);
  void keyUp(uint16_t keyCode);

 private:
  KeyboardState() = default;

  std::set<uint16_t> pressed_;
  mutable std::mutex lock_;
};

}  // namespace talvero
