#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/toolkit/image_view.h"
#include "style_core/style_core.h"
#include "ui/capabilities.h"
#include "ui/decoration.h"
#include "ui/node_text.h"
#include "ui/node_views.h"
#include "ui/style_capabilities.h"
#include "ui/style_dispatch.h"
#include "ui/ui_store.h"
#include "ui/view_extensions.h"

namespace talvero {

namespace {

// --- Finding the node ---------------------------------------------------------------------

uint64_t idOf(YGNodeRef nodePtr) {
  return reinterpret_cast<uintptr_t>(nodePtr);
}

NodeProtocol* findNode(int32_t screenId, YGNodeRef nodePtr) {
  const std::shared_ptr<UIScreen> screen = CreatorUIStore::getScreen(screenId);
  return screen ? screen->node(idOf(nodePtr)) : nullptr;
}

template <class Capability>
Capability* findWith(int32_t screenId, YGNodeRef nodePtr) {
  return dynamic_cast<Capability*>(findNode(screenId, nodePtr));
}

// --- Background and the layer's own border ------------------------------------------------

void onBackgroundColor(int32_t screenId, YGNodeRef nodePtr, uint32_t colour) {
  if (NodeProtocol* node = findNode(screenId, nodePtr))
    setViewBackgroundColor(*node, hex32(colour));
}

void onBackgroundColorReset(int32_t screenId, YGNodeRef nodePtr) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) setViewBackgroundColor(*node, std::nullopt);
}

void onBackgroundImage(int32_t screenId, YGNodeRef nodePtr, const char* source) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) setBackgroundImage(*node, source);
}

void onBackgroundImageReset(int32_t screenId, YGNodeRef nodePtr) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) node->view().layer().setContents(nullptr);
}

void onBackgroundSize(int32_t screenId, YGNodeRef nodePtr, const char* value) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) setBackgroundSize(*node, value);
}

void onBorderColor(int32_t screenId, YGNodeRef nodePtr, uint32_t colour) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) {
    node->view().layer().setBorderColor(hex32(colour));
  }
}

void onBorderWidth(int32_t screenId, YGNodeRef nodePtr, float width) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) node->view().layer().setBorderWidth(width);
}

void onTintColor(int32_t screenId, YGNodeRef nodePtr, uint32_t colour) {
  if (auto* image = findWith<NodeTinting>(screenId, nodePtr)) image->setTintColor(hex32(colour));
}

void onTintColorReset(int32_t screenId, YGNodeRef nodePtr) {
  if (auto* image = findWith<NodeTinting>(screenId, nodePtr)) image->setTintColor(std::nullopt);
}

// --- Side borders ---------------------------------------------------------------------------

template <BorderEdge edge>
void onEdgeWidth(int32_t screenId, YGNodeRef nodePtr, float width) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) setBorderWidth(*node, edge, width);
}

template <BorderEdge edge>
void onEdgeWidthReset(int32_t screenId, YGNodeRef nodePtr) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) resetBorderWidth(*node, edge);
}

template <BorderEdge edge>
void onEdgeColor(int32_t screenId, YGNodeRef nodePtr, uint32_t colour) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) setBorderColor(*node, edge, hex32(colour));
}

template <BorderEdge edge>
void onEdgeColorReset(int32_t screenId, YGNodeRef nodePtr) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) resetBorderColor(*node, edge);
}

// --- Text -------------------------------------------------------------------------------------

toolkit::TextAlignment textAlignment(std::string_view value) {
  if (value == "start" || value == "left") return toolkit::TextAlignment::Left;
  if (value == "center" || value == "middle") return toolkit::TextAlignment::Center;
  if (value == "end" || value == "right") return toolkit::TextAlignment::Right;
  return toolkit::TextAlignment::Natural;
}

void onColor(int32_t screenId, YGNodeRef nodePtr, uint32_t colour) {
  if (auto* text = findWith<NodeTextStyling>(screenId, nodePtr)) text->setColor(hex32(colour));
}

void onTextAlign(int32_t screenId, YGNodeRef nodePtr, const char* value) {
  if (auto* text = findWith<NodeTextStyling>(screenId, nodePtr)) {
    text->setTextAlign(textAlignment(value));
  }
}

void onFontSize(int32_t screenId, YGNodeRef nodePtr, float size) {
  if (auto* text = findWith<NodeTextStyling>(screenId, nodePtr)) text->setFontSize(size);
}

void onFontWeight(int32_t screenId, YGNodeRef nodePtr, float weight) {
  // The parsers only give finite weights; anything else would not fit the field.
  if (!std::isfinite(weight)) return;
  if (auto* text = findWith<NodeTextStyling>(screenId, nodePtr)) {
    text->setFontWeight(static_cast<int>(weight));
  }
}

void onFontFamily(int32_t screenId, YGNodeRef nodePtr, const char* family) {
  if (auto* text = findWith<NodeTextStyling>(screenId, nodePtr)) text->setFontFamily(family);
}

void onFontStyle(int32_t screenId, YGNodeRef nodePtr, float style) {
  if (!(style >= 0 && style < 256)) return;  // outside the field, NaN included
  if (auto* text = findWith<NodeTextStyling>(screenId, nodePtr)) {
    text->setFontStyle(static_cast<uint8_t>(style));
  }
}

void onTextDecoration(int32_t screenId, YGNodeRef nodePtr, const char* value) {
  if (auto* text = findWith<NodeText>(screenId, nodePtr)) text->setTextDecoration(value);
}

void onLetterSpacing(int32_t screenId, YGNodeRef nodePtr, float spacing) {
  if (auto* text = findWith<NodeText>(screenId, nodePtr)) text->setLetterSpacing(spacing);
}

void onPlaceholder(int32_t screenId, YGNodeRef nodePtr, const char* text) {
  if (auto* input = findWith<NodeInputStyling>(screenId, nodePtr)) input->setPlaceholder(text);
}

void onPlaceholderColor(int32_t screenId, YGNodeRef nodePtr, uint32_t colour) {
  if (auto* input = findWith<NodeInputStyling>(screenId, nodePtr)) {
    input->setPlaceholderColor(hex32(colour));
  }
}

void onInputType(int32_t screenId, YGNodeRef nodePtr, const char* type) {
  if (auto* input = findWith<NodeInputStyling>(screenId, nodePtr)) input->setInputType(type);
}

// --- Scrolling ------------------------------------------------------------------------------

void onScrollDirection(int32_t screenId, YGNodeRef nodePtr, float axis) {
  if (!std::isfinite(axis)) return;
  if (auto* scroller = findWith<NodeScrolling>(screenId, nodePtr)) {
    scroller->setScrollAxis(static_cast<int>(axis));
  }
}

void onShowScrollbar(int32_t screenId, YGNodeRef nodePtr, float shown) {
  if (auto* scroller = findWith<NodeScrolling>(screenId, nodePtr)) {
    scroller->showScrollbar = shown != 0;
    // The scrollers are made by the axis setter: run it again so that they follow the flag.
    scroller->setScrollAxis(scroller->scrollAxis());
  }
}

// --- Widget overlay -------------------------------------------------------------------------

// By node id through the active store: while a widget is built its host does not exist yet,
// and opening the widget reads the colour afterwards.
void onOverlayColor(int32_t, YGNodeRef nodePtr, uint32_t colour) {
  const toolkit::Color color = hex32(colour);
  CreatorUIStore::widgetOverlayColors()[idOf(nodePtr)] = color;
  CreatorUIStore* store = CreatorUIStore::active();
  if (!store) return;
  const auto host = store->widgetHosts.find(idOf(nodePtr));
  if (host == store->widgetHosts.end()) return;
  host->second->layer().setBackgroundColor(color);
  host->second->interceptsTaps = true;
}

void onOverlayColorReset(int32_t, YGNodeRef nodePtr) {
  CreatorUIStore::widgetOverlayColors().erase(idOf(nodePtr));
  CreatorUIStore* store = CreatorUIStore::active();
  if (!store) return;
  const auto host = store->widgetHosts.find(idOf(nodePtr));
  if (host == store->widgetHosts.end()) return;
  host->second->layer().setBackgroundColor(std::nullopt);
  host->second->interceptsTaps = false;
}

// --- Corners, opacity, fit, visibility, clipping, interaction -------------------------------

// Corners are numbered top left, top right, bottom left, bottom right; -1 is all four.
template <int corner>
void onRadius(int32_t screenId, YGNodeRef nodePtr, float radius) {
  NodeProtocol* node = findNode(screenId, nodePtr);
  if (!node) return;
  auto& state = node->extras.cuiCornerRadiusState;
  if (!state) state = std::make_shared<CornerRadiusState>();
  const float stored = std::max(0.0f, radius);
  if constexpr (corner < 0) {
    state->radii.fill(stored);
  } else {
    state->radii[corner] = stored;
  }
  applyCornerRadii(*node);
}

void onOpacity(int32_t screenId, YGNodeRef nodePtr, float opacity) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) node->view().layer().setOpacity(opacity);
}

void onObjectFit(int32_t screenId, YGNodeRef nodePtr, const char* value) {
  NodeProtocol* node = findNode(screenId, nodePtr);
  if (!node) return;
  const std::string_view fit = value;
  if (auto* video = dynamic_cast<NodeVideoFitting*>(node)) {
    video->setVideoGravity(fit == "cover"  ? VideoGravity::AspectFill
                           : fit == "fill" ? VideoGravity::Resize
                                           : VideoGravity::AspectFit);
  } else if (auto* image = dynamic_cast<toolkit::ImageView*>(&node->view())) {
    if (fit == "cover") image->setImageScaling(toolkit::ImageScaling::ProportionallyUpOrDown);
    if (fit == "contain") image->setImageScaling(toolkit::ImageScaling::ProportionallyDown);
    if (fit == "fill") image->setImageScaling(toolkit::ImageScaling::AxesIndependently);
  }
}

// A hidden view keeps its frame: the layout core drops it from the flow on its own side, and
// the flush moves the siblings.
void showView(int32_t screenId, YGNodeRef nodePtr, bool shown) {
  const std::shared_ptr<UIScreen> screen = CreatorUIStore::getScreen(screenId);
  NodeProtocol* node = screen ? screen->node(idOf(nodePtr)) : nullptr;
  if (!node) return;
  node->view().setHidden(!shown);
  screen->scheduleFlush();
}

void onDisplay(int32_t screenId, YGNodeRef nodePtr, const char* value) {
  showView(screenId, nodePtr, std::string_view(value) != "none");
}

void onDisplayReset(int32_t screenId, YGNodeRef nodePtr) {
  showView(screenId, nodePtr, true);
}

void onOverflow(int32_t screenId, YGNodeRef nodePtr, const char* value) {
  NodeProtocol* node = findNode(screenId, nodePtr);
  if (!node) return;
  node->extras.cuiOverflowVisible = std::string_view(value) == "visible";
  applyOverflowClipping(*node);
}

void onPointerEvents(int32_t screenId, YGNodeRef nodePtr, const char* value) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) {
    node->extras.userInteractionEnabled = std::string_view(value) != "none";
  }
}

// --- Transform and gradient ---------------------------------------------------------------

void onMatrix(int32_t screenId, YGNodeRef nodePtr, const float* matrix) {
  NodeProtocol* node = findNode(screenId, nodePtr);
  if (!node || !matrix) return;
  const toolkit::Transform3D transform = toolkit::Transform3D::fromAffine(matrix);
  node->matrix = transform;
  setViewTransform(*node, transform);
}

void onGradient(int32_t screenId, YGNodeRef nodePtr, const CUIGradient* gradient) {
  NodeProtocol* node = findNode(screenId, nodePtr);
  if (!node) return;
  // Only a linear gradient reaches the view; anything else clears the one it has.
  if (!gradient || gradient->kind != 0 || gradient->stopCount < 2 || !gradient->stops) {
    removeGradient(*node);
    return;
  }
  CUIGradientSpec paint;
  paint.angle = gradient->angle;
  paint.cx = 0.5f;
  paint.cy = 0.5f;
  for (uint32_t i = 0; i < gradient->stopCount; ++i) {
    paint.colors.push_back(hex32(gradient->stops[i].rgba));
    paint.locations.push_back(gradient->stops[i].position);
  }
  setGradients(*node, {paint});
}

void onBackgroundGradientReset(int32_t screenId, YGNodeRef nodePtr) {
  if (NodeProtocol* node = findNode(screenId, nodePtr)) removeGradient(*node);
}

}  // namespace

void registerStyleHandlers() {
  // A name that is taken keeps its first handler, so a second store registers nothing new.
  addUIntHandler("backgroundColor", &onBackgroundColor);
  addResetHandler("backgroundColor", &onBackgroundColorReset);
  addStringHandler("backgroundImage", &onBackgroundImage);
  addResetHandler("backgroundImage", &onBackgroundImageReset);
  addStringHandler("backgroundSize", &onBackgroundSize);
  addUIntHandler("borderColor", &onBorderColor);
  addFloatHandler("borderWidth", &onBorderWidth);
  addUIntHandler("tintColor", &onTintColor);
  addResetHandler("tintColor", &onTintColorReset);

  addFloatHandler("borderTopWidth", &onEdgeWidth<BorderEdge::Top>);
  addFloatHandler("borderRightWidth", &onEdgeWidth<BorderEdge::Right>);
  addFloatHandler("borderBottomWidth", &onEdgeWidth<BorderEdge::Bottom>);
  addFloatHandler("borderLeftWidth", &onEdgeWidth<BorderEdge::Left>);
  addResetHandler("borderTopWidth", &onEdgeWidthReset<BorderEdge::Top>);
  addResetHandler("borderRightWidth", &onEdgeWidthReset<BorderEdge::Right>);
  addResetHandler("borderBottomWidth", &onEdgeWidthReset<BorderEdge::Bottom>);
  addResetHandler("borderLeftWidth", &onEdgeWidthReset<BorderEdge::Left>);
  addUIntHandler("borderTopColor", &onEdgeColor<BorderEdge::Top>);
  addUIntHandler("borderRightColor", &onEdgeColor<BorderEdge::Right>);
  addUIntHandler("borderBottomColor", &onEdgeColor<BorderEdge::Bottom>);
  addUIntHandler("borderLeftColor", &onEdgeColor<BorderEdge::Left>);
  addResetHandler("borderTopColor", &onEdgeColorReset<BorderEdge::Top>);
  addResetHandler("borderRightColor", &onEdgeColorReset<BorderEdge::Right>);
  addResetHandler("borderBottomColor", &onEdgeColorReset<BorderEdge::Bottom>);
  addResetHandler("borderLeftColor", &onEdgeColorReset<BorderEdge::Left>);

  addUIntHandler("color", &onColor);
  addStringHandler("textAlign", &onTextAlign);
  addFloatHandler("fontSize", &onFontSize);
  addFloatHandler("fontWeight", &onFontWeight);
  addStringHandler("fontFamily", &onFontFamily);
  addFloatHandler("fontStyle", &onFontStyle);
  addStringHandler("textDecoration", &onTextDecoration);
  addFloatHandler("letterSpacing", &onLetterSpacing);
  addStringHandler("placeholder", &onPlaceholder);
  addUIntHandler("placeholderColor", &onPlaceholderColor);
  addStringHandler("type", &onInputType);
  addFloatHandler("scrollDirection", &onScrollDirection);
  addFloatHandler("showScrollbar", &onShowScrollbar);
  addUIntHandler("overlayColor", &onOverlayColor);
  addResetHandler("overlayColor", &onOverlayColorReset);

  addFloatHandler("borderRadius", &onRadius<-1>);
  addFloatHandler("borderTopLeftRadius", &onRadius<0>);
  addFloatHandler("borderTopRightRadius", &onRadius<1>);
  addFloatHandler("borderBottomLeftRadius", &onRadius<2>);
  addFloatHandler("borderBottomRightRadius", &onRadius<3>);
  addFloatHandler("opacity", &onOpacity);
  addStringHandler("objectFit", &onObjectFit);
  addStringHandler("display", &onDisplay);
  addResetHandler("display", &onDisplayReset);
  addStringHandler("overflow", &onOverflow);
  addStringHandler("pointerEvents", &onPointerEvents);
  setMatrixHandler(&onMatrix);
  setGradientHandler(&onGradient);
  addResetHandler("backgroundGradient", &onBackgroundGradientReset);
}

}  // namespace talvero
