#include <string>

#include "platform/gpu/gl_objects.h"

namespace talvero::gpu {

namespace {

std::string nameOf(const char* label) {
  return label ? std::string("\"") + label + "\"" : std::string("(unlabelled)");
}

// The compiled stage, or 0 after printing the compiler's log.
GLuint compileStage(GLenum stage, const char* source, const char* label) {
  const GLuint shader = glCreateShader(stage);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  GLint compiled = GL_FALSE;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
  if (compiled) return shader;
  GLint length = 0;
  glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
  std::string log(static_cast<size_t>(length > 0 ? length : 1), '\0');
  glGetShaderInfoLog(shader, length, nullptr, log.data());
  glDeleteShader(shader);
  printLine("[creator-2d] shader " + nameOf(label) + ": the " +
            (stage == GL_VERTEX_SHADER ? "vertex" : "fragment") +
            " stage does not compile: " + log.c_str());
  return 0;
}

// The linked program, or 0 after printing the linker's log.
GLuint linkProgram(const ShaderDesc& desc) {
  const GLuint vertex = compileStage(GL_VERTEX_SHADER, desc.vertexSource, desc.label);
  if (!vertex) return 0;
  const GLuint fragment = compileStage(GL_FRAGMENT_SHADER, desc.fragmentSource, desc.label);
  if (!fragment) {
    glDeleteShader(vertex);
    return 0;
  }
  const GLuint program = glCreateProgram();
  glAttachShader(program, vertex);
  glAttachShader(program, fragment);
  for (const ShaderAttribute& attribute : desc.attributes) {
    glBindAttribLocation(program, static_cast<GLuint>(attribute.location), attribute.name);
  }
  glLinkProgram(program);
  glDeleteShader(vertex);
  glDeleteShader(fragment);
  GLint linked = GL_FALSE;
  glGetProgramiv(program, GL_LINK_STATUS, &linked);
  if (linked) return program;
  GLint length = 0;
  glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
  std::string log(static_cast<size_t>(length > 0 ? length : 1), '\0');
  glGetProgramInfoLog(program, length, nullptr, log.data());
  glDeleteProgram(program);
  printLine("[creator-2d] shader " + nameOf(desc.label) + " does not link: " + log.c_str());
  return 0;
}

// Binds the block to binding 0; false after printing why it does not fit the description.
bool bindUniformBlock(GLuint program, const ShaderDesc& desc) {
  const GLuint index = glGetUniformBlockIndex(program, desc.uniformBlock);
  // A block the shader never reads may be optimised away; setting it is then harmless.
  if (index == GL_INVALID_INDEX) return true;
  GLint size = 0;
  glGetActiveUniformBlockiv(program, index, GL_UNIFORM_BLOCK_DATA_SIZE, &size);
  if (static_cast<size_t>(size) != desc.uniformBlockSize) {
    printLine("[creator-2d] shader " + nameOf(desc.label) + ": uniform block " + desc.uniformBlock +
              " holds " + std::to_string(size) + " bytes, not " +
              std::to_string(desc.uniformBlockSize));
    return false;
  }
  glUniformBlockBinding(program, index, 0);
  return true;
}

GLenum factorOf(BlendFactor factor) {
  switch (factor) {
    case BlendFactor::Zero:
      return GL_ZERO;
    case BlendFactor::One:
      return GL_ONE;
    case BlendFactor::SrcAlpha:
      return GL_SRC_ALPHA;
    case BlendFactor::OneMinusSrcAlpha:
      return GL_ONE_MINUS_SRC_ALPHA;
  }
  return GL_ONE;
}

GLenum compareOf(CompareFunc func) {
  switch (func) {
    case CompareFunc::Always:
      return GL_ALWAYS;
    case CompareFunc::Less:
      return GL_LESS;
    case CompareFunc::LessEqual:
      return GL_LEQUAL;
  }
  return GL_ALWAYS;
}

}  // namespace

Shader makeShader(const ShaderDesc& desc) {
  if (!desc.vertexSource || !desc.fragmentSource) return {};
  if (!makeDeviceCurrent()) return {};
  const GLuint program = linkProgram(desc);
  if (!program) return {};
  ShaderRecord record;
  record.program = program;
  if (desc.uniformBlock && desc.uniformBlockSize > 0) {
    if (!bindUniformBlock(program, desc)) {
      glDeleteProgram(program);
      return {};
    }
    record.uniformBlockSize = desc.uniformBlockSize;
    glGenBuffers(1, &record.uniformBuffer);
    glBindBuffer(GL_UNIFORM_BUFFER, record.uniformBuffer);
    glBufferData(GL_UNIFORM_BUFFER, static_cast<GLsizeiptr>(desc.uniformBlockSize), nullptr,
                 GL_STREAM_DRAW);
    labelObject(GL_BUFFER, record.uniformBuffer, desc.label, "-uniforms");
  }
  if (desc.textureUniform) {
    // The program in use changes here; every draw puts its own program back.
    glUseProgram(program);
    const GLint location = glGetUniformLocation(program, desc.textureUniform);
    if (location >= 0) glUniform1i(location, 0);
    glUseProgram(0);
  }
  labelObject(GL_PROGRAM, program, desc.label);
  return Shader{objects().shaders.insert(record)};
}

Pipeline makePipeline(const PipelineDesc& desc) {
  if (!makeDeviceCurrent()) return {};
  if (!objects().shaders.find(desc.shader.id)) return {};
  PipelineRecord record;
  record.shader = desc.shader.id;
  record.stride = static_cast<GLsizei>(desc.stride);
  record.attributes = desc.attributes;
  record.blend = desc.blend;
  record.srcRGB = factorOf(desc.srcRGB);
  record.dstRGB = factorOf(desc.dstRGB);
  record.srcAlpha = factorOf(desc.srcAlpha);
  record.dstAlpha = factorOf(desc.dstAlpha);
  // With depth testing off GL writes no depth either, so the test stays on when asked to write.
  record.depthTest = desc.depthCompare != CompareFunc::Always || desc.depthWrite;
  record.depthFunc = compareOf(desc.depthCompare);
  record.depthWrite = desc.depthWrite;
  record.cullBack = desc.cull == CullMode::Back;
  glGenVertexArrays(1, &record.vertexArray);
  // A vertex array exists for labels only once it has been bound.
  glBindVertexArray(record.vertexArray);
  glBindVertexArray(0);
  labelObject(GL_VERTEX_ARRAY, record.vertexArray, desc.label);
  return Pipeline{objects().pipelines.insert(std::move(record))};
}

void destroy(Shader shader) {
  if (!shader.id || !makeExistingDeviceCurrent()) return;
  if (auto record = objects().shaders.take(shader.id)) {
    glDeleteProgram(record->program);
    if (record->uniformBuffer) glDeleteBuffers(1, &record->uniformBuffer);
  }
}

void destroy(Pipeline pipeline) {
  if (!pipeline.id || !makeExistingDeviceCurrent()) return;
  if (auto record = objects().pipelines.take(pipeline.id)) {
    glDeleteVertexArrays(1, &record->vertexArray);
  }
}

}  // namespace talvero::gpu
