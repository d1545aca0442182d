#include "engine/bindings/scene3d_rows.h"

#include "scene3d/frame_loop.h"
#include "scene3d/report.h"

namespace talvero::scene3d_rows {

namespace {

const void* elementsOf(const char* row, int64_t id, const ScriptValue& value, TypedArrayKind kind,
                       const char* kindName, size_t count, size_t* length) {
  const auto view = value.typedArray();
  if (!view || view->kind != kind || !view->data || view->length < count) {
    std::string wanted = std::string("needs a ") + kindName;
    if (count > 1) wanted += " of at least " + std::to_string(count) + " elements";
    scene3d::reportOnce(row, id, wanted);
    return nullptr;
  }
  if (length) *length = view->length;
  return view->data;
}

}  // namespace

bool engineReady(const char* row) {
  if (scene3d::hasEngine()) return true;
  scene3d::reportOnce(row, -1, "no 3D engine; call createEngine first");
  return false;
}

const float* floatsIn(const char* row, int64_t id, const ScriptValue& value, size_t count,
                      size_t* length) {
  return static_cast<const float*>(
      elementsOf(row, id, value, TypedArrayKind::Float32, "Float32Array", count, length));
}

float* floatsOut(const char* row, int64_t id, const ScriptValue& value, size_t count) {
  return static_cast<float*>(const_cast<void*>(
      elementsOf(row, id, value, TypedArrayKind::Float32, "Float32Array", count, nullptr)));
}

const uint16_t* indicesIn(const char* row, int64_t id, const ScriptValue& value, size_t* length) {
  return static_cast<const uint16_t*>(
      elementsOf(row, id, value, TypedArrayKind::Uint16, "Uint16Array", 0, length));
}

uint32_t handleOf(int64_t handle) {
  return handle < 0 ? 0 : static_cast<uint32_t>(handle);
}

}  // namespace talvero::scene3d_rows
