#include "scene3d/report.h"

#include <filament/TransformManager.h>
#include <utils/Entity.h>

#include <set>
#include <utility>

#include "runtime/log.h"
#include "scene3d/engine_state.h"
#include "scene3d/scene_struct.h"

namespace talvero::scene3d {

namespace {

std::set<std::pair<std::string, int64_t>>& reported() {
  static std::set<std::pair<std::string, int64_t>> rows;
  return rows;
}

}  // namespace

void reportOnce(const std::string& row, int64_t id, const std::string& text) {
  if (reported().emplace(row, id).second) logLine("[creator-gl] " + row + ": " + text);
}

void resetReports() {
  reported().clear();
}

bool checkTransform(const char* row, uint32_t entity) {
  filament::Engine* engine = state().engine;
  if (engine && entity != 0 &&
      engine->getTransformManager().hasComponent(utils::Entity::import(static_cast<int>(entity)))) {
    return true;
  }
  reportOnce(row, entity, "unknown entity " + std::to_string(entity));
  return false;
}

bool checkScene(const char* row, int64_t scene) {
  if (state().engine && sceneAt(scene)) return true;
  reportOnce(row, scene, "unknown scene " + std::to_string(scene));
  return false;
}

}  // namespace talvero::scene3d
