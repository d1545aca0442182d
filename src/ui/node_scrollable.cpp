#include "ui/node_scrollable.h"

#include <algorithm>

#include "platform/dispatch/main_queue.h"
#include "runtime/value_helpers.h"

namespace talvero {

namespace {

toolkit::ScrollAxis toolkitAxis(Axis axis) {
  switch (axis) {
    case Axis::horizontal:
      return toolkit::ScrollAxis::Horizontal;
    case Axis::both:
      return toolkit::ScrollAxis::Both;
    case Axis::vertical:
      break;
  }
  return toolkit::ScrollAxis::Vertical;
}

}  // namespace

NodeScrollable::NodeScrollable(const std::string&, YGNodeRef nodePtr, ScriptValue script,
                               CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store),
      scrollView(std::make_shared<toolkit::ScrollView>()),
      docView(std::make_shared<FlippedDocumentView>()) {
  scrollView->setDocumentView(docView);
  scrollView->setAxis(toolkit::ScrollAxis::Vertical);
  scrollView->setShowsScrollbars(showScrollbar);
  scrollView->setOnScroll([this](toolkit::Point offset) { scrolled(offset); });
  scrollView->setOnScrollEnd([this] {
    if (show) dispatchListeners("ssl", {});
  });
  addSubview(scrollView);
}

NodeScrollable::~NodeScrollable() {
  scrollView->setOnScroll(nullptr);
  scrollView->setOnScrollEnd(nullptr);
}

void NodeScrollable::applyFrame() {
  NodeProtocol::applyFrame();
  if (scrollView->frame() != bounds()) scrollView->setFrame(bounds());
  scheduleContentSizeUpdate();
}

int NodeScrollable::scrollAxis() const {
  switch (axis) {
    case Axis::horizontal:
      return 2;
    case Axis::both:
      return 3;
    case Axis::vertical:
      break;
  }
  return 1;
}

void NodeScrollable::setScrollAxis(int value) {
  axis = value == 2 ? Axis::horizontal : value == 3 ? Axis::both : Axis::vertical;
  scrollView->setAxis(toolkitAxis(axis));
  // The scroller of each scrolling axis shows, or none does; scrolling works either way.
  scrollView->setShowsScrollbars(showScrollbar);
  scheduleContentSizeUpdate();
}

void NodeScrollable::scheduleContentSizeUpdate() {
  if (contentSizeScheduled) return;
  contentSizeScheduled = true;
  std::weak_ptr<toolkit::View> weak = weak_from_this();
  dispatch::post([weak] {
    const std::shared_ptr<toolkit::View> view = weak.lock();
    auto* self = dynamic_cast<NodeScrollable*>(view.get());
    if (!self) return;
    self->contentSizeScheduled = false;
    self->updateContentSize();
  });
}

void NodeScrollable::updateContentSize() {
  const toolkit::Rect box = bounds();
  double width = box.width();
  double height = box.height();
  for (const auto& child : docView->subviews()) {
    if (child->isHidden()) continue;
    const toolkit::Rect frame = child->frame();
    width = std::max(width, frame.x() + frame.width());
    height = std::max(height, frame.y() + frame.height());
  }
  if (axis == Axis::vertical) width = box.width();
  if (axis == Axis::horizontal) height = box.height();
  const toolkit::Size size{width, height};
  if (docView->frame().size != size) docView->setFrame({{0, 0}, size});
}

void NodeScrollable::didScroll(double) {}

double NodeScrollable::debugScroll(double to) {
  scrollView->scrollToPoint(axis == Axis::horizontal ? toolkit::Point{to, 0}
                                                     : toolkit::Point{0, to});
  const toolkit::Point offset = scrollView->contentOffset();
  return axis == Axis::horizontal ? offset.x : offset.y;
}

void NodeScrollable::scrolled(toolkit::Point offset) {
  // A removed node's view may still move until its parent lets it go.
  if (!show) return;
  // The listeners may take the node off its screen while it is still reporting.
  const std::shared_ptr<toolkit::View> keepAlive = weak_from_this().lock();
  const double value = axis == Axis::horizontal ? offset.x : offset.y;
  dispatchListeners("sl", {value});
  if (show) didScroll(value);
}

void NodeScrollable::dispatchListeners(const std::string& key,
                                       const std::vector<NativeValue>& args) {
  const ScriptValue listeners = script().get(key);
  if (listeners.isArray() && listeners.get("length").toUInt32() > 0) call_list(listeners, args);
}

}  // namespace talvero
