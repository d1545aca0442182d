#include <gtest/gtest.h>

#include <set>

#include "runtime/keyboard_state.h"

namespace talvero {
namespace {

TEST(KeyboardState, CodesAreTheX11CodesOfAPcKeyboardEachNameAndCodeOnce) {
  EXPECT_EQ(KeyboardState::codeMap.size(), 62u);
  std::set<std::string_view> names;
  std::set<uint16_t> codes;
  for (const auto& [name, code] : KeyboardState::codeMap) {
    names.insert(name);
    codes.insert(code);
  }
  EXPECT_EQ(names.size(), 62u);
  EXPECT_EQ(codes.size(), 62u);
  const std::pair<const char*, uint16_t> known[] = {
      {"KeyA", 38},      {"Digit0", 19},     {"Escape", 9},     {"ArrowLeft", 113},
      {"ShiftLeft", 50}, {"OptionLeft", 64}, {"MetaLeft", 133}, {"CapsLock", 66},
  };
  for (const auto& [name, code] : known) EXPECT_EQ(KeyboardState::code(name), code) << name;
}

TEST(KeyboardState, DebugSetActsAsKeyEventsAndIgnoresUnknownNames) {
  KeyboardState& keys = KeyboardState::shared();
  keys.debugSet("KeyW", true);
  keys.debugSet("KeyW", true);  // an auto-repeat press
  EXPECT_TRUE(keys.isPressed("KeyW"));
  EXPECT_FALSE(keys.isPressed("KeyS"));
  keys.debugSet("KeyW", false);
  EXPECT_FALSE(keys.isPressed("KeyW"));

  keys.debugSet("Numpad5", true);
  keys.debugSet("", true);
  EXPECT_FALSE(keys.isPressed("Numpad5"));
  keys.keyUp(200);  // a release of a key that was never down
  EXPECT_FALSE(keys.isPressed("KeyW"));
}

TEST(KeyboardState, NamesAreExactSoLowerCaseNamesAreNeverPressed) {
  KeyboardState& keys = KeyboardState::shared();
  keys.keyDown(38);
  EXPECT_TRUE(keys.isPressed("KeyA"));
  EXPECT_FALSE(keys.isPressed("keya"));
  EXPECT_FALSE(keys.isPressed("a"));
  EXPECT_FALSE(keys.isPressed("KeyA "));
  keys.keyUp(38);
}

}  // namespace
}  // namespace talvero
