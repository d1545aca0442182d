#include "engine/bindings/creator_ui_bindings.h"

#include <optional>
#include <string>

#include "style_core/style_core.h"
#include "ui/font_manager.h"
#include "ui/node_animation.h"
#include "ui/node_operations.h"
#include "ui/node_vlist.h"
#include "ui/ui_store.h"
#include "ui/vlist_bridge.h"

namespace talvero {

namespace {

// Animation options are a plain object; any other value names no animation.
std::optional<NativeValue::Dict> animationOptions(const ScriptValue& options) {
  if (!options.isObject() || options.isArray()) return std::nullopt;
  return options.toDictionary();
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
      .add("setSourceRect", &setSourceRect)
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
      .add("insertNode", [](int64_t index, uint64_t parent,
                            ScriptValue node) { insertChildNode(parent, index, node); })
      .add("removeNode", [](uint64_t parent, ScriptValue node) { removeChildNode(parent, node); })
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
        listCommand(target, name, argument);
      });
}

void CreatorUIHandler::release(const ScriptContext& context) {
  creatorUIStore.releaseInputCallbacks(context);
}

}  // namespace talvero
