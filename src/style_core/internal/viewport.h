#pragma once

#include <cstdint>

namespace talvero {

// Process-wide values that lengths are worked out from: one hundredth of the viewport's
// sides, the orientation condition, and the safe-area insets with their comfort forms.
// Set by the layout pass and the UI store; read by the parsers. Main thread only.
extern float vw;
extern float vh;
extern float vmin;
extern float vmax;
extern uint16_t current_condition;  // 257 portrait, 258 landscape (and square)

extern float safeTop;
extern float safeRight;
extern float safeBottom;
extern float safeLeft;

inline constexpr float comfortInsetVertical = 12.0f;
inline constexpr float comfortInsetHorizontal = 0.0f;
extern float safeTopComfort;
extern float safeBottomComfort;
extern float safeLeftComfort;
extern float safeRightComfort;

// Back to the values of a fresh process (for tests).
void resetViewportGlobals();

}  // namespace talvero
