#include "style_core/internal/layers.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unordered_map>

#include "style_core/internal/properties.h"
#include "style_core/internal/viewport.h"

namespace talvero {

using namespace hash_literals;

namespace {

std::unordered_map<uint32_t, LayerId> classLayers;
LayerId nextClassLayer = kFirstClassLayer;

bool isLive(const NodeContext* context, LayerId layer) {
  if (layer == kDefaultLayer || layer == current_condition) return true;
  return std::find(context->activeLayers.begin(), context->activeLayers.end(), layer) !=
         context->activeLayers.end();
}

// The entry in force: the highest layer that is live for this node.
const std::pair<const LayerId, StyleValue>* entryInForce(const NodeContext* context,
                                                         PropertyId id) {
  auto found = context->styles.find(id);
  if (found == context->styles.end()) return nullptr;
  const auto& layers = found->second;
  for (auto it = layers.rbegin(); it != layers.rend(); ++it) {
    if (isLive(context, it->first)) return &*it;
  }
  return nullptr;
}

template <class Value>
bool insert(NodeContext* context, PropertyId id, LayerId layer, Value&& value) {
  if (!context) return false;
  context->styles[id][layer] = StyleValue(std::forward<Value>(value));
  const auto* inForce = entryInForce(context, id);
  return inForce && inForce->first == layer;
}

// Applies the value now in force, or the reset when none is. The value is copied first: the
// handlers run view code, which may store styles on this node.
void applyProperty(YGNodeRef node, PropertyId id) {
  const NodeContext* context = nodeContext(node);
  if (!context) return;
  const auto* inForce = entryInForce(context, id);
  if (!inForce) {
    resetProp_internal(node, id);
    return;
  }
  const StyleValue value = inForce->second;
  if (const float* number = std::get_if<float>(&value)) {
    setFloat_internal(node, id, *number);
  } else {
    bool dropped = false;
    setString_internal(node, id, std::get<std::string>(value).c_str(), dropped);
  }
}

// The ids are collected before applying anything, as applying may change the map.
template <class Select>
std::vector<PropertyId> selectProperties(const NodeContext* context, Select select) {
  std::vector<PropertyId> ids;
  for (const auto& [id, layers] : context->styles) {
    if (select(id, layers)) ids.push_back(id);
  }
  return ids;
}

bool isDynamic(const NodeContext* context, PropertyId id) {
  return std::find(context->dynamicProps.begin(), context->dynamicProps.end(), id) !=
         context->dynamicProps.end();
}

template <class Visit>
void forEachChild(YGNodeRef node, Visit visit) {
  const size_t count = YGNodeGetChildCount(node);
  for (size_t i = 0; i < count; ++i) visit(YGNodeGetChild(node, i));
}

// Re-applies the dynamic properties whose value in force is a text.
void reapplyDynamicTexts(YGNodeRef node) {
  const NodeContext* context = nodeContext(node);
  if (!context) return;
  const std::vector<PropertyId> dynamic = context->dynamicProps;
  for (PropertyId id : dynamic) {
    const NodeContext* current = nodeContext(node);
    const auto* inForce = current ? entryInForce(current, id) : nullptr;
    if (!inForce || !std::holds_alternative<std::string>(inForce->second)) continue;
    const std::string text = std::get<std::string>(inForce->second);
    bool dropped = false;
    setString_internal(node, id, text.c_str(), dropped);
  }
}

}  // namespace

bool insertStyle(NodeContext* context, PropertyId id, LayerId layer, float value) {
  return insert(context, id, layer, value);
}

bool insertStyle(NodeContext* context, PropertyId id, LayerId layer, const char* value) {
  return insert(context, id, layer, std::string(value ? value : ""));
}

bool hasActiveStyle(const NodeContext* context, PropertyId id) {
  return context && entryInForce(context, id) != nullptr;
}

const StyleValue* activeStyle(const NodeContext* context, PropertyId id) {
  const auto* inForce = context ? entryInForce(context, id) : nullptr;
  return inForce ? &inForce->second : nullptr;
}

LayerId getLayer(YGNodeRef, const char* name) {
  if (!name || name[0] == '\0') return kDefaultLayer;
  const uint32_t hash = fnv1a(name, std::strlen(name));
  if (name[0] != '$') {
    switch (hash) {
      case "onPortait"_h:
        return kPortraitLayer;
      case "onLandscape"_h:
        return kLandscapeLayer;
      case "onPressed"_h:
        return kPressedLayer;
      case "onFocused"_h:
        return kFocusedLayer;
      default:
        return kDefaultLayer;
    }
  }
  if (auto found = classLayers.find(hash); found != classLayers.end()) return found->second;
  if (nextClassLayer < kClassLayerLimit) {
    classLayers[hash] = nextClassLayer;
    return nextClassLayer++;
  }
  std::printf(
      "[WARN] getLayer: class layer range exhausted, \"%s\" falls back to the default layer\n",
      name);
  std::fflush(stdout);
  return kDefaultLayer;
}

void resetClassLayers() {
  classLayers.clear();
  nextClassLayer = kFirstClassLayer;
}

void applyLayerToNode(YGNodeRef node, LayerId layer) {
  const NodeContext* context = nodeContext(node);
  if (context) {
    const auto ids = selectProperties(
        context, [layer](PropertyId, const auto& layers) { return layers.count(layer) > 0; });
    for (PropertyId id : ids) applyProperty(node, id);
  }
  forEachChild(node, [layer](YGNodeRef child) { applyLayerToNode(child, layer); });
}

void applyLayerToNodeOnResize(YGNodeRef node, LayerId oldLayer, LayerId newLayer) {
  const NodeContext* context = nodeContext(node);
  if (context) {
    const auto ids = selectProperties(context, [&](PropertyId id, const auto& layers) {
      return layers.count(oldLayer) > 0 || layers.count(newLayer) > 0 || isDynamic(context, id);
    });
    for (PropertyId id : ids) applyProperty(node, id);
  }
  forEachChild(node, [&](YGNodeRef child) { applyLayerToNodeOnResize(child, oldLayer, newLayer); });
}

void enableNodeLayer(YGNodeRef node, LayerId layer) {
  NodeContext* context = nodeContext(node);
  if (!context || std::find(context->activeLayers.begin(), context->activeLayers.end(), layer) !=
                      context->activeLayers.end()) {
    return;
  }
  context->activeLayers.push_back(layer);
  applyLayerToNode(node, layer);
}

void disableNodeLayer(YGNodeRef node, LayerId layer) {
  NodeContext* context = nodeContext(node);
  if (!context) return;
  auto found = std::find(context->activeLayers.begin(), context->activeLayers.end(), layer);
  if (found == context->activeLayers.end()) return;
  context->activeLayers.erase(found);
  applyLayerToNode(node, layer);
}

void resetNodeLayer(YGNodeRef node, LayerId layer) {
  NodeContext* context = nodeContext(node);
  if (!context) return;
  for (auto& [id, layers] : context->styles) layers.erase(layer);
}

void mergeNodeLayer(YGNodeRef node, LayerId from, LayerId to) {
  NodeContext* context = nodeContext(node);
  if (!context) return;
  for (auto& [id, layers] : context->styles) {
    auto found = layers.find(from);
    if (found == layers.end()) continue;
    StyleValue moved = std::move(found->second);
    layers.erase(found);
    layers[to] = std::move(moved);
  }
  std::erase(context->activeLayers, from);
}

void setConditionValue(float width, float height) {
  vw = width / 100.0f;
  vh = height / 100.0f;
  vmin = std::min(vw, vh);
  vmax = std::max(vw, vh);
  const uint16_t old = current_condition;
  current_condition = height > width ? kPortraitLayer : kLandscapeLayer;
  if (current_condition != old && cachedRoot()) {
    applyLayerToNodeOnResize(cachedRoot(), old, current_condition);
  }
}

void applyDynamicValues(YGNodeRef node) {
  reapplyDynamicTexts(node);
}

void setSafePaddings(YGNodeRef node, float top, float right, float bottom, float left) {
  safeTop = top;
  safeRight = right;
  safeBottom = bottom;
  safeLeft = left;
  safeTopComfort = std::max(top, comfortInsetVertical);
  safeBottomComfort = std::max(bottom, comfortInsetVertical);
  safeLeftComfort = std::max(left, comfortInsetHorizontal);
  safeRightComfort = std::max(right, comfortInsetHorizontal);
  if (node) recalcPaddings(node);
}

void recalcPaddings(YGNodeRef node) {
  reapplyDynamicTexts(node);
  forEachChild(node, [](YGNodeRef child) { recalcPaddings(child); });
}

}  // namespace talvero
