#include "ui/node_views.h"

#include "platform/toolkit/window.h"
#include "runtime/value_helpers.h"
#include "style_core/style_core.h"
#include "ui/node_animation.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

int64_t nextPointerId = kFirstScreenPointerId;

const toolkit::View* rootOf(const toolkit::View& view) {
  const toolkit::View* root = &view;
  while (root->superview()) root = root->superview();
  return root;
}

// A point of the view's bounds in the coordinates of the root of its tree: the window's
// content view once the view is on screen.
toolkit::Point inWindow(const toolkit::View& view, toolkit::Point local) {
  return rootOf(view)->convertPoint(local, &view);
}

void centreChildren(YGNodeRef nodePtr) {
  setString(nodePtr, "alignItems", "center");
  setString(nodePtr, "justifyContent", "center");
}

// Before anything else of the widget root, so that its own style can still override it.
YGNodeRef placedAbsolutely(YGNodeRef nodePtr) {
  setString(nodePtr, "position", "absolute");
  return nodePtr;
}

}  // namespace

// ---- Node ----------------------------------------------------------------------------------

Node::Node(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store), type(type) {
  layer().setContentsGravity(toolkit::ContentsGravity::ResizeAspectFill);
  if (type == "box") {
    centreChildren(nodePtr);
  } else if (type == "row") {
    setString(nodePtr, "flexDirection", "row");
  } else if (type == "spacer") {
    setFloat(nodePtr, "flexGrow", 1);
    setHidden(true);
  }
}

toolkit::View* Node::hitTest(toolkit::Point pointInSuperview) {
  if (!extras.userInteractionEnabled) return nullptr;
  toolkit::View* hit = View::hitTest(pointInSuperview);
  return hit == this ? nullptr : hit;
}

// ---- Screens and widgets -------------------------------------------------------------------

NodeScreen::NodeScreen(const std::string&, YGNodeRef nodePtr, ScriptValue script,
                       CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store) {
  layer().setContentsGravity(toolkit::ContentsGravity::ResizeAspectFill);
  if (this->script().get("_interactive").toBool()) {
    extras.userInteractionEnabled = true;
    interactive = true;
    touchHandler = ScreenTouchHandler::create(*this, this->script(), store);
  }
}

NodeScreen::~NodeScreen() {
  if (touchHandler) touchHandler->forgetView();
}

toolkit::View* NodeScreen::hitTest(toolkit::Point pointInSuperview) {
  toolkit::View* hit = View::hitTest(pointInSuperview);
  return hit == this && !interactive ? nullptr : hit;
}

NodeWidget::NodeWidget(const std::string& type, YGNodeRef nodePtr, ScriptValue script,
                       CreatorUIStore& store)
    : NodeScreen(type, placedAbsolutely(nodePtr), std::move(script), store) {}

// ---- Buttons -------------------------------------------------------------------------------

NodeButton::NodeButton(const std::string&, YGNodeRef nodePtr, ScriptValue script,
                       CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store) {
  extras.userInteractionEnabled = true;
  centreChildren(nodePtr);
}

toolkit::View* NodeButton::hitTest(toolkit::Point pointInSuperview) {
  if (!extras.userInteractionEnabled || isHidden()) return nullptr;
  return frame().contains(pointInSuperview) ? this : nullptr;
}

void NodeButton::mouseDown(toolkit::Point point) {
  const toolkit::Point at = inWindow(*this, point);
  store().pressedButtons.insert(nodeId());
  const ScriptValue handler =
      invokeIfPresent(script(), "_emitTouchStart", {kButtonPointerId, at.x, at.y});
  store().trackTouch(kButtonPointerId, handler, at);
  setPressed(true);
}

void NodeButton::mouseDragged(toolkit::Point point) {
  store().onTouchMove(kButtonPointerId, inWindow(*this, point));
}

void NodeButton::mouseUp(toolkit::Point point) {
  // The click may take the button off its screen; the view itself must outlive this call.
  const std::shared_ptr<toolkit::View> keepAlive = weak_from_this().lock();
  const toolkit::Point at = inWindow(*this, point);
  store().pressedButtons.erase(nodeId());
  store().onTouchEnd(kButtonPointerId, at);
  if (bounds().contains(point))
    invokeIfPresent(script(), "_emitClick", {kButtonPointerId, at.x, at.y});
  setPressed(false);  // leaves a button that the click removed alone
}

void NodeButton::emitClick() {
  const toolkit::Rect box = bounds();
  const toolkit::Point at =
      inWindow(*this, {box.x() + box.width() / 2, box.y() + box.height() / 2});
  invokeIfPresent(script(), "_emitTouchStart", {kButtonPointerId, at.x, at.y});
  invokeIfPresent(script(), "_emitClick", {kButtonPointerId, at.x, at.y});
}

void NodeButton::setPressed(bool pressed) {
  // A removed button's native node is freed: its layers are gone with it. An animated change
  // may run later, so it looks again then.
  if (!show) return;
  std::weak_ptr<toolkit::View> weak = weak_from_this();
  runNodeTransition(*this, [weak, pressed] {
    const std::shared_ptr<toolkit::View> view = weak.lock();
    NodeProtocol* button = view ? asNode(view.get()) : nullptr;
    if (!button || !button->show) return;
    if (pressed) {
      enableNodeLayer(button->nodePtr(), kPressedLayer);
    } else {
      disableNodeLayer(button->nodePtr(), kPressedLayer);
    }
  });
}

// ---- Widget hosts --------------------------------------------------------------------------

toolkit::View* WidgetHost::hitTest(toolkit::Point pointInSuperview) {
  toolkit::View* hit = View::hitTest(pointInSuperview);
  return hit == this && !interceptsTaps ? nullptr : hit;
}

void WidgetHost::mouseDown(toolkit::Point) {
  if (!bornMidPress) pressedInBackdrop = true;
}

void WidgetHost::mouseUp(toolkit::Point point) {
  if (bornMidPress) {
    // The release of the press that opened the widget must not dismiss it.
    bornMidPress = false;
    pressedInBackdrop = false;
    return;
  }
  if (!pressedInBackdrop) return;
  pressedInBackdrop = false;
  for (const auto& content : subviews()) {
    if (!content->isHidden() && content->frame().contains(point)) return;
  }
  // The listeners decide whether the widget goes; they may free this host.
  const ScriptValue listeners = otl;
  if (listeners.isArray() && listeners.get("length").toUInt32() > 0) call_list(listeners, {});
}

// ---- Touch tracking over interactive roots -------------------------------------------------

ScreenTouchHandler::ScreenTouchHandler(toolkit::View& view, ScriptValue nodeJS,
                                       CreatorUIStore& store)
    : pointerId(nextPointerId++), view_(&view), nodeJS_(std::move(nodeJS)), store_(store) {}

std::shared_ptr<ScreenTouchHandler> ScreenTouchHandler::create(toolkit::View& view,
                                                               ScriptValue nodeJS,
                                                               CreatorUIStore& store) {
  std::shared_ptr<ScreenTouchHandler> handler(
      new ScreenTouchHandler(view, std::move(nodeJS), store));
  // Held weakly: the monitor must not keep the handler, and through it the script object,
  // alive once the view has let it go.
  std::weak_ptr<ScreenTouchHandler> weak = handler;
  handler->monitor_ = toolkit::addMouseMonitor([weak](const toolkit::MouseEvent& event) {
    if (auto self = weak.lock()) self->handle(event);
    return true;
  });
  return handler;
}

ScreenTouchHandler::~ScreenTouchHandler() {
  toolkit::removeMouseMonitor(monitor_);
}

void ScreenTouchHandler::handle(const toolkit::MouseEvent& event) {
  using Kind = toolkit::MouseEventKind;
  const toolkit::View* content = event.window ? event.window->contentView().get() : nullptr;
  if (!view_ || !content || rootOf(*view_) != content) {
    if (tracking && event.kind == Kind::LeftUp) tracking = false;
    return;
  }
  const toolkit::Point at = event.locationInWindow;
  switch (event.kind) {
    case Kind::LeftDragged:
      if (tracking) store_.onTouchMove(pointerId, at);
      return;
    case Kind::LeftUp:
      if (tracking) {
        tracking = false;
        store_.onTouchEnd(pointerId, at);
      }
      return;
    case Kind::LeftDown:
      break;
  }
  const toolkit::View* hit = event.window->contentView()->hitTest(at);
  if (!hit || !hit->isDescendantOf(view_)) return;
  const ScriptValue handler = invokeIfPresent(nodeJS_, "_emitTouchStart", {pointerId, at.x, at.y});
  if (handler.empty()) {
    tracking = false;
    return;
  }
  store_.trackTouch(pointerId, handler, at);
  tracking = !handler.isNull();
}

}  // namespace talvero
