// What scrolling a virtual list costs through the whole view side. A list filling an 800 x 600
// screen is scrolled from its top to its bottom in 1,000 equal steps, each a move of its
// scroll view as a user's scroll or a script command makes it. One step is timed from the move
// until the main queue is empty again: the core's sync pass, the script's `_syncWindow`
// building the items that come into the window, their layout at the list's width, the unmount
// of those that leave it, and the placing of the wrappers. Rows are a container 24 points high
// holding a text. The same run is made for 100,000 and for 1,000 items; a third run moves the
// long list by the short list's step, 24 points, to tell the cost of length from that of
// distance.
// Needs a display: run under xvfb-run.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "app/host_views.h"
#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/window.h"
#include "ui/node_vlist.h"
#include "ui/ui_store.h"
#include "ui_bench_host.h"

namespace {

using namespace talvero;
using Clock = std::chrono::steady_clock;

constexpr int kSteps = 1000;
constexpr float kWidth = 800;
constexpr float kHeight = 600;

constexpr const char* kList = R"js(
function row(key) {
  return {type: "row", _style: {height: 24, paddingHorizontal: 12, alignItems: "center",
                                backgroundColor: "#20242c"},
          children: [{type: "text", _text: "Item " + key, _style: {fontSize: 14,
                                                                    color: "#f0f0f0"}}]};
}
function openList(count) {
  var keys = new Array(count), estimates = new Array(count);
  for (var i = 0; i < count; i++) { keys[i] = "k" + i; estimates[i] = 24; }
  list = {type: "vlist", _style: {flexGrow: 1}, _keys: keys, _estimates: estimates,
          _syncWindow: function (removed, added) {
            for (var i = 0; i < added.length; i++) _creatorUI.vlistMount(list, added[i], row(added[i]));
          }};
  _creatorUI.openScreen({type: "screen", _style: {}, children: [list]});
}
var list;
)js";

struct Figures {
  std::vector<double> steps;  // milliseconds
  size_t peakMounted = 0;
  double contentHeight = 0;
  double reached = 0;
};

void drain() {
  dispatch::pumpUntil([] { return dispatch::pendingCount() == 0; }, 5);
}

// Scrolls the list of `count` items in `kSteps` equal steps over `distance` points, or to its
// end when `distance` is 0.
Figures scrollThrough(TalveroEngine& engine, HostViews& host, int count, double distance = 0) {
  engine.run("openList(" + std::to_string(count) + ");");
  drain();
  host.layoutScreen();
  drain();
  const ScriptValue script = engine.currentContext().globalObject().get("list");
  const std::shared_ptr<NodeVList> list = findVList(script);
  Figures figures;
  if (!list) return figures;
  figures.contentHeight = list->docView->frame().height();
  const double end = distance > 0 ? distance : figures.contentHeight - list->bounds().height();
  figures.peakMounted = list->items.size();
  for (int step = 1; step <= kSteps; ++step) {
    const double y = end * step / kSteps;
    const auto start = Clock::now();
    list->scrollView->scrollToPoint({0, y});
    drain();
    figures.steps.push_back(
        std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    figures.peakMounted = std::max(figures.peakMounted, list->items.size());
  }
  figures.reached = list->scrollView->contentOffset().y;
  engine.run("_creatorUI.closeScreen();");
  drain();
  return figures;
}

double percentile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  const auto index = static_cast<size_t>(share * static_cast<double>(values.size() - 1));
  return values[index];
}

void report(const char* name, const Figures& figures) {
  if (figures.steps.empty()) {
    std::printf("%-26s the list did not open\n", name);
    return;
  }
  double total = 0;
  for (double step : figures.steps) total += step;
  std::printf("%-26s %9.3f %9.3f %9.3f %9.3f %8zu %11.0f %9.0f\n", name,
              total / static_cast<double>(figures.steps.size()), percentile(figures.steps, 0.5),
              percentile(figures.steps, 0.95),
              *std::max_element(figures.steps.begin(), figures.steps.end()), figures.peakMounted,
              figures.contentHeight, figures.reached);
}

}  // namespace

int main() {
  UIBenchHost bench("talvero_vlist_bench", kWidth, kHeight);
  TalveroEngine& engine = *bench.engine;
  HostViews& host = *bench.host;
  engine.run(kList);

  // The short list first, so that the long one does not warm what it uses.
  const Figures small = scrollThrough(engine, host, 1000);
  const Figures large = scrollThrough(engine, host, 100000);
  const Figures largeShort = scrollThrough(engine, host, 100000, 24.0 * kSteps);

  std::printf("A virtual list in an 800 x 600 screen scrolled top to bottom in %d steps\n\n",
              kSteps);
  std::printf("%-26s %9s %9s %9s %9s %8s %11s %9s\n", "", "mean ms", "median", "p95", "max",
              "mounted", "content pt", "reached");
  report("1,000 items, to the end", small);
  report("100,000 items, to the end", large);
  report("100,000 items, 24 pt steps", largeShort);
  std::printf(
      "\nA step: move, sync pass, items built by the script and laid out, wrappers placed.\n"
      "Mounted: the most items alive at once. Goal: below 2 ms a step, mounted independent of "
      "length.\nA step to the end of 100,000 items moves 2,400 points, more than the mounted "
      "window of\n1,800: every step builds and frees the whole window.\n");
  return 0;
}
