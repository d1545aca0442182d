// What the view side of the UI tree costs over the style core alone. One script description of
// a 2,000-node screen (texts, buttons, nested containers, six style strings each) is opened
// through `_creatorUI.openScreen` and timed until its views carry their first frames; then one
// style changes on 500 of its nodes in one script turn and the flush that applies it is timed.
// The same tree, built and restyled with the style core directly, is the reference.
// Needs a display: run under xvfb-run.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/host_views.h"
#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/window.h"
#include "style_core/style_core.h"
#include "ui/ui_store.h"
#include "ui_bench_host.h"

namespace {

using namespace talvero;
using Clock = std::chrono::steady_clock;

constexpr int kNodes = 2000;
constexpr int kEveryNthChanges = 4;  // 500 of the 2,000 nodes
constexpr int kRepeats = 7;
constexpr float kWidth = 800;
constexpr float kHeight = 600;

// The description, built in the script: cards of a title, a row of buttons with labels and a
// nested box of texts, until the budget of nodes is spent. `order` lists every node depth first,
// the order in which the native tree is built.
constexpr const char* kDescription = R"js(
var budget = 2000;
var styles = {
  screen: {flexDirection: "row", flexWrap: "wrap", padding: "4px", backgroundColor: "#15171d",
           borderWidth: "0px", gap: "2px"},
  box: {flexDirection: "column", padding: "4px", margin: "2px", backgroundColor: "#2a3140",
        borderWidth: "1px", borderRadius: "6px"},
  row: {flexDirection: "row", padding: "2px", margin: "2px", backgroundColor: "#232833",
        borderWidth: "1px", borderRadius: "4px"},
  button: {paddingHorizontal: "8px", paddingVertical: "4px", margin: "2px",
           backgroundColor: "#3a6ee8", borderRadius: "4px", opacity: "0.9"},
  text: {fontSize: "12px", color: "#f0f0f0", margin: "1px", flexShrink: "1", opacity: "1",
         borderColor: "#000000"},
};
function copy(style) { var out = {}; for (var k in style) out[k] = style[k]; return out; }
function node(type, kind, extra) {
  budget--;
  var made = {type: type, _style: copy(styles[kind]), children: []};
  if (extra) for (var k in extra) made[k] = extra[k];
  return made;
}
function add(parent, child) { if (child) parent.children.push(child); return child; }
function text(label) { return budget > 0 ? node("text", "text", {_text: label}) : null; }
function button(label) {
  if (budget < 2) return null;
  var b = node("button", "button");
  add(b, text(label));
  return b;
}
function card(n) {
  if (budget <= 0) return null;
  var c = node("", "box");
  add(c, text("Card " + n));
  if (budget > 0) {
    var row = add(c, node("", "row"));
    for (var i = 0; i < 3; i++) add(row, button("Action " + i));
  }
  if (budget > 0) {
    var outer = add(c, node("", "box"));
    if (budget > 0) {
      var inner = add(outer, node("", "box"));
      add(inner, text("Detail line one of card " + n));
      add(inner, text("Detail line two"));
    }
  }
  return c;
}
var root = node("screen", "screen");
for (var n = 0; budget > 0; n++) add(root, card(n));
var order = [];
(function walk(d) { order.push(d); d.children.forEach(walk); })(root);
)js";

// A node of the description, read once from the script so that the reference pays nothing for
// reading script values.
struct NodeOutline {
  std::vector<std::pair<std::string, std::string>> style;
  std::vector<NodeOutline> children;
};

NodeOutline readOutline(const ScriptValue& node) {
  NodeOutline outline;
  for (const auto& [key, value] : node.get("_style").toDictionary()) {
    outline.style.emplace_back(key, value.isString() ? value.asString() : "");
  }
  const ScriptValue children = node.get("children");
  const uint32_t length = children.get("length").toUInt32();
  for (uint32_t i = 0; i < length; ++i) outline.children.push_back(readOutline(children.at(i)));
  return outline;
}

double millisecondsOf(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

struct Figures {
  double open = 1e9;         // build and style every node, lay out, frames applied
  double change = 1e9;       // restyle 500 nodes and lay out again
  double changeFlush = 1e9;  // the views' flush alone
  double openLayout = 1e9;   // the host's part of opening: layout, text measuring, frames
};

// The style core alone: the same nodes, the same strings, the same layout passes.
Figures measureStyleCore(const NodeOutline& rootSpec) {
  Figures best;
  for (int repeat = 0; repeat < kRepeats; ++repeat) {
    std::vector<YGNodeRef> order;
    YGNodeRef root = nullptr;
    best.open = std::min(best.open, millisecondsOf([&] {
                           std::function<void(const NodeOutline&, YGNodeRef, uint32_t)> build =
                               [&](const NodeOutline& outline, YGNodeRef parent, uint32_t index) {
                                 YGNodeRef node = parent ? createNode(parent, index, 0)
                                                         : createNodeRoot(1'000'000);
                                 if (!parent) root = node;
                                 order.push_back(node);
                                 for (const auto& [name, value] : outline.style)
                                   setString(node, name.c_str(), value.c_str());
                                 for (uint32_t i = 0; i < outline.children.size(); ++i)
                                   build(outline.children[i], node, i);
                               };
                           build(rootSpec, nullptr, 0);
                           calculate(root, kWidth, kHeight);
                         }));
    const double change = millisecondsOf([&] {
      for (size_t i = 0; i < order.size(); i += kEveryNthChanges)
        setString(order[i], "margin", "3px");
      calculate(root, kWidth, kHeight);
    });
    best.change = std::min(best.change, change);
    freeNode(root);
  }
  return best;
}

// Through the script, the UI store, the screen's views and the host's layout pass.
Figures measureViews(TalveroEngine& engine) {
  CreatorUIStore& store = engine.creatorUI();
  Figures best;
  double hostPart = 0;
  auto showScreen = store.onScreenOpen;
  store.onScreenOpen = [&](std::shared_ptr<toolkit::View> view) {
    hostPart = millisecondsOf([&] { showScreen(std::move(view)); });
  };
  for (int repeat = 0; repeat < kRepeats; ++repeat) {
    // Opening runs synchronously on the main thread: build, host, layout, frames.
    const double open = millisecondsOf([&] {
      engine.run("_creatorUI.openScreen(root);");
      dispatch::pumpUntil([] { return dispatch::pendingCount() == 0; }, 5);
    });
    best.open = std::min(best.open, open);
    best.openLayout = std::min(best.openLayout, hostPart);
    engine.run("var targets = []; for (var i = 0; i < order.length; i += " +
               std::to_string(kEveryNthChanges) + ") targets.push(order[i]._id);");
    UIScreen* screen = store.currentScreen.get();
    double flush = 0;
    const double change = millisecondsOf([&] {
      engine.run(
          "for (var i = 0; i < targets.length; i++)"
          "  _creatorUI.updateStyle(targets[i], 'margin', '3px');");
      flush = millisecondsOf(
          [&] { dispatch::pumpUntil([screen] { return !screen->flushScheduled; }, 5); });
    });
    best.change = std::min(best.change, change);
    best.changeFlush = std::min(best.changeFlush, flush);
    engine.run("_creatorUI.closeScreen();");
    dispatch::pumpFor(0.05);
  }
  return best;
}

}  // namespace

int main() {
  UIBenchHost bench("talvero_ui_bench", kWidth, kHeight);
  const std::unique_ptr<TalveroEngine>& engine = bench.engine;

  engine->run(kDescription);
  const ScriptValue root = engine->currentContext().globalObject().get("root");
  const NodeOutline outline = readOutline(root);
  const uint32_t nodes =
      engine->currentContext().globalObject().get("order").get("length").toUInt32();

  // The reference first: the style core is shared, and the views' pass must not warm it.
  const Figures core = measureStyleCore(outline);
  const Figures views = measureViews(*engine);

  std::printf(
      "UI tree on %u nodes (texts, buttons, containers; 6 style strings each), "
      "%d of them restyled; best of %d\n\n",
      nodes, (kNodes + kEveryNthChanges - 1) / kEveryNthChanges, kRepeats);
  std::printf("%-34s %12s %14s %8s\n", "", "views ms", "style core ms", "ratio");
  std::printf("%-34s %12.3f %14.3f %8.2f\n", "open screen to first frames", views.open, core.open,
              views.open / core.open);
  std::printf("%-34s %12.3f\n", "  of which layout and frames", views.openLayout);
  std::printf("%-34s %12.3f %14.3f %8.2f\n", "restyle 500 nodes, one turn + flush", views.change,
              core.change, views.change / core.change);
  std::printf("%-34s %12.3f\n", "  of which the flush", views.changeFlush);
  std::printf(
      "\nThe style core column builds the same tree from the same strings with no views "
      "and no script;\ntexts are not measured there. Goal: the view side at most 3x the "
      "style core.\n");
  return 0;
}
