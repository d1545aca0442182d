#include "ui/ui_screen.h"

#include <algorithm>

#include "platform/dispatch/main_queue.h"
#include "runtime/value_helpers.h"
#include "style_core/style_core.h"
#include "ui/node_factory.h"
#include "ui/node_vlist.h"
#include "ui/style_dispatch.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

constexpr int64_t kMaxChildIndex = 65535;

// The elements of `_classes` as class names, through `Array.from` so any iterable works.
std::vector<std::string> classNames(const ScriptValue& classes) {
  std::vector<std::string> names;
  if (!classes.isObject()) return names;
  const ScriptValue array = classes.context().globalObject().get("Array");
  if (!array.get("from").isFunction()) return names;
  const ScriptValue list = array.invokeMethod("from", {classes});
  if (!list.isArray()) return names;
  const uint32_t length = list.get("length").toUInt32();
  for (uint32_t i = 0; i < length; ++i) {
    if (auto name = list.at(i).toStringIfAny()) names.push_back(*name);
  }
  return names;
}

// Calls `visit` with each object among the `children` of a script node.
template <class Visit>
void forEachChildObject(const ScriptValue& node, Visit visit) {
  const ScriptValue children = node.get("children");
  if (!children.isArray()) return;
  const uint32_t length = children.get("length").toUInt32();
  for (uint32_t i = 0; i < length; ++i) {
    const ScriptValue child = children.at(i);
    if (child.isObject()) visit(child);
  }
}

}  // namespace

uint64_t scriptNodeId(const ScriptValue& node) {
  if (!node.isObject()) return 0;
  const ScriptValue id = node.get("_id");
  if (!id.isNumber()) return 0;
  const double number = id.toDouble();
  return number > 0 ? static_cast<uint64_t>(number) : 0;
}

UIScreen::UIScreen(CreatorUIStore& store, bool isWidget)
    : isWidget(isWidget), creatorUIStore(store) {}

UIScreen::~UIScreen() = default;

NodeProtocol* UIScreen::node(uint64_t id) const {
  const auto found = nodes.find(id);
  return found == nodes.end() ? nullptr : found->second.get();
}

void UIScreen::build(int32_t id, const ScriptValue& node) {
  screenId = id;
  rootNode = addNodeRecursive(node, nullptr, 0);
  nodeJS = node;
}

std::shared_ptr<NodeProtocol> UIScreen::addNodeRecursive(const ScriptValue& node, YGNodeRef parent,
                                                         uint32_t index) {
  const ScriptValue typeValue = node.get("type");
  const std::string type = typeValue.isUndefined() ? "" : typeValue.toString();
  YGNodeRef nodePtr = nullptr;
  if (parent) {
    nodePtr =
        createNode(parent, std::min<uint32_t>(index, kMaxChildIndex), isMeasuredKind(type) ? 1 : 0);
  } else {
    nodePtr = createNodeRoot(screenId.value_or(0));
    rootNodePtr = nodePtr;
  }
  auto made = makeNodeOfKind(type, node.get("scrollable").toBool(), nodePtr, node, creatorUIStore);
  node.set("_id", static_cast<double>(made->nodeId()));
  nodes[made->nodeId()] = made;

  const ScriptValue style = node.get("_style");
  if (style.isObject()) {
    for (const auto& [key, value] : style.toDictionary()) {
      applyStyle(kDefaultLayer, nodePtr, key, value);
    }
  }
  for (const std::string& name : classNames(node.get("_classes"))) {
    enableNodeLayer(nodePtr, getLayer(nodePtr, ("$" + name).c_str()));
  }
  if (auto* list = dynamic_cast<NodeVList*>(made.get())) list->setUp(*this, node);
  addNodesToParent(*made, node.get("children"), true);
  return made;
}

void UIScreen::addNodesToParent(NodeProtocol& parent, const ScriptValue& children,
                                bool immediately) {
  if (!children.isArray()) return;
  const uint32_t length = children.get("length").toUInt32();
  uint32_t position = 0;  // counts only elements that became nodes: the native index
  for (uint32_t i = 0; i < length; ++i) {
    const ScriptValue element = children.at(i);
    if (!element.isObject()) continue;
    auto child = addNodeRecursive(element, parent.nodePtr(), position);
    if (immediately) {
      parent.childContainer()->addSubview(child->viewPtr());
    } else {
      pendingOps.push_back(MountInsert{parent.childContainer(), child->viewPtr(), position});
    }
    ++position;
  }
  if (!immediately) scheduleFlush();
}

void UIScreen::insertNode(int64_t index, YGNodeRef parent, const ScriptValue& node) {
  const int64_t clamped = std::clamp<int64_t>(index, 0, kMaxChildIndex);
  auto child = addNodeRecursive(node, parent, static_cast<uint32_t>(clamped));
  if (NodeProtocol* parentNode = this->node(reinterpret_cast<uintptr_t>(parent))) {
    pendingOps.push_back(MountInsert{parentNode->childContainer(), child->viewPtr(), clamped});
  }
  scheduleFlush();
}

void UIScreen::detachChild(YGNodeRef parent, const ScriptValue& node) {
  const uint64_t id = scriptNodeId(node);
  if (id == 0) return;
  NodeProtocol* child = this->node(id);
  if (child) pendingOps.push_back(MountRemove{child->viewPtr()});
  removeNodeRecursive(node);
  // Only a node of this tree that hangs under `parent` is taken out natively: an id of
  // another screen, or one freed already, must never reach the layout core.
  auto* childPtr = reinterpret_cast<YGNodeRef>(static_cast<uintptr_t>(id));
  if (child && YGNodeGetParent(childPtr) == parent) talvero::removeNode(parent, childPtr);
}

void UIScreen::removeNode(YGNodeRef parent, const ScriptValue& node) {
  if (scriptNodeId(node) == 0) return;
  detachChild(parent, node);
  scheduleFlush();
}

void UIScreen::removeAllChildren(YGNodeRef parent, const ScriptValue& children) {
  if (children.isArray()) {
    const uint32_t length = children.get("length").toUInt32();
    for (uint32_t i = 0; i < length; ++i) detachChild(parent, children.at(i));
  }
  scheduleFlush();
}

void UIScreen::removeNodeRecursive(const ScriptValue& node) {
  const uint64_t id = scriptNodeId(node);
  if (id == 0) return;
  if (auto* list = dynamic_cast<NodeVList*>(this->node(id))) list->teardown();
  node.set("_id", 0);
  if (auto found = nodes.find(id); found != nodes.end()) {
    found->second->show = false;
    nodes.erase(found);
  }
  forEachChildObject(node, [this](const ScriptValue& child) { removeNodeRecursive(child); });
}

void UIScreen::removeSelf() {
  show = false;
  removeNodeRecursive(nodeJS);
  if (rootNodePtr) {
    if (isWidget) {
      freeWidget(rootNodePtr);
    } else {
      freeNode(rootNodePtr);
    }
    rootNodePtr = nullptr;
  }
}

void UIScreen::scheduleFlush() {
  if (flushScheduled) return;
  flushScheduled = true;
  std::weak_ptr<UIScreen> weak = weak_from_this();
  dispatch::post([weak] {
    if (auto screen = weak.lock()) screen->flush();
  });
}

void UIScreen::flush() {
  std::vector<MountOp> ops;
  ops.swap(pendingOps);
  flushScheduled = false;
  for (const MountOp& op : ops) {
    if (const auto* insert = std::get_if<MountInsert>(&op)) {
      const auto& siblings = insert->parent->subviews();
      if (insert->index < static_cast<int64_t>(siblings.size())) {
        const std::shared_ptr<toolkit::View> below = siblings[insert->index];
        insert->parent->addSubview(insert->child, toolkit::View::Position::Below, below.get());
      } else {
        insert->parent->addSubview(insert->child);
      }
    } else {
      std::get<MountRemove>(op).view->removeFromSuperview();
    }
  }
  recalc();
}

void UIScreen::recalc() {
  if (!show || !rootNode || cachedWidth == 0 || cachedHeight == 0) return;
  calculateLayout(cachedWidth, cachedHeight);
}

void UIScreen::calculateLayout(float width, float height) {
  if (!rootNodePtr) return;
  if (isWidget) {
    calculateWidget(rootNodePtr, width, height);
  } else {
    calculate(rootNodePtr, width, height);
  }
  cachedWidth = width;
  cachedHeight = height;
  applyFrames();
}

void UIScreen::applyFrames() {
  // `onLayout` listeners may change the tree: walk a copy, skipping nodes removed meanwhile.
  std::vector<std::shared_ptr<NodeProtocol>> live;
  live.reserve(nodes.size());
  for (const auto& [id, node] : nodes) live.push_back(node);
  for (const auto& node : live) {
    if (node->show) node->applyFrame();
  }
}

void UIScreen::vlistMount(NodeVList& list, const std::string& key, const ScriptValue& subtree) {
  if (!subtree.isObject()) return;
  // A key mounted again replaces its item: the core frees the old root with the new one.
  list.unmountItem(key);
  YGNodeRef root = vlistCreateItemRoot(list.nodePtr(), key.c_str());
  if (!root) return;
  const std::shared_ptr<NodeProtocol> content = addNodeRecursive(subtree, root, 0);
  list.addItem(key, root, content->viewPtr(), subtree);
  vlistItemMounted(list.nodePtr(), key.c_str());
  applyFramesForSubtree(subtree);
}

void UIScreen::applyFramesForSubtree(const ScriptValue& node) {
  const uint64_t id = scriptNodeId(node);
  if (id == 0) return;
  if (NodeProtocol* found = this->node(id)) found->applyFrame();
  forEachChildObject(node, [this](const ScriptValue& child) { applyFramesForSubtree(child); });
}

void UIScreen::invokeOnOpen() {
  show = true;
  const ScriptValue listeners = nodeJS.get("ol");
  if (listeners.isArray()) call_list(listeners, {});
}

void UIScreen::invokeOnClose() {
  show = false;
  const ScriptValue listeners = nodeJS.get("cl");
  if (listeners.isArray()) call_list(listeners, {});
}

}  // namespace talvero
