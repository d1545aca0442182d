// What the style core costs over Yoga: per-property apply time of six typical style strings,
// and our layout pass against raw Yoga's on the same trees, for a deep and a wide tree of
// 10,000 nodes each.

#include <yoga/Yoga.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

#include "style_core/style_core.h"

namespace {

using namespace talvero;
using Clock = std::chrono::steady_clock;

constexpr int kNodes = 10000;
constexpr int kRepeats = 7;

struct Style {
  const char* name;
  const char* value;
};
constexpr Style kStyles[] = {
    {"width", "100px"},          {"height", "50%"},
    {"flexDirection", "row"},    {"justifyContent", "space-between"},
    {"border", "2px solid red"}, {"maxWidth", "calc(100vw - 20px)"},
};
constexpr int kStylesPerNode = sizeof(kStyles) / sizeof(kStyles[0]);

double secondsOf(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Nodes in creation order; `deep` makes chains 1,000 levels deep, `wide` hangs all on the root.
template <class Make>
std::vector<YGNodeRef> buildShape(bool deep, YGNodeRef root, Make makeChild) {
  std::vector<YGNodeRef> nodes{root};
  YGNodeRef parent = root;
  for (int i = 1; i < kNodes; ++i) {
    if (!deep)
      parent = root;
    else if (i % 1000 == 1)
      parent = root;
    YGNodeRef child = makeChild(parent);
    nodes.push_back(child);
    parent = child;
  }
  return nodes;
}

void applyRaw(YGNodeRef node, float viewportWidth) {
  YGNodeStyleSetWidth(node, 100);
  YGNodeStyleSetHeightPercent(node, 50);
  YGNodeStyleSetFlexDirection(node, YGFlexDirectionRow);
  YGNodeStyleSetJustifyContent(node, YGJustifySpaceBetween);
  YGNodeStyleSetBorder(node, YGEdgeAll, 2);
  YGNodeStyleSetMaxWidth(node, viewportWidth - 20);
}

struct Figures {
  double applyNs = 0;
  double reapplyNs = 0;
  double oursMs = 0;
  double rawMs = 0;
};

Figures measure(bool deep) {
  Figures best{1e9, 1e9, 1e9, 1e9};
  for (int repeat = 0; repeat < kRepeats; ++repeat) {
    YGNodeRef root = createNodeRoot(1);
    const auto nodes = buildShape(deep, root, [](YGNodeRef parent) {
      return createNode(parent, static_cast<uint32_t>(YGNodeGetChildCount(parent)), 0);
    });
    auto applyAll = [&] {
      for (YGNodeRef node : nodes) {
        for (const Style& style : kStyles) setString(node, style.name, style.value);
      }
    };
    const double perProperty = 1e9 / (static_cast<double>(kNodes) * kStylesPerNode);
    best.applyNs = std::min(best.applyNs, secondsOf(applyAll) * perProperty);
    best.reapplyNs = std::min(best.reapplyNs, secondsOf(applyAll) * perProperty);

    YGNodeRef rawRoot = YGNodeNew();
    const auto rawNodes = buildShape(deep, rawRoot, [](YGNodeRef parent) {
      YGNodeRef child = YGNodeNew();
      YGNodeInsertChild(parent, child, YGNodeGetChildCount(parent));
      return child;
    });
    for (YGNodeRef node : rawNodes) applyRaw(node, 800);

    // The first pass over a fresh tree lays out every node; later ones would hit Yoga's cache.
    const double ours = secondsOf([&] { calculate(root, 800.0f, 600.0f); });
    const double raw =
        secondsOf([&] { YGNodeCalculateLayout(rawRoot, 800.0f, 600.0f, YGDirectionLTR); });
    best.oursMs = std::min(best.oursMs, ours * 1000);
    best.rawMs = std::min(best.rawMs, raw * 1000);
    freeNode(root);
    YGNodeFreeRecursive(rawRoot);
  }
  return best;
}

}  // namespace

int main() {
  std::printf("style core on %d nodes, %d style strings per node, best of %d\n\n", kNodes,
              kStylesPerNode, kRepeats);
  std::printf("%-6s %18s %18s %14s %14s %8s\n", "tree", "apply ns/property", "re-apply ns/prop",
              "layout ms", "raw Yoga ms", "ratio");
  for (bool deep : {true, false}) {
    const Figures f = measure(deep);
    std::printf("%-6s %18.1f %18.1f %14.3f %14.3f %8.3f\n", deep ? "deep" : "wide", f.applyNs,
                f.reapplyNs, f.oursMs, f.rawMs, f.oursMs / f.rawMs);
  }
  std::printf("\ngoals: apply under 150 ns per property; layout ratio at most 1.1\n");
  return 0;
}
