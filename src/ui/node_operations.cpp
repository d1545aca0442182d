#include "ui/node_operations.h"

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "platform/dispatch/main_queue.h"
#include "style_core/style_core.h"
#include "ui/node_animation.h"
#include "ui/node_image.h"
#include "ui/node_vlist.h"
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

}  // namespace

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
  dispatch::post([id, key, value] {
    if (NodeProtocol* node = CreatorUIStore::getNode(id)) node->updateNode(key, value);
  });
}

void setSourceRect(uint64_t id, double x, double y, double width, double height) {
  dispatch::post([id, x, y, width, height] {
    auto* image = dynamic_cast<NodeImage*>(CreatorUIStore::getNode(id));
    // A rectangle that no 32-bit float holds is ignored.
    const std::optional<toolkit::Rect> rect = NodeImage::floatRect(x, y, width, height);
    if (image && rect) image->setSourceRect(*rect);
  });
}

void insertChildNode(uint64_t parentId, int64_t index, const ScriptValue& node) {
  const FoundNode found = findNode(parentId);
  if (found.node) found.screen->insertNode(index, found.node->nodePtr(), node);
}

void removeChildNode(uint64_t parentId, const ScriptValue& node) {
  const FoundNode found = findNode(parentId);
  if (found.node) found.screen->removeNode(found.node->nodePtr(), node);
}

void setContent(uint64_t id, const ScriptValue& oldChildren, const ScriptValue& newChildren) {
  const FoundNode found = findNode(id);
  if (!found.node) return;
  found.screen->removeAllChildren(found.node->nodePtr(), oldChildren);
  found.screen->addNodesToParent(*found.node, newChildren, false);
}

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

void listCommand(const ScriptValue& target, const ScriptValue& name, const ScriptValue& argument) {
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

}  // namespace talvero
