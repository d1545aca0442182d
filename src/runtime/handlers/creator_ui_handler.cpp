#include "runtime/handlers/creator_ui_handler.h"

#include <optional>

#include "platform/dispatch/main_queue.h"
#include "style_core/layers.h"
#include "ui/capabilities.h"
#include "ui/font_manager.h"
#include "ui/node_animation.h"
#include "ui/style_dispatch.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

// The node and the screen of an id; both null when the id names nothing.
struct FoundNode {
  NodeProtocol* node = nullptr;
  std::shared_ptr<UIScreen> screen;
};

FoundNode findNode(uint64_t id) {
  if (id == 0) return {};
  std::shared_ptr<UIScreen> screen = CreatorUIStore::getNodeScreen(id);
  NodeProtocol* node = screen ? screen->node(id) : nullptr;
  return node ? FoundNode{node, std::move(screen)} : FoundNode{};
}

void updateStyle(uint64_t id, const std::string& key, const ScriptValue& value) {
  const FoundNode found = findNode(id);
  if (!found.node) return;
  if (value.isNumber() || value.isString()) {
    applyStyle(kDefaultLayer, found.node->nodePtr(), key, value.toNative());
  } else if (value.isBoolean()) {
    applyStyle(kDefaultLayer, found.node->nodePtr(), key, value.toBool() ? 1.0 : 0.0);
  }
  found.screen->scheduleFlush();
}

void mergeStyle(uint64_t id, const ScriptValue& object) {
  const FoundNode found = findNode(id);
  if (!found.node || !object.isObject()) return;
  for (const auto& [key, value] : object.toDictionary()) {
    applyStyle(kDefaultLayer, found.node->nodePtr(), key, value);
  }
  found.screen->scheduleFlush();
}

void setClass(uint64_t id, const std::string& name, bool enabled) {
  NodeProtocol* node = CreatorUIStore::getNode(id);
  if (!node) return;
  YGNodeRef nodePtr = node->nodePtr();
  const LayerId layer = getLayer(nodePtr, ("$" + name).c_str());
  auto change = [id, nodePtr, layer, enabled] {
    // The node may have gone by the time an animated change runs.
    if (!CreatorUIStore::getNode(id)) return;
    if (enabled) {
      enableNodeLayer(nodePtr, layer);
    } else {
      disableNodeLayer(nodePtr, layer);
    }
    if (auto screen = CreatorUIStore::getNodeScreen(id)) screen->scheduleFlush();
  };
  runNodeTransition(*node, change);
}

void updateNode(uint64_t id, const std::string& key, const ScriptValue& value) {
  // Always a later turn, so a script reading the view in the same turn sees the old content.
  dispatch::post([id, key, value] {
    if (NodeProtocol* node = CreatorUIStore::getNode(id)) node->updateNode(key, value);
  });
}

void setContent(uint64_t id, const ScriptValue& oldChildren, const ScriptValue& newChildren) {
  const FoundNode found = findNode(id);
  if (!found.node) return;
  found.screen->removeAllChildren(found.node->nodePtr(), oldChildren);
  found.screen->addNodesToParent(*found.node, newChildren, false);
}

// Animation options are a plain object; any other value names no animation.
std::optional<NativeValue::Dict> animationOptions(const ScriptValue& options) {
  if (!options.isObject() || options.isArray()) return std::nullopt;
  return options.toDictionary();
}

}  // namespace

CreatorUIHandler::CreatorUIHandler(CreatorUIStore& store) : creatorUIStore(store) {
  CreatorUIStore* ui = &store;
  exports_.add("openScreen", [ui](ScriptValue node) { ui->openScreen(node); })
      .add("closeScreen", [ui] { ui->closeScreen(); })
      .add("routerOpen",
           [ui](ScriptValue node, ScriptValue onChange, bool) { ui->routerOpen(node, onChange); })
      .add("routerPush", [ui](ScriptValue node) { ui->routerPush(node); })
      .add("routerReplace", [ui](ScriptValue node, ScriptValue) { ui->routerReplace(node); })
      .add("routerPop", [ui](int64_t delta) { ui->routerPop(delta); })
      .add("routerHide", [ui] { ui->routerHide(); })
      .add("routerRestore", [ui] { ui->routerRestore(); })
      .add("showWidget", [ui](ScriptValue node) { ui->showWidget(node); })
      .add("hideWidget", [ui](ScriptValue node) { ui->hideWidget(node); })
      .add("updateNode", &updateNode)
      .add("updateStyle", &updateStyle)
      .add("mergeStyle", &mergeStyle)
      .add("setClass", &setClass)
      .add("registerFont",
           [ui](std::string family, ScriptValue source, ScriptValue options, ScriptValue onSuccess,
                ScriptValue onError) {
             registerFont(*ui, family, source, options, onSuccess, onError);
           })
      .add("toast",
           [ui](ScriptValue text, ScriptValue duration) {
             const int32_t milliseconds = duration.isUndefined() ? 2000 : duration.toInt32();
             if (ui->onToast) ui->onToast(text.toStringIfAny().value_or(""), milliseconds);
           })
      .add("registerTouchStartEvent",
           [ui](ScriptValue callback) { ui->onTouchStartCallback = callback; })
      .add("registerTouchEndEvent",
           [ui](ScriptValue callback) { ui->onTouchEndCallback = callback; })
      .add("registerResizeEvent", [ui](ScriptValue callback) { ui->onResizeCallback = callback; })
      .add("getDisplaySize",
           [ui] {
             return NativeValue(NativeValue::Array{static_cast<double>(ui->displayWidth),
                                                   static_cast<double>(ui->displayHeight)});
           })
      .add("isButtonPressed", [ui](uint64_t id) { return ui->pressedButtons.count(id) > 0; })
      .add("getTextValue",
           [](uint64_t id) { return CreatorUIStore::getTextValue(id).value_or(""); })
      .add("insertNode",
           [](int64_t index, uint64_t parent, ScriptValue node) {
             const FoundNode found = findNode(parent);
             if (found.node) found.screen->insertNode(index, found.node->nodePtr(), node);
           })
      .add("removeNode",
           [](uint64_t parent, ScriptValue node) {
             const FoundNode found = findNode(parent);
             if (found.node) found.screen->removeNode(found.node->nodePtr(), node);
           })
      .add("setContent", &setContent)
      .add("animateFrom",
           [](uint64_t id, ScriptValue options) {
             if (auto dict = animationOptions(options)) animateFrom(id, *dict);
           })
      .add("animateTo",
           [](uint64_t id, ScriptValue options) {
             if (auto dict = animationOptions(options)) animateTo(id, *dict);
           })
      .add("setComfortInset", [](float, float) {});
}

}  // namespace talvero
