#include "style_core/internal/node_tree.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "style_core/internal/layers.h"
#include "style_core/internal/viewport.h"
#include "style_core/internal/vlist.h"

namespace talvero {

namespace {

MeasureHook measureFunc = nullptr;
YGNodeRef lastRoot = nullptr;

YGSize measureTrampoline(YGNodeConstRef node, float width, YGMeasureMode widthMode, float height,
                         YGMeasureMode heightMode) {
  if (!measureFunc) return YGSize{0, 0};
  auto* ref = const_cast<YGNodeRef>(node);
  const NodeContext* context = nodeContext(ref);
  const uint64_t packed =
      measureFunc(context ? context->screenId : 0, ref, width, static_cast<uint8_t>(widthMode),
                  height, static_cast<uint8_t>(heightMode));
  return YGSize{std::bit_cast<float>(static_cast<uint32_t>(packed >> 32)),
                std::bit_cast<float>(static_cast<uint32_t>(packed & 0xFFFFFFFFu))};
}

void freeContexts(YGNodeRef node) {
  const size_t count = YGNodeGetChildCount(node);
  for (size_t i = 0; i < count; ++i) freeContexts(YGNodeGetChild(node, i));
  if (node == lastRoot) lastRoot = nullptr;
  delete nodeContext(node);
  YGNodeSetContext(node, nullptr);
}

}  // namespace

uint64_t packMeasuredSize(float width, float height) {
  return (static_cast<uint64_t>(std::bit_cast<uint32_t>(width)) << 32) |
         std::bit_cast<uint32_t>(height);
}

NodeContext* nodeContext(YGNodeRef node) {
  return node ? static_cast<NodeContext*>(YGNodeGetContext(node)) : nullptr;
}

YGNodeRef cachedRoot() {
  return lastRoot;
}

YGNodeRef createNodeRoot(int32_t screenId) {
  YGNodeRef node = YGNodeNew();
  auto* context = new NodeContext();
  context->screenId = screenId;
  YGNodeSetContext(node, context);
  return node;
}

YGNodeRef createNode(YGNodeRef parent, uint32_t index, uint32_t hasMeasure) {
  const NodeContext* parentContext = nodeContext(parent);
  YGNodeRef node = createNodeRoot(parentContext ? parentContext->screenId : 0);
  const auto count = static_cast<uint32_t>(YGNodeGetChildCount(parent));
  YGNodeInsertChild(parent, node, std::min(index, count));
  if (hasMeasure != 0) YGNodeSetMeasureFunc(node, measureTrampoline);
  return node;
}

void freeNode(YGNodeRef node) {
  if (!node) return;
  freeContexts(node);
  YGNodeFreeRecursive(node);
}

void removeNode(YGNodeRef parent, YGNodeRef child) {
  if (!parent || !child) return;
  YGNodeRemoveChild(parent, child);
  freeNode(child);
}

void setMeasureFunc(MeasureHook hook) {
  measureFunc = hook;
}

void calculate(YGNodeRef root, float width, float height) {
  if (root != lastRoot) lastRoot = nullptr;
  vw = width / 100.0f;
  vh = height / 100.0f;
  vmin = std::min(vw, vh);
  vmax = std::max(vw, vh);
  const uint16_t old = current_condition;
  current_condition = height > width ? 257 : 258;
  if (current_condition != old && lastRoot) applyLayerToNodeOnResize(root, old, current_condition);
  lastRoot = root;
  YGNodeCalculateLayout(root, width, height, YGDirectionLTR);
}

void calculateWidget(YGNodeRef root, float width, float height) {
  YGNodeStyleSetPositionType(root, YGPositionTypeAbsolute);
  if (!YGNodeGetParent(root)) {
    YGNodeRef wrapper = YGNodeNew();
    YGNodeStyleSetOverflow(wrapper, YGOverflowHidden);
    YGNodeStyleSetJustifyContent(wrapper, YGJustifyCenter);
    YGNodeStyleSetAlignItems(wrapper, YGAlignCenter);
    YGNodeInsertChild(wrapper, root, 0);
  }
  YGNodeCalculateLayout(YGNodeGetParent(root), width, height, YGDirectionLTR);
}

void freeWidget(YGNodeRef root) {
  if (!root) return;
  if (YGNodeRef wrapper = YGNodeGetParent(root)) {
    YGNodeRemoveChild(wrapper, root);
    YGNodeFree(wrapper);
  }
  freeNode(root);
}

bool hasNewLayout(YGNodeRef node) {
  if (!YGNodeGetHasNewLayout(node)) return false;
  YGNodeSetHasNewLayout(node, false);
  return true;
}

NodeLayout getLayout(YGNodeRef node) {
  return NodeLayout{YGNodeLayoutGetLeft(node), YGNodeLayoutGetTop(node), YGNodeLayoutGetWidth(node),
                    YGNodeLayoutGetHeight(node)};
}

float getContentHeight(YGNodeRef node) {
  float listHeight = 0;
  if (vlistTryContentHeight(node, &listHeight)) return listHeight;
  float bottom = 0;
  const size_t count = YGNodeGetChildCount(node);
  for (size_t i = 0; i < count; ++i) {
    YGNodeRef child = YGNodeGetChild(node, i);
    const float edge = YGNodeLayoutGetTop(child) + YGNodeLayoutGetHeight(child) +
                       YGNodeLayoutGetMargin(child, YGEdgeBottom);
    bottom = std::max(bottom, edge);
  }
  return bottom + YGNodeLayoutGetPadding(node, YGEdgeBottom);
}

void markNodeDirty(YGNodeRef node) {
  if (node && YGNodeHasMeasureFunc(node)) YGNodeMarkDirty(node);
}

int32_t getScreenId(YGNodeRef node) {
  const NodeContext* context = nodeContext(node);
  return context ? context->screenId : 0;
}

}  // namespace talvero
