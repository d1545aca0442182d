#include "platform/gpu/gl_device.h"

#include <gtk/gtk.h>

#include <cstdio>
#include <string>

#include "platform/toolkit/window.h"

namespace talvero::gpu {

namespace {

enum class DeviceState { NotTried, Ready, Failed };

struct Device {
  DeviceState state = DeviceState::NotTried;
  GdkGLContext* context = nullptr;  // held for the life of the process
  std::string unavailableReason;
  int maxTextureSize = 0;
  bool takesLabels = false;
  Counters counters;
};

Device& device() {
  static Device instance;
  return instance;
}

// Opens the context; the reason it cannot be had, or empty.
std::string openContext(Device& d) {
  // The host starts the toolkit itself; a caller without a host (a tool, a test) gets the same
  // platform choices through it rather than a backend of GTK's own choosing.
  if (!gdk_display_get_default() && !gtk_is_initialized()) toolkit::initToolkit();
  GdkDisplay* display = gdk_display_get_default();
  if (!display) return "no display";

  GError* error = nullptr;
  GdkGLContext* context = gdk_display_create_gl_context(display, &error);
  if (!context) {
    std::string reason = error ? error->message : "no GL context";
    g_clear_error(&error);
    return reason;
  }
  gdk_gl_context_set_allowed_apis(context, GDK_GL_API_GL);
  gdk_gl_context_set_required_version(context, 3, 3);
  gdk_gl_context_set_forward_compatible(context, TRUE);
  if (!gdk_gl_context_realize(context, &error)) {
    std::string reason = error ? error->message : "the GL context could not be realized";
    g_clear_error(&error);
    g_object_unref(context);
    return reason;
  }
  // GDK learns the version the driver gave only once the context has been current.
  gdk_gl_context_make_current(context);
  int major = 0, minor = 0;
  gdk_gl_context_get_version(context, &major, &minor);
  if (gdk_gl_context_is_legacy(context) || major * 10 + minor < 33) {
    gdk_gl_context_clear_current();
    g_object_unref(context);
    return "GL " + std::to_string(major) + "." + std::to_string(minor) + ", not 3.3 core";
  }
  GLint maxTextureSize = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxTextureSize);
  d.maxTextureSize = maxTextureSize;
  d.takesLabels = epoxy_gl_version() >= 43 || epoxy_has_gl_extension("GL_KHR_debug");
  d.context = context;
  return {};
}

}  // namespace

std::string noDeviceMessage(const std::string& reason) {
  return "[creator-2d] no GL device (" + reason + "): 2D scenes run but are not drawn";
}

bool setup() {
  Device& d = device();
  if (d.state == DeviceState::Ready) return true;
  if (d.state == DeviceState::Failed) return false;
  std::string reason = openContext(d);
  if (reason.empty()) {
    d.state = DeviceState::Ready;
    return true;
  }
  d.state = DeviceState::Failed;
  d.unavailableReason = std::move(reason);
  printLine(noDeviceMessage(d.unavailableReason));
  return false;
}

bool hasDevice() {
  return device().state == DeviceState::Ready;
}

const std::string& unavailableReason() {
  return device().unavailableReason;
}

int maxTextureSize() {
  return setup() ? device().maxTextureSize : 0;
}

bool makeDeviceCurrent() {
  if (!setup()) return false;
  // GTK makes its own contexts current to draw windows and GL areas: ours is made current
  // again at every entry point rather than assumed.
  gdk_gl_context_make_current(device().context);
  return true;
}

bool makeExistingDeviceCurrent() {
  return hasDevice() && makeDeviceCurrent();
}

void labelObject(GLenum kind, GLuint name, const char* label, std::string_view suffix) {
  if (!label || !device().takesLabels) return;
  const std::string text = std::string(label) + std::string(suffix);
  glObjectLabel(kind, name, static_cast<GLsizei>(text.size()), text.data());
}

void printLine(std::string_view line) {
  std::string text(line);
  text.push_back('\n');
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

Counters& mutableCounters() {
  return device().counters;
}

const Counters& counters() {
  return device().counters;
}

}  // namespace talvero::gpu
