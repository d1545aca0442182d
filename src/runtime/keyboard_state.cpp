#include "runtime/keyboard_state.h"

namespace talvero {

const std::array<std::pair<std::string_view, uint16_t>, 62> KeyboardState::codeMap{{
    {"KeyA", 38},       {"KeyS", 39},        {"KeyD", 40},         {"KeyF", 41},
    {"KeyH", 43},       {"KeyG", 42},        {"KeyZ", 52},         {"KeyX", 53},
    {"KeyC", 54},       {"KeyV", 55},        {"KeyB", 56},         {"KeyQ", 24},
    {"KeyW", 25},       {"KeyE", 26},        {"KeyR", 27},         {"KeyY", 29},
    {"KeyT", 28},       {"KeyO", 32},        {"KeyU", 30},         {"KeyI", 31},
    {"KeyP", 33},       {"KeyL", 46},        {"KeyJ", 44},         {"KeyK", 45},
    {"KeyN", 57},       {"KeyM", 58},        {"Digit1", 10},       {"Digit2", 11},
    {"Digit3", 12},     {"Digit4", 13},      {"Digit6", 15},       {"Digit5", 14},
    {"Digit9", 18},     {"Digit7", 16},      {"Digit8", 17},       {"Digit0", 19},
    {"Equal", 21},      {"Minus", 20},       {"BracketRight", 35}, {"BracketLeft", 34},
    {"Quote", 48},      {"Semicolon", 47},   {"Backslash", 51},    {"Comma", 59},
    {"Slash", 61},      {"Period", 60},      {"Backquote", 49},    {"Tab", 23},
    {"Space", 65},      {"Enter", 36},       {"Backspace", 22},    {"Escape", 9},
    {"ArrowLeft", 113}, {"ArrowRight", 114}, {"ArrowDown", 116},   {"ArrowUp", 111},
    {"ShiftLeft", 50},  {"ShiftRight", 62},  {"ControlLeft", 37},  {"OptionLeft", 64},
    {"MetaLeft", 133},  {"CapsLock", 66},
}};

KeyboardState& KeyboardState::shared() {
  // Never destroyed: the key monitor may still run while the process exits.
  static auto* state = new KeyboardState();
  return *state;
}

std::optional<uint16_t> KeyboardState::code(std::string_view name) {
  for (const auto& [keyName, keyCode] : codeMap) {
    if (keyName == name) return keyCode;
  }
  return std::nullopt;
}

bool KeyboardState::isPressed(std::string_view name) const {
  const auto keyCode = code(name);
  if (!keyCode) return false;
  std::lock_guard guard(lock_);
  return pressed_.contains(*keyCode);
}

void KeyboardState::debugSet(std::string_view name, bool down) {
  const auto keyCode = code(name);
  if (!keyCode) return;
  if (down) {
    keyDown(*keyCode);
  } else {
    keyUp(*keyCode);
  }
}

void KeyboardState::keyDown(uint16_t keyCode) {
  std::lock_guard guard(lock_);
  pressed_.insert(keyCode);
}

void KeyboardState::keyUp(uint16_t keyCode) {
  std::lock_guard guard(lock_);
  pressed_.erase(keyCode);
}

}  // namespace talvero
