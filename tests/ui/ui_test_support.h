#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/view.h"
#include "platform/toolkit/window.h"
#include "runtime/engine.h"
#include "test_support.h"
#include "ui/ui_store.h"

namespace talvero::testing {

// An engine whose scripts report through `record(text)`, with a host that shows the current
// screen in an 800x600 container as the desktop host does, minus the slide.
class UITest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "run the tests under xvfb-run";
    engine = std::make_unique<TalveroEngine>();
    engine->registerCallback("record", [this](const std::vector<ScriptValue>& args) {
      records.push_back(args.empty() ? "" : args[0].toString());
      return NativeValue();
    });
    container = std::make_shared<toolkit::View>();
    container->setFrame({{0, 0}, {800, 600}});
    CreatorUIStore& ui = store();
    ui.onScreenOpen = [this](std::shared_ptr<toolkit::View> view) {
      opened.push_back(view);
      transitions.push_back(store().screenTransition);
      store().screenTransition = 0;
      if (shown) shown->removeFromSuperview();
      shown = view;
      view->setFrame(container->bounds());
      container->addSubview(view);
    };
    ui.onScreenClose = [this] { ++closes; };
  }

  CreatorUIStore& store() { return engine->creatorUI(); }
  void run(const std::string& source) { engine->run(source); }
  // Runs every block queued so far (flushes included), then what they queued in turn.
  void settle() { dispatch::pumpFor(0.05); }
  // The host's layout pass of the current screen at the container's size.
  void layout() {
    store().setSize(800, 600);
    if (store().currentScreen) store().currentScreen->calculateLayout(800, 600);
  }
  std::string json(const std::string& expression) {
    return testing::json(engine->currentContext(), expression);
  }
  // The node of a script object held in a global variable.
  NodeProtocol* node(const std::string& global) {
    const ScriptValue value = engine->currentContext().globalObject().get(global);
    return CreatorUIStore::getNode(scriptNodeId(value));
  }

  std::unique_ptr<TalveroEngine> engine;
  std::vector<std::string> records;
  std::shared_ptr<toolkit::View> container;
  std::shared_ptr<toolkit::View> shown;
  std::vector<std::shared_ptr<toolkit::View>> opened;
  std::vector<int> transitions;
  int closes = 0;
};

}  // namespace talvero::testing
