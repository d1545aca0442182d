#pragma once

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/window.h"
#include "runtime/engine.h"
#include "ui/ui_store.h"

namespace talvero::testing {

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
