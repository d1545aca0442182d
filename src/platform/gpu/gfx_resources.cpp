#include "platform/gpu/gl_objects.h"

namespace talvero::gpu {

namespace {

GLint filterOf(Filter filter) {
  return filter == Filter::Linear ? GL_LINEAR : GL_NEAREST;
}

GLint wrapOf(Wrap wrap) {
  return wrap == Wrap::Repeat ? GL_REPEAT : GL_CLAMP_TO_EDGE;
}

bool fitsDevice(int width, int height) {
  return width > 0 && height > 0 && width <= maxTextureSize() && height <= maxTextureSize();
}

// Buffers are filled through the copy target, which no vertex array holds: filling one in the
// middle of a pass leaves the pass's bindings alone.
void fillBuffer(GLuint buffer, GLsizeiptr size, const void* data, GLenum usage) {
  glBindBuffer(GL_COPY_WRITE_BUFFER, buffer);
  glBufferData(GL_COPY_WRITE_BUFFER, size, data, usage);
}

}  // namespace

Sampler makeSampler(const SamplerDesc& desc) {
  if (!makeDeviceCurrent()) return {};
  SamplerRecord record;
  glGenSamplers(1, &record.sampler);
  // Images have one level, so the mipmap filter has nothing to choose between.
  glSamplerParameteri(record.sampler, GL_TEXTURE_MIN_FILTER, filterOf(desc.minFilter));
  glSamplerParameteri(record.sampler, GL_TEXTURE_MAG_FILTER, filterOf(desc.magFilter));
  glSamplerParameteri(record.sampler, GL_TEXTURE_WRAP_S, wrapOf(desc.wrapU));
  glSamplerParameteri(record.sampler, GL_TEXTURE_WRAP_T, wrapOf(desc.wrapV));
  glSamplerParameteri(record.sampler, GL_TEXTURE_WRAP_R, wrapOf(desc.wrapW));
  labelObject(GL_SAMPLER, record.sampler, desc.label);
  return Sampler{objects().samplers.insert(record)};
}

// Row 0 goes first, so texture coordinate v = 0 is the top of the picture as given.
Image makeImage(int width, int height, const uint8_t* rgba, const char* label) {
  if (!rgba || !makeDeviceCurrent() || !fitsDevice(width, height)) return {};
  ImageRecord record{0, width, height};
  glGenTextures(1, &record.texture);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, record.texture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
  // Without this a texture of one level is incomplete under a mipmapping sampler.
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
  labelObject(GL_TEXTURE, record.texture, label);
  return Image{objects().images.insert(record)};
}

bool updateImage(Image image, int width, int height, const uint8_t* rgba) {
  if (!rgba || !makeExistingDeviceCurrent()) return false;
  const ImageRecord* record = objects().images.find(image.id);
  if (!record || record->width != width || record->height != height) return false;
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, record->texture);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
  return true;
}

Buffer makeBuffer(BufferUsage usage, size_t size, const void* data, const char* label) {
  if (size == 0 || (usage == BufferUsage::ImmutableIndex && !data)) return {};
  if (!makeDeviceCurrent()) return {};
  BufferRecord record{0, usage, size};
  glGenBuffers(1, &record.buffer);
  fillBuffer(record.buffer, static_cast<GLsizeiptr>(size), data,
             usage == BufferUsage::StreamVertex ? GL_STREAM_DRAW : GL_STATIC_DRAW);
  labelObject(GL_BUFFER, record.buffer, label);
  return Buffer{objects().buffers.insert(record)};
}

bool updateBuffer(Buffer buffer, const void* data, size_t size) {
  if (!data || !makeExistingDeviceCurrent()) return false;
  const BufferRecord* record = objects().buffers.find(buffer.id);
  if (!record || record->usage != BufferUsage::StreamVertex || size > record->size) return false;
  // Orphaning the old storage lets draws still reading it finish while the new data goes in.
  fillBuffer(record->buffer, static_cast<GLsizeiptr>(record->size), nullptr, GL_STREAM_DRAW);
  glBufferSubData(GL_COPY_WRITE_BUFFER, 0, static_cast<GLsizeiptr>(size), data);
  ++mutableCounters().bufferUpdates;
  return true;
}

void destroy(Sampler sampler) {
  if (!sampler.id || !makeExistingDeviceCurrent()) return;
  if (auto record = objects().samplers.take(sampler.id)) glDeleteSamplers(1, &record->sampler);
}

void destroy(Image image) {
  if (!image.id || !makeExistingDeviceCurrent()) return;
  if (auto record = objects().images.take(image.id)) glDeleteTextures(1, &record->texture);
}

void destroy(Buffer buffer) {
  if (!buffer.id || !makeExistingDeviceCurrent()) return;
  if (auto record = objects().buffers.take(buffer.id)) glDeleteBuffers(1, &record->buffer);
}

}  // namespace talvero::gpu
