#include "platform/gpu/gl_probe.h"

#include <X11/Xlib.h>
#include <epoxy/gl.h>
#include <epoxy/glx.h>

#include <cstdlib>

namespace talvero::gpu {

namespace {

// The probe's connection, open for the life of the process (see `ask`).
Display* probeDisplay = nullptr;

// A 1 × 1 pbuffer context, made current just long enough to read GL_RENDERER.
std::string rendererOf(Display* display) {
  const int attributes[] = {GLX_DRAWABLE_TYPE, GLX_PBUFFER_BIT, GLX_RENDER_TYPE, GLX_RGBA_BIT,
                            None};
  int count = 0;
  GLXFBConfig* configs = glXChooseFBConfig(display, DefaultScreen(display), attributes, &count);
  if (!configs || count == 0) {
    if (configs) XFree(configs);
    return {};
  }
  const int pbufferAttributes[] = {GLX_PBUFFER_WIDTH, 1, GLX_PBUFFER_HEIGHT, 1, None};
  GLXPbuffer pbuffer = glXCreatePbuffer(display, configs[0], pbufferAttributes);
  GLXContext context = glXCreateNewContext(display, configs[0], GLX_RGBA_TYPE, nullptr, True);
  std::string renderer;
  if (context && glXMakeContextCurrent(display, pbuffer, pbuffer, context)) {
    if (const auto* text = reinterpret_cast<const char*>(glGetString(GL_RENDERER))) {
      renderer = text;
    }
    glXMakeContextCurrent(display, None, None, nullptr);
  }
  if (context) glXDestroyContext(display, context);
  if (pbuffer) glXDestroyPbuffer(display, pbuffer);
  XFree(configs);
  return renderer;
}

GLProbe ask() {
  GLProbe probe;
  const char* name = std::getenv("DISPLAY");
  if (!name || !*name) return probe;
  Display* display = XOpenDisplay(name);
  if (!display) return probe;
  probe.displayOpens = true;
  int opcode = 0;
  int event = 0;
  int error = 0;
  probe.hasGlx = XQueryExtension(display, "GLX", &opcode, &event, &error);
  if (probe.hasGlx) {
    probe.renderer = rendererOf(display);
    probe.isSoftware = isSoftwareRenderer(probe.renderer);
  }
  // The connection stays open for the life of the process, and with it the GL driver the
  // probe loaded: closing it unloads the driver while the renderer is about to load it again,
  // and leaves the driver's lifetime allocations without a module to be told apart by.
  probeDisplay = display;
  return probe;
}

}  // namespace

bool isSoftwareRenderer(const std::string& renderer) {
  for (const char* name : {"llvmpipe", "softpipe", "swrast"}) {
    if (renderer.find(name) != std::string::npos) return true;
  }
  return false;
}

const GLProbe& probeGL() {
  static const GLProbe probe = ask();
  return probe;
}

}  // namespace talvero::gpu
