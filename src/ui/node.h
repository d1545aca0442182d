#pragma once

#include <yoga/Yoga.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/script/script_value.h"
#include "platform/toolkit/geometry.h"
#include "platform/toolkit/view.h"

namespace talvero {

class CreatorUIStore;
struct BorderState;
struct CornerRadiusState;
struct GradientLayers;

// What the view side remembers on every node view beside its layer.
struct ViewExtras {
  std::optional<toolkit::Color> backgroundColor;  // as the style last set it
  std::optional<toolkit::Transform3D> transform;  // as the style last set it
  bool didReportLayout = false;                   // `onLayout` has fired once
  bool userInteractionEnabled = true;             // false for `pointerEvents: none`
  bool cuiOverflowVisible = false;                // the last `overflow` was "visible"
  // Box decoration (ui/decoration.h), each made at its first use.
  std::shared_ptr<CornerRadiusState> cuiCornerRadiusState;
  std::shared_ptr<BorderState> cuiBorderState;
  std::shared_ptr<GradientLayers> cuiGradientLayers;
  // How a background image fits; aspect fill when never set.
  std::optional<toolkit::ContentsGravity> cuiBgGravity;
};

// What every node of a screen is: a view of the toolkit bound to a native layout node and to
// the script object that described it. Each node class is a toolkit view that also derives
// from this.
class NodeProtocol {
 public:
  NodeProtocol(YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);
  virtual ~NodeProtocol() = default;
  NodeProtocol(const NodeProtocol&) = delete;
  NodeProtocol& operator=(const NodeProtocol&) = delete;

  YGNodeRef nodePtr() const { return nodePtr_; }
  // The node's id for scripts: its native node as a number.
  uint64_t nodeId() const { return reinterpret_cast<uintptr_t>(nodePtr_); }
  const ScriptValue& script() const { return script_; }
  CreatorUIStore& store() const { return store_; }

  virtual toolkit::View& view() = 0;
  std::shared_ptr<toolkit::View> viewPtr() { return view().shared_from_this(); }
  // The view that holds the views of the node's children: the node's own view, except in
  // nodes whose children move inside them.
  virtual std::shared_ptr<toolkit::View> childContainer() { return viewPtr(); }

  // Moves the view to the native layout: frames cut towards zero, `onLayout` on the first
  // layout and on each change of the whole-number frame.
  virtual void applyFrame();
  // The packed measured size (width in the high 32 bits, as float bits); by default the
  // given size unchanged.
  virtual uint64_t measure(float width, uint8_t widthMode, float height, uint8_t heightMode);
  // A content change from `_creatorUI.updateNode`; ignored by default.
  virtual void updateNode(const std::string& key, const ScriptValue& value);
  // Lays out what the view draws from its size (gradient and edge layers) after a new frame.
  virtual void layoutDecorations();

  bool show = true;  // false once removed: late work must leave the node alone
  std::optional<toolkit::Transform3D> matrix;  // last transform from the style core
  ScriptValue onLayout;                        // layout listeners (`ll`), or empty
  ViewExtras extras;

 private:
  YGNodeRef nodePtr_;
  ScriptValue script_;
  CreatorUIStore& store_;
};

// A node class: the toolkit view `ViewClass` that is also a node.
template <class ViewClass>
class NodeView : public ViewClass, public NodeProtocol {
 public:
  NodeView(YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store)
      : NodeProtocol(nodePtr, std::move(script), store) {}
  toolkit::View& view() override { return *this; }
};

// A colour of the toolkit from 0xRRGGBBAA.
toolkit::Color hex32(uint32_t value);

// The node of a view, when the view is one.
NodeProtocol* asNode(toolkit::View* view);

}  // namespace talvero
