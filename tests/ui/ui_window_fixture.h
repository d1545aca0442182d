#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/window.h"
#include "ui/ui_screen.h"
#include "ui/ui_store.h"

namespace talvero::testing {

// Script helpers: `touchable(name, node, answer)` gives a node whose touch starts, moves, ends
// and clicks are written to `events` as "name start 1 50,60"; its start returns `answer` when
// one is given, else a handler with `onMove` and `onEnd`. `at(left, top, width, height)` is the
// style of an absolutely placed node.
inline constexpr const char* kTouchPrelude = R"JS(
var events = [];
function say(text) { events.push(text); }
function touchable(name, node, answer) {
  node._emitTouchStart = function (id, x, y) {
    say(name + ' start ' + id + ' ' + x + ',' + y);
    if (answer !== undefined) return answer;
    return {
      onMove: function (e) { say(name + ' move ' + e.clientX + ',' + e.clientY); },
      onEnd: function (e) { say(name + ' end ' + e.clientX + ',' + e.clientY); },
    };
  };
  node._emitClick = function (id, x, y) { say(name + ' click ' + id + ' ' + x + ',' + y); };
  return node;
}
function at(left, top, width, height) {
  return { position: 'absolute', left: left, top: top, width: width, height: height };
}
)JS";

// A real engine whose store shows its screens and widgets in a 300 x 300 window, screens at the
// back and widgets above them, with presses played through the window.
class UIWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
  }

  void inWindow(const std::function<void()>& body) {
    toolkit::Application application("org.talvero.UITest");
    application.run([&] {
      {
        toolkit::Window shown(application, "ui", 300, 300);
        window = &shown;
        CreatorUIStore& ui = store();
        ui.setSize(300, 300);
        ui.onScreenOpen = [this](std::shared_ptr<toolkit::View> view) {
          if (screenView) screenView->removeFromSuperview();
          screenView = view;
          window->contentView()->addSubview(view, toolkit::View::Position::Below, nullptr);
        };
        ui.onWidgetOpen = [this](std::shared_ptr<toolkit::View> host) {
          window->contentView()->addSubview(host);
        };
        ui.onWidgetClose = [](std::shared_ptr<toolkit::View> host) { host->removeFromSuperview(); };
        dispatch::pumpFor(0.02);
        engine.run(kTouchPrelude);
        body();
        ui.onScreenOpen = nullptr;
        ui.onWidgetOpen = nullptr;
        ui.onWidgetClose = nullptr;
        screenView.reset();
        window = nullptr;
      }
      application.quit();
    });
  }

  CreatorUIStore& store() { return engine.creatorUI(); }

  // Opens the screen described by a script expression and lays it out in the window.
  void open(const std::string& tree) {
    engine.run("_creatorUI.openScreen(" + tree + ");");
    ASSERT_TRUE(store().currentScreen);
    store().currentScreen->calculateLayout(300, 300);
  }

  void press(double x, double y) { window->injectMouse(toolkit::MouseEventKind::LeftDown, {x, y}); }
  void drag(double x, double y) {
    window->injectMouse(toolkit::MouseEventKind::LeftDragged, {x, y});
  }
  void release(double x, double y) { window->injectMouse(toolkit::MouseEventKind::LeftUp, {x, y}); }
  void tap(double x, double y) {
    press(x, y);
    release(x, y);
  }

  ScriptValue global(const std::string& name) {
    return engine.currentContext().globalObject().get(name);
  }
  // The native node of the script node held by a global variable.
  NodeProtocol* node(const std::string& name) {
    return CreatorUIStore::getNode(scriptNodeId(global(name)));
  }

  // What the scripts wrote to `events` since the last call.
  std::vector<std::string> takeEvents() {
    std::vector<std::string> taken;
    for (const NativeValue& event : global("events").toArray()) taken.push_back(event.asString());
    engine.run("events.length = 0;");
    return taken;
  }

  TalveroEngine engine;
  toolkit::Window* window = nullptr;
  std::shared_ptr<toolkit::View> screenView;
};

using Events = std::vector<std::string>;

}  // namespace talvero::testing
