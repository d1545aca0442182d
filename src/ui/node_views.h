#pragma once

#include <memory>
#include <string>

#include "platform/toolkit/events.h"
#include "platform/toolkit/view.h"
#include "ui/capabilities.h"
#include "ui/node.h"

namespace talvero {

class ScreenTouchHandler;

// Every node class is made as `std::make_shared<Class>(type, nodePtr, script, store)`, after
// the native node exists and before its style is applied.
//
// A press asks the script whether it wants the touch: `_emitTouchStart(pointerId, x, y)` on the
// node's script object gives the touch's handler (with `onMove`, `onEnd`) or null. Points given
// to the script are in the coordinates of the window's content view, top-left origin.

// The plain container. It never takes a press itself: only its children can be hit. A "box"
// centres its children, a "row" lays them out in a row and a "spacer" is an invisible filler.
class Node : public NodeView<toolkit::View> {
 public:
  Node(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);
  toolkit::View* hitTest(toolkit::Point pointInSuperview) override;
  const std::string type;
};

// A screen's root. With `_interactive` it takes the presses that land on it and follows them
// with its own pointer id, whatever view below takes them too.
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
// release inside. Its children never get a press.
class NodeButton : public NodeView<toolkit::View>, public NodeTransition {
 public:
  NodeButton(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);
  toolkit::View* hitTest(toolkit::Point pointInSuperview) override;
  void mouseDown(toolkit::Point point) override;
  void mouseDragged(toolkit::Point point) override;
  void mouseUp(toolkit::Point point) override;
  // A press and a click at the middle of the bounds, for runs without a user.
  void emitClick();
  // Switches the `onPressed` style layer, over `duration` when it is above zero.
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
// press before the views do and always lets it go on, so the buttons and scroll views under
// the root keep working.
class ScreenTouchHandler : public std::enable_shared_from_this<ScreenTouchHandler> {
 public:
  // Takes the next pointer id (1000 and up, never reused) and installs the monitor.
  static std::shared_ptr<ScreenTouchHandler> create(toolkit::View& view, ScriptValue nodeJS,
                                                    CreatorUIStore& store);
  ~ScreenTouchHandler();
  ScreenTouchHandler(const ScreenTouchHandler&) = delete;
  ScreenTouchHandler& operator=(const ScreenTouchHandler&) = delete;

  void handle(const toolkit::MouseEvent& event);
  // Called by the view as it goes away: a handler that a running event still holds must not
  // reach it after that.
  void forgetView() { view_ = nullptr; }

  const int64_t pointerId;
  bool tracking = false;

 private:
  ScreenTouchHandler(toolkit::View& view, ScriptValue nodeJS, CreatorUIStore& store);

  toolkit::View* view_;
  ScriptValue nodeJS_;
  CreatorUIStore& store_;
  int monitor_ = 0;
};

}  // namespace talvero
