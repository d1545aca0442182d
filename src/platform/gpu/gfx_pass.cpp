#include <algorithm>

#include "platform/gpu/gl_objects.h"

namespace talvero::gpu {

namespace {

// What the calls between beginPass and endPass have set. Handles are resolved again at each
// draw, so an object destroyed or made in the middle of a pass is never drawn with stale GL
// state.
struct PassState {
  bool open = false;
  uint32_t target = 0;
  uint32_t pipeline = 0;
  Bindings bindings;
};

PassState pass;
// Targets drawn into since the last commit, each to be fenced by it.
std::vector<uint32_t> drawnTargets;

GLint componentsOf(VertexFormat format) {
  return format == VertexFormat::Float2 ? 2 : 4;
}

void applyFixedState(const PipelineRecord& pipeline) {
  if (pipeline.blend) {
    glEnable(GL_BLEND);
    glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD);
    glBlendFuncSeparate(pipeline.srcRGB, pipeline.dstRGB, pipeline.srcAlpha, pipeline.dstAlpha);
  } else {
    glDisable(GL_BLEND);
  }
  if (pipeline.depthTest) {
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(pipeline.depthFunc);
  } else {
    glDisable(GL_DEPTH_TEST);
  }
  glDepthMask(pipeline.depthWrite ? GL_TRUE : GL_FALSE);
  if (pipeline.cullBack) {
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glFrontFace(GL_CCW);
  } else {
    glDisable(GL_CULL_FACE);
  }
}

void bindVertexInput(const PipelineRecord& pipeline, const BufferRecord& vertices,
                     const BufferRecord& indices) {
  glBindVertexArray(pipeline.vertexArray);
  glBindBuffer(GL_ARRAY_BUFFER, vertices.buffer);
  for (const VertexAttribute& attribute : pipeline.attributes) {
    const auto location = static_cast<GLuint>(attribute.location);
    glEnableVertexAttribArray(location);
    glVertexAttribPointer(location, componentsOf(attribute.format), GL_FLOAT, GL_FALSE,
                          pipeline.stride, reinterpret_cast<const void*>(attribute.offset));
  }
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices.buffer);
}

}  // namespace

bool beginPass(Target target, const PassAction& action) {
  pass = PassState{};
  if (!makeExistingDeviceCurrent()) return false;
  const TargetRecord* record = findTarget(target);
  if (!record) return false;
  pass.open = true;
  pass.target = target.id;
  if (std::find(drawnTargets.begin(), drawnTargets.end(), target.id) == drawnTargets.end()) {
    drawnTargets.push_back(target.id);
  }
  glBindFramebuffer(GL_FRAMEBUFFER, record->framebuffer);
  glViewport(0, 0, record->width, record->height);
  // The clear obeys the scissor and the write masks, which the last pass may have left.
  glDisable(GL_SCISSOR_TEST);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glDepthMask(GL_TRUE);
  glStencilMask(0xFF);
  const float* c = action.clearColor;
  glClearColor(c[0], c[1], c[2], c[3]);
  glClearDepth(1.0);
  glClearStencil(0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
  ++mutableCounters().passes;
  return true;
}

void applyPipeline(Pipeline pipeline) {
  if (!pass.open || !makeExistingDeviceCurrent()) return;
  pass.pipeline = 0;
  const PipelineRecord* record = objects().pipelines.find(pipeline.id);
  if (!record || !objects().shaders.find(record->shader)) return;
  pass.pipeline = pipeline.id;
  applyFixedState(*record);
}

void applyUniforms(const void* data, size_t size) {
  if (!pass.open || !data || !pass.pipeline || !makeExistingDeviceCurrent()) return;
  const PipelineRecord* pipeline = objects().pipelines.find(pass.pipeline);
  if (!pipeline) return;
  const ShaderRecord* shader = objects().shaders.find(pipeline->shader);
  // Only the whole block is taken: a part would leave the rest of last frame's values.
  if (!shader || !shader->uniformBuffer || size != shader->uniformBlockSize) return;
  glBindBuffer(GL_UNIFORM_BUFFER, shader->uniformBuffer);
  glBufferSubData(GL_UNIFORM_BUFFER, 0, static_cast<GLsizeiptr>(size), data);
}

void applyBindings(const Bindings& bindings) {
  if (!pass.open) return;
  pass.bindings = bindings;
}

void draw(int firstElement, int elementCount, int instances) {
  if (!pass.open || !pass.pipeline || firstElement < 0 || elementCount <= 0 || instances <= 0)
    return;
  if (!makeExistingDeviceCurrent()) return;
  ObjectTables& tables = objects();
  const TargetRecord* target = tables.targets.find(pass.target);
  const PipelineRecord* pipeline = tables.pipelines.find(pass.pipeline);
  if (!target || !pipeline) return;
  const ShaderRecord* shader = tables.shaders.find(pipeline->shader);
  const BufferRecord* vertices = tables.buffers.find(pass.bindings.vertexBuffer.id);
  const BufferRecord* indices = tables.buffers.find(pass.bindings.indexBuffer.id);
  const ImageRecord* image = tables.images.find(pass.bindings.image.id);
  const SamplerRecord* sampler = tables.samplers.find(pass.bindings.sampler.id);
  if (!shader || !vertices || !indices || !image || !sampler) return;
  // Indexes past the end of the index buffer would be read from memory GL does not own.
  const size_t lastIndex = static_cast<size_t>(firstElement) + static_cast<size_t>(elementCount);
  if (lastIndex * sizeof(uint32_t) > indices->size) return;

  glBindFramebuffer(GL_FRAMEBUFFER, target->framebuffer);
  glUseProgram(shader->program);
  if (shader->uniformBuffer) glBindBufferBase(GL_UNIFORM_BUFFER, 0, shader->uniformBuffer);
  bindVertexInput(*pipeline, *vertices, *indices);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, image->texture);
  glBindSampler(0, sampler->sampler);
  const auto* offset =
      reinterpret_cast<const void*>(static_cast<size_t>(firstElement) * sizeof(uint32_t));
  if (instances == 1) {
    glDrawElements(GL_TRIANGLES, elementCount, GL_UNSIGNED_INT, offset);
  } else {
    glDrawElementsInstanced(GL_TRIANGLES, elementCount, GL_UNSIGNED_INT, offset, instances);
  }
  ++mutableCounters().draws;
}

void endPass() {
  pass = PassState{};
}

void commit() {
  if (!makeExistingDeviceCurrent()) return;
  for (const uint32_t id : drawnTargets) {
    TargetRecord* target = objects().targets.peek(id);
    if (!target) continue;  // destroyed since it was drawn
    if (target->fence) glDeleteSync(target->fence);
    target->fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  }
  drawnTargets.clear();
  // Other contexts wait on the fences; they can signal only once the commands reach the driver.
  glFlush();
}

}  // namespace talvero::gpu
