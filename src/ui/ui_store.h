#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/script/script_context.h"
#include "platform/script/script_value.h"
#include "platform/toolkit/geometry.h"
#include "platform/toolkit/view.h"
#include "ui/ui_screen.h"

namespace talvero {

class CanvasSurfaceSource;
class WidgetHost;

// One touch in progress: the script's handler object and where the pointer was last.
struct TrackHandler {
  ScriptValue handler;
  bool hasMove = false;
  toolkit::Point lastLocation;
};

// Pointer ids of the touch sources.
inline constexpr int64_t kScenePointerId = 0;
inline constexpr int64_t kButtonPointerId = 1;
inline constexpr int64_t kFirstScreenPointerId = 1000;
inline constexpr int64_t kDebugDragPointerId = 2000;

// What the native UI shows: the current screen, the router's stack, the open widgets, the
// display size and the touches in progress. One per engine; the host gives it its callbacks
// and owns the window. Main thread only.
class CreatorUIStore {
 public:
  CreatorUIStore();
  ~CreatorUIStore();
  CreatorUIStore(const CreatorUIStore&) = delete;
  CreatorUIStore& operator=(const CreatorUIStore&) = delete;

  // Host slots.
  std::function<void(std::shared_ptr<toolkit::View>)> onScreenOpen;
  std::function<void()> onScreenClose;
  std::function<void(const std::string&, int32_t)> onToast;
  std::function<void(std::shared_ptr<toolkit::View>)> onWidgetOpen;
  std::function<void(std::shared_ptr<toolkit::View>)> onWidgetClose;
  std::map<uint64_t, std::shared_ptr<WidgetHost>> widgetHosts;
  std::map<uint64_t, std::shared_ptr<UIScreen>> widgetScreensById;
  std::function<void()> onOpenScene;
  std::function<void()> onCloseScene;
  std::function<std::shared_ptr<toolkit::View>()> onGetGLView;
  bool readyToRender = false;
  bool renderPaused = false;
  uint32_t displayWidth = 0;
  uint32_t displayHeight = 0;
  bool glCaptureSupport = false;
  ScriptValue onResizeCallback;
  ScriptValue onTouchStartCallback;
  ScriptValue onTouchEndCallback;
  std::shared_ptr<UIScreen> currentScreen;
  std::vector<std::shared_ptr<UIScreen>> navStack;
  ScriptValue navOnChange;
  int screenTransition = 0;
  std::function<void()> onOpen2dScene;
  std::function<void()> onClose2dScene;
  std::map<int64_t, TrackHandler> trackHandlers;
  std::set<uint64_t> pressedButtons;
  // The engine's canvas surfaces, for image nodes; not owned, null until the engine sets it.
  const CanvasSurfaceSource* canvasHandler = nullptr;

  // Process-wide: every screen and widget ever opened (the position is the id), the overlay
  // colours of widget roots, and the store made last.
  static std::vector<std::shared_ptr<UIScreen>>& screens();
  static std::vector<std::shared_ptr<UIScreen>>& widgets();
  static std::map<uint64_t, toolkit::Color>& widgetOverlayColors();
  static CreatorUIStore* active();

  static int32_t pushScreen(std::shared_ptr<UIScreen> screen);
  static int32_t pushWidget(std::shared_ptr<UIScreen> screen);
  static std::shared_ptr<UIScreen> getScreen(int32_t screenId);
  static std::shared_ptr<UIScreen> getNodeScreen(uint64_t id);
  static NodeProtocol* getNode(uint64_t id);
  // The text value of an input node; nothing for other nodes.
  static std::optional<std::string> getTextValue(uint64_t id);

  void setSize(float width, float height);
  void setInsets(float top, float right, float bottom, float left);
  void layoutAllWidgets();

  void openScreen(const ScriptValue& node);
  void closeScreen();
  void recreateView();
  void routerOpen(const ScriptValue& node, const ScriptValue& onChange);
  void routerPush(const ScriptValue& node);
  void routerReplace(const ScriptValue& node);
  void routerPop(int64_t delta);
  void routerHide();
  void routerRestore();
  void showWidget(const ScriptValue& node);
  void hideWidget(const ScriptValue& node);

  // Asks the script for a touch's handler: a result that is not null is tracked under the
  // pointer id, replacing an earlier touch of that pointer.
  void trackTouch(int64_t pointerId, const ScriptValue& handler, toolkit::Point location);
  void onTouchMove(int64_t pointerId, toolkit::Point point);
  void onTouchEnd(int64_t pointerId, toolkit::Point point);

  void refreshFonts();
  void releaseInputCallbacks(const ScriptContext& context);

  // Driving operations for the self-test modes: each gives false when it finds nothing to do.
  bool debugDragGL(float fromX, float fromY, float toX, float toY);
  bool debugScreenDrag(float fromX, float fromY, float toX, float toY);
  bool debugClickFirstButton();
  // Types into the first single-line input of the current screen, else into its first text
  // area, and gives the text read back; nothing when the screen has neither.
  std::optional<std::string> debugTypeFirstInput(const std::string& text);
  bool debugDismissFirstWidget();
  // Scrolls the first scrollable of the current screen to `to`: the offset reached, or nothing
  // without one.
  std::optional<double> debugScrollFirst(double to);

 private:
  void mountTop();
  void notifyRouterChange();
  std::shared_ptr<UIScreen> newRouterScreen(const ScriptValue& node);
  void dropScreen(UIScreen& screen);
  bool dragThrough(int64_t pointerId, float fromX, float fromY, float toX, float toY);
};

}  // namespace talvero
