#pragma once

#include <string>

namespace talvero::gpu {

// What the X display named by DISPLAY offers for OpenGL, asked on a throwaway GLX context.
// The 3D renderer opens its own connection and context; this only tells beforehand whether
// that can work, since the renderer ends the process on a display without GLX.
struct GLProbe {
  bool displayOpens = false;
  bool hasGlx = false;
  std::string renderer;  // GL_RENDERER of the context; empty when none could be made
  // A rasterizer in software (llvmpipe, softpipe, swrast).
  bool isSoftware = false;
};

// Asks once per process; later calls give the first answer.
const GLProbe& probeGL();

// Whether a GL_RENDERER string names a software rasterizer.
bool isSoftwareRenderer(const std::string& renderer);

}  // namespace talvero::gpu
