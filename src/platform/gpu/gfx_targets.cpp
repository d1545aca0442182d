#include <cstring>

#include "platform/gpu/gl_objects.h"

namespace talvero::gpu {

Target makeTarget(int width, int height, const char* label) {
  if (!makeDeviceCurrent()) return {};
  if (width <= 0 || height <= 0 || width > maxTextureSize() || height > maxTextureSize()) return {};
  TargetRecord record;
  record.width = width;
  record.height = height;
  glGenTextures(1, &record.texture);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, record.texture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  glGenRenderbuffers(1, &record.depthStencil);
  glBindRenderbuffer(GL_RENDERBUFFER, record.depthStencil);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, width, height);
  glGenFramebuffers(1, &record.framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, record.framebuffer);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, record.texture, 0);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER,
                            record.depthStencil);
  const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  if (status != GL_FRAMEBUFFER_COMPLETE) {
    glDeleteFramebuffers(1, &record.framebuffer);
    glDeleteRenderbuffers(1, &record.depthStencil);
    glDeleteTextures(1, &record.texture);
    printLine("[creator-2d] a render target of " + std::to_string(width) + " x " +
              std::to_string(height) + " is incomplete (GL status " + std::to_string(status) + ")");
    return {};
  }
  labelObject(GL_TEXTURE, record.texture, label);
  labelObject(GL_RENDERBUFFER, record.depthStencil, label, "-depth-stencil");
  labelObject(GL_FRAMEBUFFER, record.framebuffer, label, "-framebuffer");
  return Target{objects().targets.insert(record)};
}

int targetWidth(Target target) {
  const TargetRecord* record = findTarget(target);
  return record ? record->width : 0;
}

int targetHeight(Target target) {
  const TargetRecord* record = findTarget(target);
  return record ? record->height : 0;
}

void destroy(Target target) {
  if (!target.id || !makeExistingDeviceCurrent()) return;
  if (auto record = objects().targets.take(target.id)) {
    if (record->fence) glDeleteSync(record->fence);
    glDeleteFramebuffers(1, &record->framebuffer);
    glDeleteRenderbuffers(1, &record->depthStencil);
    glDeleteTextures(1, &record->texture);
  }
}

// Read in the context that drew the target, the pixels come after its draws without waiting on
// the fence. GL gives the bottom row first.
std::vector<uint8_t> readTarget(Target target) {
  if (!makeExistingDeviceCurrent()) return {};
  const TargetRecord* record = findTarget(target);
  if (!record) return {};
  const size_t rowBytes = static_cast<size_t>(record->width) * 4;
  const size_t rows = static_cast<size_t>(record->height);
  std::vector<uint8_t> bottomUp(rowBytes * rows);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, record->framebuffer);
  glReadBuffer(GL_COLOR_ATTACHMENT0);
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glReadPixels(0, 0, record->width, record->height, GL_RGBA, GL_UNSIGNED_BYTE, bottomUp.data());
  std::vector<uint8_t> topDown(bottomUp.size());
  for (size_t row = 0; row < rows; ++row) {
    std::memcpy(topDown.data() + row * rowBytes, bottomUp.data() + (rows - 1 - row) * rowBytes,
                rowBytes);
  }
  return topDown;
}

}  // namespace talvero::gpu
