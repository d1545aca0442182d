#include "ui/node_vlist.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "runtime/value_helpers.h"
#include "style_core/style_core.h"
#include "ui/ui_screen.h"
#include "ui/ui_store.h"
#include "ui/vlist_bridge.h"

namespace talvero {

namespace {

// Half a point or less is layout noise, not a new width.
constexpr float kWidthTolerance = 0.5f;

std::shared_ptr<NodeVList> listIn(const std::shared_ptr<UIScreen>& screen, uint64_t id) {
  if (!screen) return nullptr;
  const auto found = screen->nodes.find(id);
  if (found == screen->nodes.end()) return nullptr;
  return std::dynamic_pointer_cast<NodeVList>(found->second);
}

std::shared_ptr<NodeVList> listOf(int32_t screenId, YGNodeRef node) {
  return listIn(CreatorUIStore::getScreen(screenId), reinterpret_cast<uintptr_t>(node));
}

float numberOr(const ScriptValue& value, float fallback) {
  return value.isNumber() ? static_cast<float>(value.toDouble()) : fallback;
}

}  // namespace

NodeVList::NodeVList(const std::string& type, YGNodeRef nodePtr, ScriptValue script,
                     CreatorUIStore& store)
    : NodeScrollable(type, nodePtr, std::move(script), store) {
  setScrollAxis(1);
}

void NodeVList::setUp(UIScreen& owner, const ScriptValue& description) {
  ownerScreen = owner.weak_from_this();
  vlistInit(nodePtr(), description.get("_inverted").toBool(),
            numberOr(description.get("_overscan"), -1),
            numberOr(description.get("_startThreshold"), 0),
            numberOr(description.get("_endThreshold"), 0));
  const ScriptValue keys = description.get("_keys");
  if (keys.isArray() && keys.get("length").toUInt32() > 0) {
    VListBridge::setKeys(nodePtr(), keys, description.get("_estimates"));
  }
}

void NodeVList::applyFrame() {
  vlistUpdateLayout(nodePtr());
  // Mounting runs script, which may have removed the list.
  if (!show) return;
  NodeScrollable::applyFrame();
  const float width = YGNodeLayoutGetWidth(nodePtr());
  if (std::fabs(width - laidOutWidth_) > kWidthTolerance) {
    laidOutWidth_ = width;
    // The core has laid the mounted items out again at the new width; their views follow.
    // Layout listeners may change the items meanwhile: walk a copy.
    std::vector<ScriptValue> subtrees;
    for (const auto& [key, item] : items) subtrees.push_back(item.subtreeJS);
    if (auto owner = ownerScreen.lock()) {
      for (const ScriptValue& subtree : subtrees) owner->applyFramesForSubtree(subtree);
    }
  }
  refresh();
}

void NodeVList::updateContentSize() {
  if (show) sizeDocument();
}

void NodeVList::didScroll(double offset) {
  if (isAdjusting || offset < 0) return;
  vlistOnScroll(nodePtr(), static_cast<float>(offset));
  refresh();
}

void NodeVList::sizeDocument() {
  const toolkit::Size size{bounds().width(), getContentHeight(nodePtr())};
  if (docView->frame().size != size) docView->setFrame({{0, 0}, size});
}

void NodeVList::refresh() {
  // A list removed by the script that ran before this has no native node any more.
  if (!show) return;
  const double width = bounds().width();
  for (auto& [key, item] : items) {
    const float top = vlistOffsetOf(nodePtr(), key.c_str());
    if (std::isnan(top)) continue;
    const toolkit::Rect frame{{0, top}, {width, item.contentView->frame().height()}};
    if (item.wrapper->frame() != frame) item.wrapper->setFrame(frame);
    if (!item.placed) {
      item.placed = true;
      item.wrapper->setHidden(false);
    }
  }
  sizeDocument();
  if (pendingScrollY) {
    const double y = std::max(0.0, *std::exchange(pendingScrollY, std::nullopt));
    // The core knows this position already: the move must not come back to it as a scroll.
    isAdjusting = true;
    scrollView->scrollToPoint({0, y});
    isAdjusting = false;
  }
}

void NodeVList::addItem(const std::string& key, YGNodeRef rootPtr,
                        std::shared_ptr<toolkit::View> content, const ScriptValue& subtree) {
  auto wrapper = std::make_shared<FlippedDocumentView>();
  wrapper->setHidden(true);
  wrapper->addSubview(content);
  docView->addSubview(wrapper);
  items[key] = Item{rootPtr, std::move(wrapper), std::move(content), subtree, false};
}

void NodeVList::unmountItem(const std::string& key) {
  if (const auto found = items.find(key); found != items.end()) {
    const Item item = std::move(found->second);
    items.erase(found);
    item.wrapper->removeFromSuperview();
    if (auto owner = ownerScreen.lock()) owner->removeNodeRecursive(item.subtreeJS);
  }
  vlistItemUnmounted(nodePtr(), key.c_str());
}

void NodeVList::teardown() {
  std::vector<std::string> keys;
  keys.reserve(items.size());
  for (const auto& [key, item] : items) keys.push_back(key);
  for (const std::string& key : keys) unmountItem(key);
  vlistFree(nodePtr());
}

void NodeVList::scrollTo(double offset) {
  scrollView->scrollToPoint({0, std::max(0.0, offset)});
}

void vlSyncHandler(int32_t screenId, YGNodeRef node, const char** removed, int32_t removedCount,
                   const char** added, int32_t addedCount) {
  const std::shared_ptr<NodeVList> list = listOf(screenId, node);
  if (!list) return;
  NativeValue::Array removedKeys;
  NativeValue::Array addedKeys;
  for (int32_t i = 0; i < removedCount; ++i) {
    removedKeys.emplace_back(removed[i]);
    list->unmountItem(removed[i]);
  }
  for (int32_t i = 0; i < addedCount; ++i) addedKeys.emplace_back(added[i]);
  // The script answers within this call, mounting each added key through `vlistMount`.
  invokeIfPresent(list->script(), "_syncWindow",
                  {NativeValue(std::move(removedKeys)), NativeValue(std::move(addedKeys))});
  list->refresh();
}

void vlAdjustHandler(int32_t screenId, YGNodeRef node, float y) {
  if (const auto list = listOf(screenId, node)) list->pendingScrollY = y;
}

void vlEdgeHandler(int32_t screenId, YGNodeRef node, bool isEnd) {
  const auto list = listOf(screenId, node);
  if (!list) return;
  const ScriptValue listeners = list->script().get(isEnd ? "erl" : "strl");
  if (listeners.isArray()) call_list(listeners, {});
}

std::shared_ptr<NodeVList> findVList(const ScriptValue& list) {
  const uint64_t id = scriptNodeId(list);
  if (id == 0) return nullptr;
  return listIn(CreatorUIStore::getNodeScreen(id), id);
}

}  // namespace talvero
