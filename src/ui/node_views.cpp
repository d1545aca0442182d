#include "ui/node_views.h"

#include "ui/ui_store.h"

namespace talvero {

Node::Node(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store), type(type) {}

toolkit::View* Node::hitTest(toolkit::Point pointInSuperview) {
  if (!extras.userInteractionEnabled) return nullptr;
  toolkit::View* hit = View::hitTest(pointInSuperview);
  return hit == this ? nullptr : hit;
}

NodeScreen::NodeScreen(const std::string&, YGNodeRef nodePtr, ScriptValue script,
                       CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store) {}

NodeScreen::~NodeScreen() = default;

toolkit::View* NodeScreen::hitTest(toolkit::Point pointInSuperview) {
  toolkit::View* hit = View::hitTest(pointInSuperview);
  return hit == this && !interactive ? nullptr : hit;
}

NodeWidget::NodeWidget(const std::string& type, YGNodeRef nodePtr, ScriptValue script,
                       CreatorUIStore& store)
    : NodeScreen(type, nodePtr, std::move(script), store) {}

NodeButton::NodeButton(const std::string&, YGNodeRef nodePtr, ScriptValue script,
                       CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store) {}

toolkit::View* NodeButton::hitTest(toolkit::Point pointInSuperview) {
  if (!extras.userInteractionEnabled || isHidden()) return nullptr;
  return frame().contains(pointInSuperview) ? this : nullptr;
}

void NodeButton::mouseDown(toolkit::Point) {}
void NodeButton::mouseDragged(toolkit::Point) {}
void NodeButton::mouseUp(toolkit::Point) {}
void NodeButton::emitClick() {}
void NodeButton::setPressed(bool) {}

toolkit::View* WidgetHost::hitTest(toolkit::Point pointInSuperview) {
  toolkit::View* hit = View::hitTest(pointInSuperview);
  return hit == this && !interceptsTaps ? nullptr : hit;
}

void WidgetHost::mouseDown(toolkit::Point) {}
void WidgetHost::mouseUp(toolkit::Point) {}

ScreenTouchHandler::ScreenTouchHandler(std::weak_ptr<toolkit::View> view, ScriptValue nodeJS,
                                       CreatorUIStore& store)
    : pointerId(0), view_(std::move(view)), nodeJS_(std::move(nodeJS)), store_(store) {}

ScreenTouchHandler::~ScreenTouchHandler() = default;

}  // namespace talvero
