#include <gdk/gdk.h>

#include <unordered_map>

#include "platform/gpu/gl_objects.h"

namespace talvero::gpu {

namespace {

// A framebuffer of another context that reads a target's colour texture: textures and fences
// are shared between the display's contexts, framebuffers are not.
struct ReadFramebuffer {
  GLuint framebuffer = 0;
  uint32_t attachedTarget = 0;
};

std::unordered_map<GdkGLContext*, ReadFramebuffer>& readFramebuffers() {
  static std::unordered_map<GdkGLContext*, ReadFramebuffer> table;
  return table;
}

// A context takes its framebuffers with it when it goes; only the entry is left to drop.
void forgetContext(gpointer, GObject* context) {
  readFramebuffers().erase(reinterpret_cast<GdkGLContext*>(context));
}

ReadFramebuffer& readFramebufferOf(GdkGLContext* context) {
  auto [entry, made] = readFramebuffers().try_emplace(context);
  if (made) {
    glGenFramebuffers(1, &entry->second.framebuffer);
    g_object_weak_ref(G_OBJECT(context), forgetContext, nullptr);
  }
  return entry->second;
}

}  // namespace

bool presentTarget(Target target, int width, int height) {
  if (width <= 0 || height <= 0 || !hasDevice()) return false;
  GdkGLContext* context = gdk_gl_context_get_current();
  if (!context) return false;
  const TargetRecord* record = findTarget(target);
  if (!record) return false;

  GLint drawBinding = 0, readBinding = 0;
  glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &drawBinding);
  glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &readBinding);
  const GLboolean scissored = glIsEnabled(GL_SCISSOR_TEST);

  if (record->fence) glWaitSync(record->fence, 0, GL_TIMEOUT_IGNORED);
  ReadFramebuffer& source = readFramebufferOf(context);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, source.framebuffer);
  if (source.attachedTarget != target.id) {
    glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                           record->texture, 0);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    source.attachedTarget = target.id;
  }
  // A blit obeys the scissor test; the area's owner may have left it on.
  if (scissored) glDisable(GL_SCISSOR_TEST);
  const bool sameSize = width == record->width && height == record->height;
  // Both framebuffers keep GL's bottom-up rows, so a straight blit keeps the picture upright.
  glBlitFramebuffer(0, 0, record->width, record->height, 0, 0, width, height, GL_COLOR_BUFFER_BIT,
                    sameSize ? GL_NEAREST : GL_LINEAR);
  if (scissored) glEnable(GL_SCISSOR_TEST);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(readBinding));
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(drawBinding));
  return true;
}

}  // namespace talvero::gpu
