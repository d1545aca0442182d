#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/graphics/bitmap.h"
#include "platform/graphics/graphics_context.h"

namespace talvero::canvas {

// The opcodes of a canvas program; each is followed by a fixed number of float arguments.
enum class CanvasOp {
  save,
  restore,
  translate,
  scale,
  rotate,
  globalAlpha,
  fillStyle,
  strokeStyle,
  lineWidth,
  lineJoin,
  lineCap,
  font,
  textAlign,
  textBaseline,
  beginPath,
  closePath,
  moveTo,
  lineTo,
  quadraticCurveTo,
  bezierCurveTo,
  arc,
  rect,
  roundRect,
  fill,
  stroke,
  fillRect,
  strokeRect,
  clearRect,
  fillText,
  strokeText,
  drawImage,
};

// Saves beyond this depth are ignored together with their restores, so a runaway program
// cannot grow the state stacks without end.
inline constexpr int kMaxSaveDepth = 1024;

using SurfaceLookup = std::function<graphics::BitmapRef(int64_t surface)>;

// Draws the program into `context`. It stops at an opcode that is not a whole number from 0
// to 30, at a string index that is not finite, and where the arguments run past the end;
// what was drawn stays. A command with another argument that is not finite is skipped.
void replay(graphics::GraphicsContext& context, std::span<const float> commands,
            const std::vector<std::string>& strings, const SurfaceLookup& surfaces);

}  // namespace talvero::canvas
