#include "style_core/internal/properties.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <unordered_map>

#include "style_core/internal/layers.h"
#include "style_core/internal/value_parsers.h"
#include "style_core/internal/viewport.h"

namespace talvero {

using namespace hash_literals;

namespace {

constexpr float kUndefined = std::numeric_limits<float>::quiet_NaN();

std::unordered_map<PropertyId, StringHandler> stringHandlersMap;
std::unordered_map<PropertyId, FloatHandler> floatHandlersMap;
std::unordered_map<PropertyId, UIntHandler> uint32HandlersMap;
std::unordered_map<PropertyId, ResetHandler> resetHandlersMap;
MatrixHandler matrixHandler = nullptr;
GradientHandler gradientHandler = nullptr;

PropertyId longIdOf(PropertyId id) {
  switch (id) {
    case "m"_h:
      return "margin"_h;
    case "mt"_h:
      return "marginTop"_h;
    case "mb"_h:
      return "marginBottom"_h;
    case "ml"_h:
      return "marginLeft"_h;
    case "mr"_h:
      return "marginRight"_h;
    case "mx"_h:
      return "marginHorizontal"_h;
    case "my"_h:
      return "marginVertical"_h;
    case "p"_h:
      return "padding"_h;
    case "pt"_h:
      return "paddingTop"_h;
    case "pb"_h:
      return "paddingBottom"_h;
    case "pl"_h:
      return "paddingLeft"_h;
    case "pr"_h:
      return "paddingRight"_h;
    case "px"_h:
      return "paddingHorizontal"_h;
    case "py"_h:
      return "paddingVertical"_h;
    case "bgColor"_h:
      return "backgroundColor"_h;
    case "bgImage"_h:
      return "backgroundImage"_h;
    case "bgSize"_h:
      return "backgroundSize"_h;
    case "bgGradient"_h:
      return "backgroundGradient"_h;
    default:
      return id;
  }
}

// --- Properties that are Yoga lengths ------------------------------------------------------

enum class LengthReset { Auto, Undefined, UndefinedPointAndPercent };

struct YogaLength {
  void (*point)(YGNodeRef, float);
  void (*percent)(YGNodeRef, float);  // fallback of a refused length; null: none
  void (*automatic)(YGNodeRef);       // the auto setter, for the fallback and for the reset
  bool autoFallback;  // a refused length starting with the letter a goes to `automatic`
  LengthReset reset;
};

template <YGEdge E>
void marginPoint(YGNodeRef n, float v) {
  YGNodeStyleSetMargin(n, E, v);
}
template <YGEdge E>
void marginPercent(YGNodeRef n, float v) {
  YGNodeStyleSetMarginPercent(n, E, v);
}
template <YGEdge E>
void marginAuto(YGNodeRef n) {
  YGNodeStyleSetMarginAuto(n, E);
}
template <YGEdge E>
void paddingPoint(YGNodeRef n, float v) {
  YGNodeStyleSetPadding(n, E, v);
}
template <YGEdge E>
void paddingPercent(YGNodeRef n, float v) {
  YGNodeStyleSetPaddingPercent(n, E, v);
}
template <YGEdge E>
void positionPoint(YGNodeRef n, float v) {
  YGNodeStyleSetPosition(n, E, v);
}
template <YGEdge E>
void positionPercent(YGNodeRef n, float v) {
  YGNodeStyleSetPositionPercent(n, E, v);
}
template <YGEdge E>
void positionAuto(YGNodeRef n) {
  YGNodeStyleSetPositionAuto(n, E);
}
template <YGGutter G>
void gapPoint(YGNodeRef n, float v) {
  YGNodeStyleSetGap(n, G, v);
}

template <YGEdge E>
constexpr YogaLength margin(bool withFallbacks) {
  return withFallbacks
             ? YogaLength{marginPoint<E>, marginPercent<E>, marginAuto<E>, true,
                          LengthReset::Undefined}
             : YogaLength{marginPoint<E>, nullptr, nullptr, false, LengthReset::Undefined};
}
template <YGEdge E>
constexpr YogaLength padding(bool withPercent) {
  return YogaLength{paddingPoint<E>, withPercent ? paddingPercent<E> : nullptr, nullptr, false,
                    LengthReset::Undefined};
}
template <YGEdge E>
constexpr YogaLength position() {
  return YogaLength{positionPoint<E>, positionPercent<E>, positionAuto<E>, true,
                    LengthReset::Undefined};
}
template <YGGutter G>
constexpr YogaLength gap() {
  return YogaLength{gapPoint<G>, nullptr, nullptr, false, LengthReset::Undefined};
}
constexpr YogaLength plain(void (*point)(YGNodeRef, float)) {
  return YogaLength{point, nullptr, nullptr, false, LengthReset::Undefined};
}
constexpr YogaLength bound(void (*point)(YGNodeRef, float), void (*percent)(YGNodeRef, float)) {
  return YogaLength{point, percent, nullptr, false, LengthReset::UndefinedPointAndPercent};
}

const YogaLength* yogaLength(PropertyId id) {
  static const std::unordered_map<PropertyId, YogaLength> table = {
      {"width"_h,
       {YGNodeStyleSetWidth, YGNodeStyleSetWidthPercent, YGNodeStyleSetWidthAuto, true,
        LengthReset::Auto}},
      {"height"_h,
       {YGNodeStyleSetHeight, YGNodeStyleSetHeightPercent, YGNodeStyleSetHeightAuto, true,
        LengthReset::Auto}},
      {"minWidth"_h, bound(YGNodeStyleSetMinWidth, YGNodeStyleSetMinWidthPercent)},
      {"maxWidth"_h, bound(YGNodeStyleSetMaxWidth, YGNodeStyleSetMaxWidthPercent)},
      {"minHeight"_h, bound(YGNodeStyleSetMinHeight, YGNodeStyleSetMinHeightPercent)},
      {"maxHeight"_h, bound(YGNodeStyleSetMaxHeight, YGNodeStyleSetMaxHeightPercent)},
      {"margin"_h, margin<YGEdgeAll>(true)},
      {"marginLeft"_h, margin<YGEdgeLeft>(true)},
      {"marginTop"_h, margin<YGEdgeTop>(true)},
      {"marginRight"_h, margin<YGEdgeRight>(true)},
      {"marginBottom"_h, margin<YGEdgeBottom>(true)},
      {"marginHorizontal"_h, margin<YGEdgeHorizontal>(true)},
      {"marginVertical"_h, margin<YGEdgeVertical>(true)},
      {"marginStart"_h, margin<YGEdgeStart>(false)},
      {"marginEnd"_h, margin<YGEdgeEnd>(false)},
      {"padding"_h, padding<YGEdgeAll>(true)},
      {"paddingLeft"_h, padding<YGEdgeLeft>(true)},
      {"paddingTop"_h, padding<YGEdgeTop>(true)},
      {"paddingRight"_h, padding<YGEdgeRight>(true)},
      {"paddingBottom"_h, padding<YGEdgeBottom>(true)},
      {"paddingHorizontal"_h, padding<YGEdgeHorizontal>(true)},
      {"paddingVertical"_h, padding<YGEdgeVertical>(true)},
      {"paddingStart"_h, padding<YGEdgeStart>(false)},
      {"paddingEnd"_h, padding<YGEdgeEnd>(false)},
      {"left"_h, position<YGEdgeLeft>()},
      {"top"_h, position<YGEdgeTop>()},
      {"right"_h, position<YGEdgeRight>()},
      {"bottom"_h, position<YGEdgeBottom>()},
      {"start"_h, position<YGEdgeStart>()},
      {"end"_h, position<YGEdgeEnd>()},
      {"gap"_h, gap<YGGutterAll>()},
      {"rowGap"_h, gap<YGGutterRow>()},
      {"columnGap"_h, gap<YGGutterColumn>()},
      {"flexGrow"_h, plain(YGNodeStyleSetFlexGrow)},
      {"flexShrink"_h, plain(YGNodeStyleSetFlexShrink)},
      {"flexBasis"_h,
       {YGNodeStyleSetFlexBasis, YGNodeStyleSetFlexBasisPercent, YGNodeStyleSetFlexBasisAuto, false,
        LengthReset::Auto}},
      {"aspectRatio"_h, plain(YGNodeStyleSetAspectRatio)},
  };
  auto found = table.find(id);
  return found == table.end() ? nullptr : &found->second;
}

// --- Keyword properties ---------------------------------------------------------------------

std::optional<int> keywordValue(PropertyId property, uint32_t value) {
  switch (property) {
    case "flexDirection"_h:
      switch (value) {
        case "column"_h:
          return 0;
        case "column-reverse"_h:
          return 1;
        case "row"_h:
          return 2;
        case "row-reverse"_h:
          return 3;
      }
      break;
    case "justifyContent"_h:
      switch (value) {
        case "flex-start"_h:
          return 0;
        case "center"_h:
          return 1;
        case "flex-end"_h:
          return 2;
        case "space-between"_h:
          return 3;
        case "space-around"_h:
          return 4;
        case "space-evenly"_h:
          return 5;
      }
      break;
    case "alignItems"_h:
    case "alignSelf"_h:
      switch (value) {
        case "auto"_h:
          if (property == "alignSelf"_h) return 0;
          break;
        case "flex-start"_h:
          return 1;
        case "center"_h:
          return 2;
        case "flex-end"_h:
          return 3;
        case "stretch"_h:
          return 4;
        case "baseline"_h:
          return 5;
      }
      break;
    case "flexWrap"_h:
      switch (value) {
        case "nowrap"_h:
          return 0;
        case "wrap"_h:
          return 1;
        case "wrap-reverse"_h:
          return 2;
      }
      break;
    case "position"_h:
      switch (value) {
        case "static"_h:
          return 0;
        case "relative"_h:
          return 1;
        case "absolute"_h:
          return 2;
      }
      break;
    case "overflow"_h:
      switch (value) {
        case "visible"_h:
          return 0;
        case "hidden"_h:
          return 1;
        case "scroll"_h:
          return 2;
      }
      break;
    case "display"_h:
      switch (value) {
        case "flex"_h:
          return 0;
        case "none"_h:
          return 1;
      }
      break;
    case "boxSizing"_h:
      switch (value) {
        case "border-box"_h:
          return 0;
        case "content-box"_h:
          return 1;
      }
      break;
  }
  return std::nullopt;
}

// Sets a keyword property on Yoga; false when it is no keyword property.
bool setKeyword(YGNodeRef node, PropertyId property, int value) {
  switch (property) {
    case "flexDirection"_h:
      YGNodeStyleSetFlexDirection(node, static_cast<YGFlexDirection>(value));
      return true;
    case "justifyContent"_h:
      YGNodeStyleSetJustifyContent(node, static_cast<YGJustify>(value));
      return true;
    case "alignItems"_h:
      YGNodeStyleSetAlignItems(node, static_cast<YGAlign>(value));
      return true;
    case "alignSelf"_h:
      YGNodeStyleSetAlignSelf(node, static_cast<YGAlign>(value));
      return true;
    case "flexWrap"_h:
      YGNodeStyleSetFlexWrap(node, static_cast<YGWrap>(value));
      return true;
    case "position"_h:
      YGNodeStyleSetPositionType(node, static_cast<YGPositionType>(value));
      return true;
    case "overflow"_h:
      YGNodeStyleSetOverflow(node, static_cast<YGOverflow>(value));
      return true;
    case "display"_h:
      YGNodeStyleSetDisplay(node, static_cast<YGDisplay>(value));
      return true;
    case "boxSizing"_h:
      YGNodeStyleSetBoxSizing(node, static_cast<YGBoxSizing>(value));
      return true;
    default:
      return false;
  }
}

// The keyword a property returns to when no value of it is left.
std::optional<int> keywordDefault(PropertyId property) {
  switch (property) {
    case "flexDirection"_h:
      return 0;  // column
    case "flexWrap"_h:
      return 0;  // nowrap
    case "justifyContent"_h:
      return 0;  // flex-start
    case "alignItems"_h:
      return 4;  // stretch
    case "alignSelf"_h:
      return 0;  // auto
    case "position"_h:
      return 1;  // relative
    case "boxSizing"_h:
      return 1;  // content-box
    case "display"_h:
      return 0;  // flex
    case "overflow"_h:
      return 0;  // visible
    default:
      return std::nullopt;
  }
}

// --- Colours and borders --------------------------------------------------------------------

bool isColourProperty(PropertyId id) {
  switch (id) {
    case "color"_h:
    case "backgroundColor"_h:
    case "borderColor"_h:
    case "borderTopColor"_h:
    case "borderRightColor"_h:
    case "borderBottomColor"_h:
    case "borderLeftColor"_h:
    case "tintColor"_h:
    case "overlayColor"_h:
    case "placeholderColor"_h:
    case "rippleColor"_h:
      return true;
    default:
      return false;
  }
}

// A script's 0xRRGGBB number is an opaque colour.
uint32_t colourFromNumber(float value) {
  if (!(value >= 0.0f) || value >= 4294967296.0f) return 0xFF;
  return (static_cast<uint32_t>(value) << 8) | 0xFFu;
}

struct BorderSide {
  PropertyId width;
  PropertyId colour;
  YGEdge edge;
};

std::optional<BorderSide> borderShorthand(PropertyId id) {
  switch (id) {
    case "border"_h:
      return BorderSide{"borderWidth"_h, "borderColor"_h, YGEdgeAll};
    case "borderTop"_h:
      return BorderSide{"borderTopWidth"_h, "borderTopColor"_h, YGEdgeTop};
    case "borderRight"_h:
      return BorderSide{"borderRightWidth"_h, "borderRightColor"_h, YGEdgeRight};
    case "borderBottom"_h:
      return BorderSide{"borderBottomWidth"_h, "borderBottomColor"_h, YGEdgeBottom};
    case "borderLeft"_h:
      return BorderSide{"borderLeftWidth"_h, "borderLeftColor"_h, YGEdgeLeft};
    default:
      return std::nullopt;
  }
}

std::optional<YGEdge> borderWidthEdge(PropertyId id) {
  switch (id) {
    case "borderWidth"_h:
      return YGEdgeAll;
    case "borderLeftWidth"_h:
      return YGEdgeLeft;
    case "borderTopWidth"_h:
      return YGEdgeTop;
    case "borderRightWidth"_h:
      return YGEdgeRight;
    case "borderBottomWidth"_h:
      return YGEdgeBottom;
    case "borderStartWidth"_h:
      return YGEdgeStart;
    case "borderEndWidth"_h:
      return YGEdgeEnd;
    case "borderHorizontalWidth"_h:
      return YGEdgeHorizontal;
    case "borderVerticalWidth"_h:
      return YGEdgeVertical;
    default:
      return std::nullopt;
  }
}

// The Yoga edge that the reset of a border shorthand or edge property sets to 0.
std::optional<YGEdge> borderResetEdge(PropertyId id) {
  switch (id) {
    case "border"_h:
      return YGEdgeAll;
    case "borderLeft"_h:
      return YGEdgeLeft;
    case "borderTop"_h:
      return YGEdgeTop;
    case "borderRight"_h:
      return YGEdgeRight;
    case "borderBottom"_h:
      return YGEdgeBottom;
    case "borderStart"_h:
      return YGEdgeStart;
    case "borderEnd"_h:
      return YGEdgeEnd;
    case "borderHorizontal"_h:
      return YGEdgeHorizontal;
    case "borderVertical"_h:
      return YGEdgeVertical;
    default:
      return std::nullopt;
  }
}

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

void applyBorderShorthand(YGNodeRef node, const BorderSide& side, const char* value,
                          bool& dynamic) {
  const char* blank = value;
  while (*blank && !isBlank(*blank)) ++blank;
  if (*blank == '\0') {
    setFloat_internal(node, side.width, 1.0f);
    setUInt_internal(node, side.colour, getColor(value));
    return;
  }
  const std::string widthToken(value, std::min<size_t>(static_cast<size_t>(blank - value), 31));
  const char* colourText = blank + 1;
  uint32_t colour = 0;
  if (std::strncmp(colourText, "solid", 5) == 0) {
    const char* next = colourText;
    while (*next && !isBlank(*next)) ++next;
    colourText = *next ? next + 1 : nullptr;
  }
  if (colourText) colour = getColor(colourText);
  setString_internal(node, side.width, widthToken.c_str(), dynamic);
  setUInt_internal(node, side.colour, colour);
}

// --- Fallbacks of refused lengths -----------------------------------------------------------

// Insets for the edges top, left, right, bottom, skipping an edge whose own property is live.
void applySafeInsets(YGNodeRef node, bool isMargin, bool comfort) {
  const NodeContext* context = nodeContext(node);
  struct Edge {
    YGEdge edge;
    PropertyId marginId;
    PropertyId paddingId;
    float inset;
    float comfortInset;
  };
  const Edge edges[] = {
      {YGEdgeTop, "marginTop"_h, "paddingTop"_h, safeTop, safeTopComfort},
      {YGEdgeLeft, "marginLeft"_h, "paddingLeft"_h, safeLeft, safeLeftComfort},
      {YGEdgeRight, "marginRight"_h, "paddingRight"_h, safeRight, safeRightComfort},
      {YGEdgeBottom, "marginBottom"_h, "paddingBottom"_h, safeBottom, safeBottomComfort},
  };
  for (const Edge& edge : edges) {
    if (hasActiveStyle(context, isMargin ? edge.marginId : edge.paddingId)) continue;
    const float inset = comfort ? edge.comfortInset : edge.inset;
    if (isMargin) {
      YGNodeStyleSetMargin(node, edge.edge, inset);
    } else {
      YGNodeStyleSetPadding(node, edge.edge, inset);
    }
  }
}

// False when the rule ends the application with no effect.
bool applyLineHeight(YGNodeRef node, const char* value, size_t length, bool& dynamic) {
  dynamic = true;
  const float fontSize = nodeContext(node)->fontSize;
  if (fnv1a(value, length) == "normal"_h) {
    setFloat_internal(node, "lineHeight"_h, fontSize * 1.2f);
    return true;
  }
  const float n = static_cast<float>(std::atof(value));
  if (n == 0.0f && value[0] != '0') return false;
  const float result = std::strchr(value, '%') ? fontSize * n / 100.0f : fontSize * n;
  setFloat_internal(node, "lineHeight"_h, result);
  return true;
}

// A refused length: the property's fallback, its own rule, then the string handler.
void applyRefusedLength(YGNodeRef node, PropertyId id, const char* value, size_t length,
                        bool& dynamic) {
  if (id == "margin"_h || id == "padding"_h) {
    const uint32_t hash = fnv1a(value, length);
    if (hash == "safe-all"_h || hash == "safe-all-comfort"_h) {
      applySafeInsets(node, id == "margin"_h, hash == "safe-all-comfort"_h);
      dynamic = true;
      invokeSetStringHandler(node, id, value);
      return;
    }
  }
  if (const YogaLength* yoga = yogaLength(id)) {
    if (yoga->autoFallback && value[0] == 'a') {
      yoga->automatic(node);
    } else if (yoga->percent) {
      yoga->percent(node, static_cast<float>(std::atof(value)));
    }
  }
  switch (id) {
    case "lineHeight"_h:
      if (!applyLineHeight(node, value, length, dynamic)) return;
      break;
    case "backgroundGradient"_h: {
      uint32_t count = 0;
      const CUIGradient* gradients = getOrParseGradients(value, &count);
      if (!gradients) {
        invokeResetHandler(node, id);
      } else if (gradientHandler) {
        gradientHandler(getScreenId(node), node, gradients);
      }
      break;
    }
    case "transform"_h:
      if (matrixHandler) {
        const TransformMatrix matrix = parse_transform(value);
        matrixHandler(getScreenId(node), node, matrix.data());
      }
      break;
    case "opacity"_h:
      invokeSetFloatHandler(node, id, static_cast<float>(std::atof(value)));
      break;
  }
  invokeSetStringHandler(node, id, value);
}

void applyScrollDirection(YGNodeRef node, uint32_t value) {
  switch (value) {
    case "horizontal"_h:
      YGNodeStyleSetFlexDirection(node, YGFlexDirectionRow);
      YGNodeStyleSetOverflow(node, YGOverflowScroll);
      invokeSetFloatHandler(node, "scrollDirection"_h, 2.0f);
      break;
    case "vertical"_h:
      YGNodeStyleSetFlexDirection(node, YGFlexDirectionColumn);
      YGNodeStyleSetOverflow(node, YGOverflowScroll);
      invokeSetFloatHandler(node, "scrollDirection"_h, 1.0f);
      break;
    case "all"_h:
      invokeSetFloatHandler(node, "scrollDirection"_h, 3.0f);
      YGNodeStyleSetOverflow(node, YGOverflowScroll);
      break;
  }
}

template <class Map, class Handler>
void addHandler(Map& map, const char* name, Handler handler) {
  if (!name) return;
  map.emplace(fnv1a(name, std::strlen(name)), handler);
}

template <class Value>
void store(LayerId layer, YGNodeRef node, const char* name, Value value,
           void (*apply)(YGNodeRef, PropertyId, Value)) {
  NodeContext* context = nodeContext(node);
  if (!context || !name) return;
  const PropertyId id = propertyIdOf(name);
  if (insertStyle(context, id, layer, value)) apply(node, id, value);
}

void applyStoredString(YGNodeRef node, PropertyId id, const char* value) {
  bool dynamic = false;
  setString_internal(node, id, value, dynamic);
  NodeContext* context = nodeContext(node);
  if (dynamic && context &&
      std::find(context->dynamicProps.begin(), context->dynamicProps.end(), id) ==
          context->dynamicProps.end()) {
    context->dynamicProps.push_back(id);
  }
}

}  // namespace

// --- Registration ---------------------------------------------------------------------------

void addStringHandler(const char* name, StringHandler handler) {
  addHandler(stringHandlersMap, name, handler);
}
void addFloatHandler(const char* name, FloatHandler handler) {
  addHandler(floatHandlersMap, name, handler);
}
void addUIntHandler(const char* name, UIntHandler handler) {
  addHandler(uint32HandlersMap, name, handler);
}
void addResetHandler(const char* name, ResetHandler handler) {
  addHandler(resetHandlersMap, name, handler);
}
void setMatrixHandler(MatrixHandler handler) {
  matrixHandler = handler;
}
void setGradientHandler(GradientHandler handler) {
  gradientHandler = handler;
}

void clearStyleHandlers() {
  stringHandlersMap.clear();
  floatHandlersMap.clear();
  uint32HandlersMap.clear();
  resetHandlersMap.clear();
  matrixHandler = nullptr;
  gradientHandler = nullptr;
}

void invokeSetStringHandler(YGNodeRef node, PropertyId id, const char* value) {
  auto found = stringHandlersMap.find(id);
  if (found != stringHandlersMap.end()) found->second(getScreenId(node), node, value);
}

void invokeSetFloatHandler(YGNodeRef node, PropertyId id, float value) {
  auto found = floatHandlersMap.find(id);
  if (found != floatHandlersMap.end()) found->second(getScreenId(node), node, value);
}

void invokeResetHandler(YGNodeRef node, PropertyId id) {
  auto found = resetHandlersMap.find(id);
  if (found != resetHandlersMap.end()) found->second(getScreenId(node), node);
}

void setUInt_internal(YGNodeRef node, PropertyId id, uint32_t colour) {
  auto found = uint32HandlersMap.find(id);
  if (found != uint32HandlersMap.end()) found->second(getScreenId(node), node, colour);
}

// --- Entry points ---------------------------------------------------------------------------

PropertyId propertyIdOf(const char* name) {
  return longIdOf(fnv1a(name, std::strlen(name)));
}

uint32_t getColor(const char* value) {
  uint32_t colour = 0;
  return tryParseColor(value, colour) ? colour : 0;
}

void setString(YGNodeRef node, const char* name, const char* value) {
  setStringExt(kDefaultLayer, node, name, value);
}

void setFloat(YGNodeRef node, const char* name, float value) {
  setFloatExt(kDefaultLayer, node, name, value);
}

void setStringExt(LayerId layer, YGNodeRef node, const char* name, const char* value) {
  store<const char*>(layer, node, name, value ? value : "", applyStoredString);
}

void setFloatExt(LayerId layer, YGNodeRef node, const char* name, float value) {
  store<float>(layer, node, name, value, setFloat_internal);
}

// --- Applying values ------------------------------------------------------------------------

void setString_internal(YGNodeRef node, PropertyId id, const char* value, bool& dynamic) {
  NodeContext* context = nodeContext(node);
  if (!context) return;
  if (!value) value = "";
  const size_t length = std::strlen(value);
  const uint32_t valueHash = fnv1a(value, length);

  if (keywordDefault(id)) {  // the keyword properties
    if (auto keyword = keywordValue(id, valueHash); keyword && length > 0)
      setKeyword(node, id, *keyword);
    if (id == "display"_h || id == "overflow"_h) invokeSetStringHandler(node, id, value);
    return;
  }
  switch (id) {
    case "fontWeight"_h: {
      const float weight = valueHash == "bold"_h     ? 700.0f
                           : valueHash == "normal"_h ? 400.0f
                                                     : static_cast<float>(std::atof(value));
      setFloat_internal(node, id, weight);
      return;
    }
    case "fontStyle"_h:
      if (valueHash == "italic"_h) setFloat_internal(node, id, 2.0f);
      if (valueHash == "default"_h) setFloat_internal(node, id, 0.0f);
      return;
    case "scrollDirection"_h:
      applyScrollDirection(node, valueHash);
      return;
    case "rippleColor"_h:
      setUInt_internal(node, id, valueHash == "default"_h ? 0x64FFFFFFu : getColor(value));
      return;
    case "background"_h:
      if (std::strstr(value, "gradient(")) {
        setString_internal(node, "backgroundGradient"_h, value, dynamic);
      } else if (uint32_t colour = 0; tryParseColor(value, colour)) {
        setUInt_internal(node, "backgroundColor"_h, colour);
      } else {
        setString_internal(node, "backgroundImage"_h, value, dynamic);
      }
      return;
    case "flex"_h:
      parseFlex_internal(node, value);
      return;
    case "borderRadius"_h:
      applyBorderRadiusString(node, value, length, dynamic, context->fontSize);
      return;
  }
  if (isColourProperty(id)) {
    setUInt_internal(node, id, getColor(value));
    return;
  }
  if (auto side = borderShorthand(id)) {
    applyBorderShorthand(node, *side, value, dynamic);
    return;
  }
  float points = 0;
  if (parse_vw(value, length, points, dynamic, context->fontSize)) {
    setFloat_internal(node, id, points);
    return;
  }
  applyRefusedLength(node, id, value, length, dynamic);
}

void setFloat_internal(YGNodeRef node, PropertyId id, float value) {
  NodeContext* context = nodeContext(node);
  if (!context) return;
  if (const YogaLength* yoga = yogaLength(id)) {
    yoga->point(node, value);
    return;
  }
  if (keywordDefault(id)) return;
  if (auto edge = borderWidthEdge(id)) {
    YGNodeStyleSetBorder(node, *edge, value);
    invokeSetFloatHandler(node, id, value);
    return;
  }
  if (isColourProperty(id)) {
    setUInt_internal(node, id, colourFromNumber(value));
    return;
  }
  switch (id) {
    case "flex"_h:
      YGNodeStyleSetFlexGrow(node, value);
      YGNodeStyleSetFlexShrink(node, 1.0f);
      YGNodeStyleSetFlexBasis(node, 0.0f);
      return;
    case "border"_h:
      YGNodeStyleSetBorder(node, YGEdgeAll, value);
      invokeSetFloatHandler(node, "borderWidth"_h, value);
      return;
    case "fontSize"_h:
      invokeSetFloatHandler(node, id, value);
      context->fontSize = value;
      applyDynamicValues(node);
      return;
    default:
      invokeSetFloatHandler(node, id, value);
  }
}

void resetProp_internal(YGNodeRef node, PropertyId id) {
  if (!nodeContext(node)) return;
  if (const YogaLength* yoga = yogaLength(id)) {
    switch (yoga->reset) {
      case LengthReset::Auto:
        yoga->automatic(node);
        break;
      case LengthReset::Undefined:
        yoga->point(node, kUndefined);
        break;
      case LengthReset::UndefinedPointAndPercent:
        yoga->point(node, kUndefined);
        yoga->percent(node, kUndefined);
        break;
    }
    return;
  }
  if (auto keyword = keywordDefault(id)) {
    setKeyword(node, id, *keyword);
    if (id == "display"_h) invokeSetStringHandler(node, id, "flex");
    return;
  }
  if (auto edge = borderResetEdge(id)) {
    YGNodeStyleSetBorder(node, *edge, 0.0f);
    return;
  }
  switch (id) {
    case "flex"_h:
      return;
    case "background"_h:
      invokeResetHandler(node, "backgroundColor"_h);
      invokeResetHandler(node, "backgroundImage"_h);
      invokeResetHandler(node, "backgroundGradient"_h);
      return;
    case "transform"_h:
      if (matrixHandler) matrixHandler(getScreenId(node), node, kIdentityMatrix.data());
      return;
    case "opacity"_h:
      invokeSetFloatHandler(node, id, 1.0f);
      return;
    case "textDecoration"_h:
      invokeSetStringHandler(node, id, "none");
      return;
    default:
      invokeResetHandler(node, id);
  }
}

// --- Shorthands -----------------------------------------------------------------------------

void parseFlex_internal(YGNodeRef node, const char* value) {
  std::string tokens[3];
  int count = 0;
  for (const char* p = value ? value : ""; *p && count < 3;) {
    while (*p && isBlank(*p)) ++p;
    if (!*p) break;
    const char* start = p;
    while (*p && !isBlank(*p)) ++p;
    tokens[count++].assign(start, std::min<size_t>(static_cast<size_t>(p - start), 31));
  }
  auto hasLetterOrPercent = [](const std::string& token) {
    for (char c : token) {
      if (c == '%' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) return true;
    }
    return false;
  };
  auto basis = [node](const std::string& token) {
    const uint32_t hash = fnv1a(token);
    if (hash == "auto"_h || hash == "content"_h) {
      YGNodeStyleSetFlexBasisAuto(node);
    } else if (token.find('%') != std::string::npos) {
      YGNodeStyleSetFlexBasisPercent(node, static_cast<float>(std::atof(token.c_str())));
    } else {
      YGNodeStyleSetFlexBasis(node, static_cast<float>(std::atof(token.c_str())));
    }
  };
  auto number = [](const std::string& token) { return std::strtof(token.c_str(), nullptr); };
  float grow = 1;
  float shrink = 1;
  std::optional<std::string> basisToken;  // none: 0 percent
  if (count == 1) {
    const uint32_t hash = fnv1a(tokens[0]);
    if (hash == "none"_h || hash == "initial"_h) {
      grow = 0;
      shrink = hash == "none"_h ? 0 : 1;
      basisToken = "auto";
    } else if (hasLetterOrPercent(tokens[0])) {
      basisToken = tokens[0];
    } else {
      grow = number(tokens[0]);
    }
  } else if (count == 2) {
    grow = number(tokens[0]);
    if (hasLetterOrPercent(tokens[1])) {
      basisToken = tokens[1];
    } else {
      shrink = number(tokens[1]);
    }
  } else if (count == 3) {
    grow = number(tokens[0]);
    shrink = number(tokens[1]);
    basisToken = tokens[2];
  }
  YGNodeStyleSetFlexGrow(node, grow);
  YGNodeStyleSetFlexShrink(node, shrink);
  if (basisToken) {
    basis(*basisToken);
  } else {
    YGNodeStyleSetFlexBasisPercent(node, 0.0f);
  }
}

void applyBorderRadiusString(YGNodeRef node, const char* value, size_t length, bool& dynamic,
                             float em) {
  BorderRadiusValue radius;
  if (!parseBorderRadius(value, length, em, dynamic, radius)) {
    std::printf("[WARN] borderRadius: unsupported value \"%.*s\"\n", static_cast<int>(length),
                value);
    std::fflush(stdout);
    return;
  }
  if (radius.flag == 0) {
    invokeSetFloatHandler(node, "borderRadius"_h, radius.topLeft);
    return;
  }
  invokeSetFloatHandler(node, "borderTopLeftRadius"_h, radius.topLeft);
  invokeSetFloatHandler(node, "borderTopRightRadius"_h, radius.topRight);
  invokeSetFloatHandler(node, "borderBottomRightRadius"_h, radius.bottomRight);
  invokeSetFloatHandler(node, "borderBottomLeftRadius"_h, radius.bottomLeft);
}

}  // namespace talvero
