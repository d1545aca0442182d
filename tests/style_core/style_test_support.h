#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "style_core/internal/layers.h"
#include "style_core/internal/node_tree.h"
#include "style_core/internal/properties.h"
#include "style_core/internal/viewport.h"

namespace talvero::testing {

// One call that reached a view handler.
struct HandlerCall {
  std::string kind;  // "string", "float", "colour", "reset", "matrix", "gradient"
  PropertyId id = 0;
  std::string text;
  float number = 0;
  uint32_t colour = 0;
  std::vector<float> matrix;
  const CUIGradient* gradient = nullptr;
};

inline std::vector<HandlerCall>& handlerCalls() {
  static std::vector<HandlerCall> calls;
  return calls;
}

inline HandlerCall& newCall(const char* kind, PropertyId id) {
  HandlerCall& call = handlerCalls().emplace_back();
  call.kind = kind;
  call.id = id;
  return call;
}

template <PropertyId Id>
void recordString(int32_t, YGNodeRef, const char* value) {
  newCall("string", Id).text = value;
}
template <PropertyId Id>
void recordFloat(int32_t, YGNodeRef, float value) {
  newCall("float", Id).number = value;
}
template <PropertyId Id>
void recordColour(int32_t, YGNodeRef, uint32_t colour) {
  newCall("colour", Id).colour = colour;
}
template <PropertyId Id>
void recordReset(int32_t, YGNodeRef) {
  newCall("reset", Id);
}
inline void recordMatrix(int32_t, YGNodeRef, const float* matrix) {
  newCall("matrix", 0).matrix.assign(matrix, matrix + 9);
}
inline void recordGradient(int32_t, YGNodeRef, const CUIGradient* gradient) {
  newCall("gradient", 0).gradient = gradient;
}

// The handlers a host registers, each recording what it receives.
inline void registerRecordingHandlers() {
#define TALVERO_RECORD(kind, add, name) add(#name, &record##kind<fnv1a(#name)>)
  TALVERO_RECORD(Colour, addUIntHandler, backgroundColor);
  TALVERO_RECORD(Colour, addUIntHandler, borderColor);
  TALVERO_RECORD(Colour, addUIntHandler, borderTopColor);
  TALVERO_RECORD(Colour, addUIntHandler, color);
  TALVERO_RECORD(Colour, addUIntHandler, rippleColor);
  TALVERO_RECORD(String, addStringHandler, backgroundImage);
  TALVERO_RECORD(String, addStringHandler, textAlign);
  TALVERO_RECORD(String, addStringHandler, textDecoration);
  TALVERO_RECORD(String, addStringHandler, placeholder);
  TALVERO_RECORD(String, addStringHandler, display);
  TALVERO_RECORD(String, addStringHandler, overflow);
  TALVERO_RECORD(Float, addFloatHandler, borderWidth);
  TALVERO_RECORD(Float, addFloatHandler, borderTopWidth);
  TALVERO_RECORD(Float, addFloatHandler, fontSize);
  TALVERO_RECORD(Float, addFloatHandler, fontWeight);
  TALVERO_RECORD(Float, addFloatHandler, fontStyle);
  TALVERO_RECORD(Float, addFloatHandler, lineHeight);
  TALVERO_RECORD(Float, addFloatHandler, scrollDirection);
  TALVERO_RECORD(Float, addFloatHandler, borderRadius);
  TALVERO_RECORD(Float, addFloatHandler, borderTopLeftRadius);
  TALVERO_RECORD(Float, addFloatHandler, borderTopRightRadius);
  TALVERO_RECORD(Float, addFloatHandler, borderBottomRightRadius);
  TALVERO_RECORD(Float, addFloatHandler, borderBottomLeftRadius);
  TALVERO_RECORD(Float, addFloatHandler, opacity);
  TALVERO_RECORD(Reset, addResetHandler, backgroundColor);
  TALVERO_RECORD(Reset, addResetHandler, backgroundImage);
  TALVERO_RECORD(Reset, addResetHandler, backgroundGradient);
  TALVERO_RECORD(Reset, addResetHandler, color);
  TALVERO_RECORD(Reset, addResetHandler, fontSize);
#undef TALVERO_RECORD
  setMatrixHandler(&recordMatrix);
  setGradientHandler(&recordGradient);
}

// A fresh process state: no handlers but the recorders, default globals, one root node.
class StyleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    clearStyleHandlers();
    registerRecordingHandlers();
    resetViewportGlobals();
    resetClassLayers();
    handlerCalls().clear();
    root = createNodeRoot(7);
  }
  void TearDown() override { freeNode(root); }

  std::vector<HandlerCall> takeCalls() {
    std::vector<HandlerCall> calls;
    calls.swap(handlerCalls());
    return calls;
  }

  YGNodeRef root = nullptr;
};

}  // namespace talvero::testing
