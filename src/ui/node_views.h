#pragma once

#include <memory>
#include <string>

#include "platform/toolkit/view.h"
#include "ui/capabilities.h"
#include "ui/node.h"

namespace talvero {

class ScreenTouchHandler;

// Every node class is made as `std::make_shared<Class>(type, nodePtr, script, store)`, after
// the native node exists and before its style is applied.

// The plain container. It never takes a press itself: only its children can be hit.
class Node : public NodeView<toolkit::View> {
 public:
  Node(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);
  toolkit::View* hitTest(toolkit::Point pointInSuperview) override;
  const std::string type;
};

// A screen's root, which may take touches itself (`_interactive`).
class NodeScreen : public NodeView<toolkit::View> {
 public:
  NodeScreen(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);
  ~NodeScreen() override;
  toolkit::View* hitTest(toolkit::Point pointInSuperview) override;
  bool interactive = false;
  std::shared_ptr<ScreenTouchHandler> touchHandler;
};

// A widget's root: a screen root placed absolutely.
class NodeWidget : public NodeScreen {
 public:
  NodeWidget(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);
};

// A pressable container: touches under pointer 1, the pressed layer while held, a click on a
// release inside.
class NodeButton : public NodeView<toolkit::View>, public NodeTransition {
 public:
  NodeButton(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);
  toolkit::View* hitTest(toolkit::Point pointInSuperview) override;
  void mouseDown(toolkit::Point point) override;
  void mouseDragged(toolkit::Point point) override;
  void mouseUp(toolkit::Point point) override;
  // A press and a click at the middle of the bounds, as a user's would give.
  void emitClick();
  void setPressed(bool pressed);
};

// The full-window backdrop behind a widget: it may take the presses beside the widget's
// content (with an overlay colour) and tells the script of a tap on the backdrop.
class WidgetHost : public toolkit::View {
 public:
  toolkit::View* hitTest(toolkit::Point pointInSuperview) override;
  void mouseDown(toolkit::Point point) override;
  void mouseUp(toolkit::Point point) override;

  ScriptValue otl;  // overlay tap listeners
  bool interceptsTaps = true;
  bool pressedInBackdrop = false;
  bool bornMidPress = false;  // made while the left button was down: swallow that release
};

// Tracks a drag over an interactive root: an application-wide mouse monitor that sees every
// press before the views do and always lets it go on.
class ScreenTouchHandler {
 public:
  ScreenTouchHandler(std::weak_ptr<toolkit::View> view, ScriptValue nodeJS, CreatorUIStore& store);
  ~ScreenTouchHandler();
  ScreenTouchHandler(const ScreenTouchHandler&) = delete;
  ScreenTouchHandler& operator=(const ScreenTouchHandler&) = delete;

  const int64_t pointerId;
  bool tracking = false;

 private:
  std::weak_ptr<toolkit::View> view_;
  ScriptValue nodeJS_;
  CreatorUIStore& store_;
  int monitor_ = 0;
};

}  // namespace talvero
