#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/toolkit/scroll_view.h"
#include "ui/node.h"
#include "ui/style_capabilities.h"

namespace talvero {

// The plain view that holds a scroll container's children and moves under it. Views here have
// their origin at the top left already, so it needs nothing beyond a view.
using FlippedDocumentView = toolkit::View;

enum class Axis { vertical, horizontal, both };

// A node whose children move under its fixed frame: a "scrollable", a "screen" with
// `scrollable`, and virtual lists. The layout core lays the children out as in any container;
// the extent to scroll through is taken from their frames. The node's own view holds only
// `scrollView`, whose document view `docView` holds the children's views.
//
// Script listeners, read from the script object at each event: `sl` gets the offset on the
// axis after every move (y when both axes scroll), `ssl` gets nothing when a scroll by the user
// has come to rest.
class NodeScrollable : public NodeView<toolkit::View>, public NodeScrolling {
 public:
  NodeScrollable(const std::string& type, YGNodeRef nodePtr, ScriptValue script,
                 CreatorUIStore& store);
  ~NodeScrollable() override;

  std::shared_ptr<toolkit::View> childContainer() override { return docView; }
  // The common frame update, then always: the scroll view fills the bounds and the content
  // size is brought up to date.
  void applyFrame() override;

  int scrollAxis() const override;
  // 2 horizontal, 3 both, anything else vertical; the scrollers follow `showScrollbar`.
  void setScrollAxis(int axis) override;

  // Queues one `updateContentSize` on the main queue: the children of one flush cost one
  // update, made after their frames are set.
  void scheduleContentSizeUpdate();
  // The document reaches the right and bottom edges of the children that are shown, and is
  // never smaller than the view; across the scroll direction it keeps the view's size.
  virtual void updateContentSize();
  // Every move of the visible area, with the offset on the axis.
  virtual void didScroll(double offset);
  // Scrolls to `to` on the axis, for runs without a user; the offset reached.
  double debugScroll(double to);

  const std::shared_ptr<toolkit::ScrollView> scrollView;
  const std::shared_ptr<FlippedDocumentView> docView;
  Axis axis = Axis::vertical;
  bool contentSizeScheduled = false;

 private:
  void scrolled(toolkit::Point offset);
  // Calls the listeners of the array under `key` of the script object, if there are any.
  void dispatchListeners(const std::string& key, const std::vector<NativeValue>& args);
};

}  // namespace talvero
