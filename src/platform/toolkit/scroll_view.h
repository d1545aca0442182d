#pragma once

#include <functional>
#include <memory>

#include "platform/toolkit/view.h"

namespace talvero::toolkit {

enum class ScrollAxis { Vertical, Horizontal, Both };

// A view whose document view moves under its fixed bounds, scrolled by the user (wheel,
// touchpad, scrollbars) or by the program. The scroll range follows the document view's
// frame: its size on each scrolling axis, at least the visible size. Presses on the
// document's subviews reach them; the rest go to the platform's scroller.
class ScrollView : public View {
 public:
  ScrollView();
  ~ScrollView() override;

  // The document's frame origin is ignored: it always starts at the top-left of the range.
  // A document of another scroll view must be taken from it first.
  void setDocumentView(std::shared_ptr<View> document);
  const std::shared_ptr<View>& documentView() const { return document_; }

  // Only the axes named scroll; on the other the document is held to the visible size.
  void setAxis(ScrollAxis axis);
  ScrollAxis axis() const { return axis_; }
  // Hidden scrollbars leave scrolling working.
  void setShowsScrollbars(bool shows);
  bool showsScrollbars() const { return showsScrollbars_; }
  void setClipsToBounds(bool clips);
  bool clipsToBounds() const { return layer().masksToBounds(); }

  // The extent that can be scrolled through, as the scrollbars see it.
  Size contentSize() const;
  // The point of the document at the top-left of the visible area.
  Point contentOffset() const;
  // Moves the visible area's top-left to a point of the document, kept inside the range.
  void scrollToPoint(Point offset);
  // Brings the scroll range and the scrollbars in step with the document at once, without
  // waiting for the next layout, and keeps the offset inside the new range.
  void reflect();

  // Called with the new offset on every move of the visible area, by the program or the user.
  void setOnScroll(std::function<void(Point offset)> onScroll);
  // Called when a scroll by the user has come to rest (wheel, touchpad, kinetic glide).
  void setOnScrollEnd(std::function<void()> onScrollEnd);

  View* hitTest(Point pointInSuperview) override;
  // On screen the platform's scroller draws the document; offscreen this draws its visible
  // part, so that snapshots of a scroll view outside a window show what it would show.
  void drawContent(DrawContext& context) override;
  Point hostedViewOrigin() const override;

 private:
  void applyPolicy();
  void followDocument();
  void userScrolled();
  void scrollMoved();
  void pressChanged(bool pressed);

  void* scroller_ = nullptr;  // GtkScrolledWindow*
  std::shared_ptr<View> document_;
  ScrollAxis axis_ = ScrollAxis::Vertical;
  bool showsScrollbars_ = true;
  std::function<void(Point)> onScroll_;
  std::function<void()> onScrollEnd_;
  unsigned restTimer_ = 0;
  // A press on the scroller (a scrollbar drag, a finger) holds the end of the scroll until it
  // is released; `movedDuringPress` says whether there was a scroll to end at all.
  bool pressed_ = false;
  bool movedDuringPress_ = false;
};

}  // namespace talvero::toolkit
