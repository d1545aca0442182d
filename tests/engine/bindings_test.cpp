#include <gtest/gtest.h>

#include <string>

#include "engine/bindings/console_bindings.h"
#include "engine/engine.h"
#include "runtime/keyboard_state.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

// Each script global shows its operations in the order of its table.
class BindingsTest : public ::testing::Test {
 protected:
  std::string keysOf(const std::string& global) {
    return json(engine.currentContext(), "Object.keys(" + global + ").join()");
  }

  TalveroEngine engine;
};

TEST_F(BindingsTest, UtilitiesListTheirOperationsInTheirTableOrder) {
  EXPECT_EQ(keysOf("_creatorUtils"),
            "\"language,platform,pixelRatio,setPreciseTouch,fetch,fetchToJson,fetchToText,"
            "disposeFetch,fetchLocal,fetchSlice,openFilePicker,run,animate,stopAnimation,"
            "pauseAnimation,resumeAnimation,openAppSettings,openUrl,inputKey,websocketOpen,"
            "websocketSend,websocketClose,localStorageSetStorage,localStorageSetValue,"
            "localStorageGetValue,localStorageRemoveValue,shareMedia\"");
}

TEST_F(BindingsTest, UIListsItsOperationsInTheirTableOrder) {
  EXPECT_EQ(keysOf("_creatorUI"),
            "\"openScreen,closeScreen,routerOpen,routerPush,routerReplace,routerPop,routerHide,"
            "routerRestore,showWidget,hideWidget,updateNode,setSourceRect,updateStyle,mergeStyle,"
            "setClass,"
            "registerFont,toast,registerTouchStartEvent,registerTouchEndEvent,"
            "registerResizeEvent,getDisplaySize,isButtonPressed,getTextValue,insertNode,"
            "removeNode,setContent,animateFrom,animateTo,setComfortInset,vlistSetKeys,"
            "vlistInsertKeys,vlistRemoveKeys,vlistInvalidate,vlistMount,command\"");
}

TEST_F(BindingsTest, GlobalsComeInTheirOrderWithTheCanvasRows) {
  // `console` is a built-in global of the engine's, so it does not enumerate.
  EXPECT_EQ(json(engine.currentContext(),
                 "Object.keys(globalThis).filter(function (k) {"
                 " return /^(_creator|set|clear)/.test(k); }).join()"),
            "\"_creator,_creator2d,_creatorUI,_creatorUtils,_creatorCanvas,setTimeout,setInterval,"
            "setLoop,clearTimeout,clearInterval,clearLoop\"");
  EXPECT_EQ(keysOf("_creatorCanvas"),
            "\"rasterize,measureText,snapshot,loadImage,toFile,destroySurface\"");
  EXPECT_EQ(keysOf("console"), "\"log,info,error\"");
}

TEST_F(BindingsTest, InputKeyPollsKeysByNameAndAnythingElseIsFalse) {
  const ScriptContext context = engine.currentContext();
  KeyboardState::shared().debugSet("Space", true);
  EXPECT_EQ(json(context,
                 "[_creatorUtils.inputKey('Space'), _creatorUtils.inputKey('space'),"
                 " _creatorUtils.inputKey('KeyA'), _creatorUtils.inputKey(),"
                 " _creatorUtils.inputKey(65), _creatorUtils.inputKey(Symbol('Space')),"
                 " _creatorUtils.inputKey({ toString: function () { throw new Error('no'); } }),"
                 " typeof _creatorUtils.inputKey('Space')].join()"),
            "\"true,false,false,false,false,false,false,boolean\"");
  KeyboardState::shared().debugSet("Space", false);
  EXPECT_EQ(json(context, "_creatorUtils.inputKey('Space')"), "false");
}

TEST(ConsoleBindings, PrintOnlyTheFirstArgumentOfEachCall) {
  ScriptContext context = ScriptContext::create();
  ConsoleHandler console;
  console.install(context);
  ::testing::internal::CaptureStdout();
  context.evaluate("console.log('a', 'b'); console.info({}); console.error(3.5); console.log();");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "a\n[object Object]\n3.5\nundefined\n");
}

}  // namespace
}  // namespace talvero
