#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "main_queue_support.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/view.h"
#include "platform/toolkit/window.h"
#include "test_support.h"
#include "ui/ui_store.h"

namespace talvero::testing {

// A size as a node's `measure` packs it: width in the high 32 bits, both as float bits.
struct MeasuredSize {
  float width = 0;
  float height = 0;
};

inline MeasuredSize unpacked(uint64_t packed) {
  return {std::bit_cast<float>(static_cast<uint32_t>(packed >> 32)),
          std::bit_cast<float>(static_cast<uint32_t>(packed & 0xFFFFFFFF))};
}

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
  void settle() {
    drainMainQueue();
    dispatch::pumpFor(0.01);
  }
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

// An engine on a real toolkit whose scripts report through `record(value)`, with helpers to
// open a tree, lay it out and reach its nodes.
class UIEngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
    engine.registerCallback("record", [this](const std::vector<ScriptValue>& args) -> NativeValue {
      records.push_back(args.empty() ? "" : args[0].toString());
      return {};
    });
  }

  UIScreen& screen() { return *engine.creatorUI().currentScreen; }

  // Opens `tree` (a script expression) as the screen, kept in the global `tree`, laid out at
  // 400 by 300.
  void openTree(const std::string& tree) {
    engine.run("var tree = " + tree + "; _creatorUI.openScreen(tree);");
    ASSERT_NE(engine.creatorUI().currentScreen, nullptr);
    screen().calculateLayout(400, 300);
  }

  // The node of a script object reached by an expression over `tree`.
  template <class Node>
  Node& nodeAt(const std::string& expression) {
    engine.run("var __id = " + expression + "._id;");
    const auto id = static_cast<uint64_t>(global("__id").toDouble());
    auto* node = dynamic_cast<Node*>(screen().node(id));
    if (!node) throw std::runtime_error("no such node: " + expression);
    return *node;
  }

  ScriptValue global(const std::string& name) {
    return engine.currentContext().globalObject().get(name);
  }

  bool waitForRecords(size_t count, double seconds = 3) {
    return dispatch::pumpUntil([&] { return records.size() >= count; }, seconds);
  }

  TalveroEngine engine;
  std::vector<std::string> records;
};

}  // namespace talvero::testing
