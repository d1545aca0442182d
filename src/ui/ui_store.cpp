#include "ui/ui_store.h"

#include <algorithm>
#include <functional>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/events.h"
#include "platform/toolkit/scroll_view.h"
#include "platform/toolkit/window.h"
#include "runtime/log.h"
#include "runtime/value_helpers.h"
#include "style_core/style_core.h"
#include "ui/capabilities.h"
#include "ui/node_input.h"
#include "ui/node_views.h"
#include "ui/node_vlist.h"
#include "ui/style_dispatch.h"

namespace talvero {

namespace {

CreatorUIStore* activeStore = nullptr;

// Views need a display; a script run without one (`--run` on a bare console) keeps running
// with a UI that shows nothing, and is told so once.
bool viewsAvailable() {
  if (toolkit::toolkitReady()) return true;
  static bool warned = false;
  if (!warned) logLine("[WARN] no display: _creatorUI screens and widgets are not built");
  warned = true;
  return false;
}

// At once on the main thread, else queued to it.
void onMainThread(std::function<void()> work) {
  if (dispatch::isMainThread()) {
    work();
  } else {
    dispatch::post(std::move(work));
  }
}

uint64_t measureEntry(int32_t screenId, YGNodeRef nodePtr, float width, uint8_t widthMode,
                      float height, uint8_t heightMode) {
  const std::shared_ptr<UIScreen> screen = CreatorUIStore::getScreen(screenId);
  NodeProtocol* node = screen ? screen->node(reinterpret_cast<uintptr_t>(nodePtr)) : nullptr;
  if (!node) return packMeasuredSize(width, height);
  return node->measure(width, widthMode, height, heightMode);
}

// The touch event object of a move or an end.
NativeValue touchEvent(toolkit::Point point, toolkit::Point last) {
  return NativeValue::Dict{{"clientX", point.x},
                           {"clientY", point.y},
                           {"deltaX", point.x - last.x},
                           {"deltaY", point.y - last.y}};
}

// The first view of a class in a view tree, depth first in view order, looking into the
// documents of scroll views too.
template <class ViewClass>
ViewClass* firstOfClass(toolkit::View& view) {
  if (auto* found = dynamic_cast<ViewClass*>(&view)) return found;
  for (const auto& child : view.subviews()) {
    if (ViewClass* found = firstOfClass<ViewClass>(*child)) return found;
  }
  if (auto* scroller = dynamic_cast<toolkit::ScrollView*>(&view)) {
    if (scroller->documentView()) return firstOfClass<ViewClass>(*scroller->documentView());
  }
  return nullptr;
}

}  // namespace

CreatorUIStore::CreatorUIStore() {
  activeStore = this;
  setMeasureFunc(&measureEntry);
  registerStyleHandlers();
  setVListHandlers(&vlSyncHandler, &vlAdjustHandler, &vlEdgeHandler);
}

CreatorUIStore::~CreatorUIStore() {
  if (activeStore == this) activeStore = nullptr;
}

std::vector<std::shared_ptr<UIScreen>>& CreatorUIStore::screens() {
  static auto* list = new std::vector<std::shared_ptr<UIScreen>>();
  return *list;
}

std::vector<std::shared_ptr<UIScreen>>& CreatorUIStore::widgets() {
  static auto* list = new std::vector<std::shared_ptr<UIScreen>>();
  return *list;
}

std::map<uint64_t, toolkit::Color>& CreatorUIStore::widgetOverlayColors() {
  static auto* colours = new std::map<uint64_t, toolkit::Color>();
  return *colours;
}

CreatorUIStore* CreatorUIStore::active() {
  return activeStore;
}

int32_t CreatorUIStore::pushScreen(std::shared_ptr<UIScreen> screen) {
  screens().push_back(std::move(screen));
  return static_cast<int32_t>(screens().size() - 1);
}

int32_t CreatorUIStore::pushWidget(std::shared_ptr<UIScreen> screen) {
  widgets().push_back(std::move(screen));
  return -static_cast<int32_t>(widgets().size());
}

std::shared_ptr<UIScreen> CreatorUIStore::getScreen(int32_t screenId) {
  if (screenId < 0) {
    const size_t index = static_cast<size_t>(-(static_cast<int64_t>(screenId) + 1));
    return index < widgets().size() ? widgets()[index] : nullptr;
  }
  const auto index = static_cast<size_t>(screenId);
  return index < screens().size() ? screens()[index] : nullptr;
}

std::shared_ptr<UIScreen> CreatorUIStore::getNodeScreen(uint64_t id) {
  if (id == 0) return nullptr;
  for (const auto* list : {&screens(), &widgets()}) {
    for (const auto& screen : *list) {
      if (screen && screen->node(id)) return screen;
    }
  }
  return nullptr;
}

NodeProtocol* CreatorUIStore::getNode(uint64_t id) {
  const std::shared_ptr<UIScreen> screen = getNodeScreen(id);
  return screen ? screen->node(id) : nullptr;
}

std::optional<std::string> CreatorUIStore::getTextValue(uint64_t id) {
  if (auto* value = dynamic_cast<NodeTextValue*>(getNode(id))) return value->textValue();
  return std::nullopt;
}

void CreatorUIStore::setSize(float width, float height) {
  displayWidth = static_cast<uint32_t>(std::max(0.0f, width));
  displayHeight = static_cast<uint32_t>(std::max(0.0f, height));
  setConditionValue(width, height);
  if (!onResizeCallback.empty()) onResizeCallback.call({width, height});
}

void CreatorUIStore::setInsets(float top, float right, float bottom, float left) {
  setSafePaddings(nullptr, top, right, bottom, left);
}

void CreatorUIStore::layoutAllWidgets() {
  if (displayWidth == 0 || displayHeight == 0) return;
  const auto width = static_cast<float>(displayWidth);
  const auto height = static_cast<float>(displayHeight);
  // Layout listeners may close widgets: walk a copy.
  const auto screens = widgetScreensById;
  for (const auto& [id, screen] : screens) {
    const auto host = widgetHosts.find(id);
    if (host == widgetHosts.end()) continue;
    host->second->setFrame({{0, 0}, {width, height}});
    screen->calculateLayout(width, height);
  }
}

void CreatorUIStore::openScreen(const ScriptValue& node) {
  if (!viewsAvailable()) return;
  if (currentScreen) {
    screens().clear();
    currentScreen->invokeOnClose();
    currentScreen->removeSelf();
    currentScreen.reset();
  }
  auto screen = std::make_shared<UIScreen>(*this);
  const int32_t id = pushScreen(screen);
  onMainThread([this, screen, id, node] {
    currentScreen = screen;
    screen->build(id, node);
    screen->invokeOnOpen();
    recreateView();
  });
}

void CreatorUIStore::closeScreen() {
  if (currentScreen) {
    currentScreen->invokeOnClose();
    currentScreen->removeSelf();
    currentScreen.reset();
  }
  dispatch::post([this] {
    if (onScreenClose) onScreenClose();
  });
}

void CreatorUIStore::recreateView() {
  if (currentScreen && currentScreen->rootNode && onScreenOpen) {
    onScreenOpen(currentScreen->rootNode->viewPtr());
  }
}

void CreatorUIStore::mountTop() {
  if (navStack.empty()) return;
  currentScreen = navStack.back();
  recreateView();
}

void CreatorUIStore::notifyRouterChange() {
  if (navOnChange.empty() || navStack.empty() || navStack.back()->nodeJS.empty()) return;
  navOnChange.call({navStack.back()->nodeJS});
}

std::shared_ptr<UIScreen> CreatorUIStore::newRouterScreen(const ScriptValue& node) {
  auto screen = std::make_shared<UIScreen>(*this);
  screen->build(pushScreen(screen), node);
  screen->invokeOnOpen();
  navStack.push_back(screen);
  return screen;
}

void CreatorUIStore::routerOpen(const ScriptValue& node, const ScriptValue& onChange) {
  if (!viewsAvailable()) return;
  onMainThread([this, node, onChange] {
    if (navStack.empty() && currentScreen) {
      currentScreen->invokeOnClose();
      currentScreen->removeSelf();
    }
    for (const auto& screen : navStack) screen->removeSelf();
    navStack.clear();
    navOnChange = onChange.isUndefined() ? ScriptValue() : onChange;
    newRouterScreen(node);
    mountTop();
    notifyRouterChange();
  });
}

void CreatorUIStore::routerPush(const ScriptValue& node) {
  if (!viewsAvailable()) return;
  onMainThread([this, node] {
    newRouterScreen(node);
    screenTransition = 1;
    mountTop();
    notifyRouterChange();
  });
}

void CreatorUIStore::routerReplace(const ScriptValue& node) {
  if (!viewsAvailable()) return;
  onMainThread([this, node] {
    std::shared_ptr<UIScreen> old;
    if (!navStack.empty()) {
      old = navStack.back();
      navStack.pop_back();
    }
    newRouterScreen(node);
    screenTransition = 1;
    mountTop();
    // After the new screen is mounted, so the host can still slide the old view out.
    if (old) old->removeSelf();
    notifyRouterChange();
  });
}

void CreatorUIStore::routerPop(int64_t delta) {
  onMainThread([this, delta] {
    const auto depth = static_cast<int64_t>(navStack.size());
    if (depth <= 1) return;
    const int64_t top = depth - 1;
    int64_t keep = 0;
    if (delta == -1) {
      keep = top - 1;
    } else if (delta < -1) {
      keep = std::max<int64_t>(top + delta, 0);
    } else if (delta > 0) {
      keep = std::min(delta, top);
    }
    if (keep == top) return;
    while (static_cast<int64_t>(navStack.size()) - 1 > keep) {
      std::shared_ptr<UIScreen> dropped = navStack.back();
      navStack.pop_back();
      dropped->removeSelf();
    }
    screenTransition = -1;
    mountTop();
    notifyRouterChange();
  });
}

void CreatorUIStore::routerHide() {
  dispatch::post([this] {
    if (onScreenClose) onScreenClose();
  });
}

void CreatorUIStore::routerRestore() {
  onMainThread([this] { mountTop(); });
}

void CreatorUIStore::showWidget(const ScriptValue& node) {
  if (!viewsAvailable()) return;
  onMainThread([this, node] {
    auto screen = std::make_shared<UIScreen>(*this, true);
    screen->build(pushWidget(screen), node);
    screen->show = true;
    if (!screen->rootNode) return;
    const uint64_t id = screen->rootNode->nodeId();
    auto host = std::make_shared<WidgetHost>();
    host->otl = getIfNotEmpty(node.get("otl"));
    host->bornMidPress = (toolkit::pressedMouseButtons() & 1) != 0;
    const auto overlay = widgetOverlayColors().find(id);
    if (overlay != widgetOverlayColors().end()) {
      host->layer().setBackgroundColor(overlay->second);
      host->interceptsTaps = true;
    } else {
      host->interceptsTaps = false;
    }
    host->addSubview(screen->rootNode->viewPtr());
    widgetHosts[id] = host;
    widgetScreensById[id] = screen;
    if (onWidgetOpen) onWidgetOpen(host);
    if (displayWidth != 0 && displayHeight != 0) {
      const auto width = static_cast<float>(displayWidth);
      const auto height = static_cast<float>(displayHeight);
      host->setFrame({{0, 0}, {width, height}});
      screen->calculateLayout(width, height);
    }
  });
}

void CreatorUIStore::hideWidget(const ScriptValue& node) {
  onMainThread([this, node] {
    const uint64_t id = scriptNodeId(node);
    const auto screen = widgetScreensById.find(id);
    if (id == 0 || screen == widgetScreensById.end()) return;
    const auto host = widgetHosts.find(id);
    if (host != widgetHosts.end() && onWidgetClose) onWidgetClose(host->second);
    screen->second->removeSelf();
    widgetHosts.erase(id);
    widgetScreensById.erase(id);
    widgetOverlayColors().erase(id);
    node.set("_id", 0);
  });
}

void CreatorUIStore::trackTouch(int64_t pointerId, const ScriptValue& handler,
                                toolkit::Point location) {
  if (handler.empty() || handler.isNull()) return;
  trackHandlers[pointerId] = TrackHandler{handler, handler.has("onMove"), location};
}

void CreatorUIStore::onTouchMove(int64_t pointerId, toolkit::Point point) {
  const auto found = trackHandlers.find(pointerId);
  if (found == trackHandlers.end() || !found->second.hasMove) return;
  const ScriptValue handler = found->second.handler;
  const toolkit::Point last = found->second.lastLocation;
  invokeIfPresent(handler, "onMove", {touchEvent(point, last)});
  // The listener may have ended or replaced the touch.
  const auto still = trackHandlers.find(pointerId);
  if (still != trackHandlers.end()) still->second.lastLocation = point;
}

void CreatorUIStore::onTouchEnd(int64_t pointerId, toolkit::Point point) {
  const auto found = trackHandlers.find(pointerId);
  if (found == trackHandlers.end()) return;
  const TrackHandler touch = found->second;
  trackHandlers.erase(found);
  invokeIfPresent(touch.handler, "onEnd", {touchEvent(point, touch.lastLocation)});
}

void CreatorUIStore::refreshFonts() {
  std::vector<std::shared_ptr<UIScreen>> open;
  if (currentScreen) open.push_back(currentScreen);
  for (const auto& [id, screen] : widgetScreensById) open.push_back(screen);
  for (const auto& screen : open) {
    const auto nodes = screen->nodes;
    for (const auto& [id, node] : nodes) {
      if (auto* text = dynamic_cast<NodeTextStyling*>(node.get())) text->reloadFont();
    }
    screen->scheduleFlush();
  }
}

void CreatorUIStore::releaseInputCallbacks(const ScriptContext& context) {
  for (ScriptValue* callback : {&onResizeCallback, &onTouchStartCallback, &onTouchEndCallback}) {
    if (!callback->empty() && callback->belongsTo(context)) *callback = ScriptValue();
  }
  std::erase_if(trackHandlers,
                [&context](const auto& entry) { return entry.second.handler.belongsTo(context); });
}

bool CreatorUIStore::dragThrough(int64_t pointerId, float fromX, float fromY, float toX,
                                 float toY) {
  const bool tracked = trackHandlers.count(pointerId) > 0;
  for (int step = 1; step <= 10; ++step) {
    const double t = step / 10.0;
    onTouchMove(pointerId, {fromX + (toX - fromX) * t, fromY + (toY - fromY) * t});
  }
  onTouchEnd(pointerId, {toX, toY});
  return tracked;
}

bool CreatorUIStore::debugDragGL(float fromX, float fromY, float toX, float toY) {
  if (onTouchStartCallback.empty()) return false;
  trackTouch(kScenePointerId, onTouchStartCallback.call({0, fromX, fromY, 0}), {fromX, fromY});
  return dragThrough(kScenePointerId, fromX, fromY, toX, toY);
}

bool CreatorUIStore::debugScreenDrag(float fromX, float fromY, float toX, float toY) {
  if (!currentScreen || currentScreen->nodeJS.empty()) return false;
  const ScriptValue handler = invokeIfPresent(currentScreen->nodeJS, "_emitTouchStart",
                                              {kDebugDragPointerId, fromX, fromY});
  trackTouch(kDebugDragPointerId, handler, {fromX, fromY});
  return dragThrough(kDebugDragPointerId, fromX, fromY, toX, toY);
}

bool CreatorUIStore::debugClickFirstButton() {
  if (!currentScreen || !currentScreen->rootNode) return false;
  NodeButton* button = firstOfClass<NodeButton>(currentScreen->rootNode->view());
  if (!button) return false;
  button->emitClick();
  return true;
}

std::optional<std::string> CreatorUIStore::debugTypeFirstInput(const std::string& text) {
  if (!currentScreen || !currentScreen->rootNode) return std::nullopt;
  toolkit::View& root = currentScreen->rootNode->view();
  if (auto* input = firstOfClass<NodeInput>(root)) {
    input->debugType(text);
    return input->textValue();
  }
  if (auto* area = firstOfClass<NodeTextArea>(root)) {
    area->debugType(text);
    return area->textValue();
  }
  return std::nullopt;
}

bool CreatorUIStore::debugDismissFirstWidget() {
  if (widgetHosts.empty()) return false;
  const ScriptValue listeners = widgetHosts.begin()->second->otl;
  if (!listeners.isArray() || listeners.get("length").toUInt32() == 0) return false;
  call_list(listeners, {});
  return true;
}

std::optional<double> CreatorUIStore::debugScrollFirst(double to) {
  if (!currentScreen || !currentScreen->rootNode) return std::nullopt;
  auto* scrollable = firstOfClass<NodeScrollable>(currentScreen->rootNode->view());
  if (!scrollable) return std::nullopt;
  return scrollable->debugScroll(to);
}

}  // namespace talvero
