#include <gtest/gtest.h>

#include <set>

#include "runtime/engine.h"
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

TEST(InputKey, ScriptsPollKeysByNameAndAnythingElseIsFalse) {
  TalveroEngine engine;
  std::vector<std::string> records;
  engine.registerCallback("record",
                          [&records](const std::vector<ScriptValue>& args) -> NativeValue {
                            records.push_back(args[0].toString());
                            return {};
                          });
  KeyboardState::shared().debugSet("Space", true);
  engine.run(
      "record([_creatorUtils.inputKey('Space'), _creatorUtils.inputKey('space'),"
      " _creatorUtils.inputKey('KeyA'), _creatorUtils.inputKey(), _creatorUtils.inputKey(65),"
      " _creatorUtils.inputKey(Symbol('Space')),"
      " _creatorUtils.inputKey({ toString: function () { throw new Error('no'); } }),"
      " typeof _creatorUtils.inputKey('Space')].join())");
  KeyboardState::shared().debugSet("Space", false);
  engine.run("record(String(_creatorUtils.inputKey('Space')))");
  EXPECT_EQ(records, (std::vector<std::string>{"true,false,false,false,false,false,false,boolean",
                                               "false"}));
}

}  // namespace
}  // namespace talvero
