#include "style_core/internal/viewport.h"

namespace talvero {

float vw = 0;
float vh = 0;
float vmin = 0;
float vmax = 0;
uint16_t current_condition = 257;

float safeTop = 0;
float safeRight = 0;
float safeBottom = 0;
float safeLeft = 0;

float safeTopComfort = comfortInsetVertical;
float safeBottomComfort = comfortInsetVertical;
float safeLeftComfort = comfortInsetHorizontal;
float safeRightComfort = comfortInsetHorizontal;

void resetViewportGlobals() {
  vw = vh = vmin = vmax = 0;
  current_condition = 257;
  safeTop = safeRight = safeBottom = safeLeft = 0;
  safeTopComfort = safeBottomComfort = comfortInsetVertical;
  safeLeftComfort = safeRightComfort = comfortInsetHorizontal;
}

}  // namespace talvero
