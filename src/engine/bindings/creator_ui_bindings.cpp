#include "engine/bindings/creator_ui_bindings.h"

#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "platform/dispatch/main_queue.h"
#include "style_core/style_core.h"
#include "ui/capabilities.h"
#include "ui/font_manager.h"
#include "ui/node_animation.h"
#include "ui/node_vlist.h"
#include "ui/style_dispatch.h"
#include "ui/ui_store.h"
#include "ui/vlist_bridge.h"

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

// Work on the virtual list named by a script object, at once on the main thread, else queued
// to it; nothing when the object names no list.
void withList(const ScriptValue& list, std::function<void(NodeVList&)> work) {
  auto run = [list, work = std::move(work)] {
    if (const std::shared_ptr<NodeVList> node = findVList(list)) work(*node);
  };
  if (dispatch::isMainThread()) {
    run();
  } else {
    dispatch::post(std::move(run));
  }
}

// The scroll commands of a list: "scrollTo" an offset, "scrollToKey" the top of an item,
// "scrollToEnd" the content height. An unknown key or name does nothing.
void command(const ScriptValue& target, const ScriptValue& name, const ScriptValue& argument) {
  const std::optional<std::string> command = name.toStringIfAny();
  if (!command) return;
  withList(target, [command = *command, argument](NodeVList& list) {
    double offset = std::numeric_limits<double>::quiet_NaN();
    if (command == "scrollTo") {
      offset = argument.toDouble();
    } else if (command == "scrollToKey") {
      if (auto key = argument.toStringIfAny()) offset = vlistOffsetOf(list.nodePtr(), key->c_str());
    } else if (command == "scrollToEnd") {
      offset = getContentHeight(list.nodePtr());
    }
    if (!std::isnan(offset)) list.scrollTo(offset);
  });
}

}  // namespace

CreatorUIHandler::CreatorUIHandler(CreatorUIStore& store)
    : ScriptHandler("_creatorUI"), creatorUIStore(store) {
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
      .add("setComfortInset", [](float, float) {})
      .add("vlistSetKeys",
           [](ScriptValue list, ScriptValue keys, ScriptValue estimates) {
             withList(list, [keys, estimates](NodeVList& node) {
               VListBridge::setKeys(node.nodePtr(), keys, estimates);
               node.refresh();
             });
           })
      .add("vlistInsertKeys",
           [](ScriptValue list, int32_t index, ScriptValue keys, ScriptValue estimates) {
             withList(list, [index, keys, estimates](NodeVList& node) {
               VListBridge::insertKeys(node.nodePtr(), index, keys, estimates);
               node.refresh();
             });
           })
      .add("vlistRemoveKeys",
           [](ScriptValue list, ScriptValue keys) {
             withList(list, [keys](NodeVList& node) {
               VListBridge::removeKeys(node.nodePtr(), keys);
               node.refresh();
             });
           })
      .add("vlistInvalidate",
           [](ScriptValue list, ScriptValue key) {
             withList(list, [key](NodeVList& node) {
               if (auto text = key.toStringIfAny()) vlistInvalidate(node.nodePtr(), text->c_str());
               node.refresh();
             });
           })
      .add("vlistMount",
           [](ScriptValue list, ScriptValue key, ScriptValue subtree) {
             withList(list, [key, subtree](NodeVList& node) {
               const std::shared_ptr<UIScreen> owner = node.ownerScreen.lock();
               const std::optional<std::string> text = key.toStringIfAny();
               if (owner && text) owner->vlistMount(node, *text, subtree);
             });
           })
      .add("command", [](ScriptValue target, ScriptValue name, ScriptValue argument, ScriptValue) {
        command(target, name, argument);
      });
}

void CreatorUIHandler::release(const ScriptContext& context) {
  creatorUIStore.releaseInputCallbacks(context);
}

}  // namespace talvero
