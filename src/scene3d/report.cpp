#include "scene3d/report.h"

#include <filament/TransformManager.h>
#include <utils/Entity.h>

#include <set>
#include <utility>

#include "runtime/log.h"
#include "scene3d/engine_state.h"
#include "scene3d/entity_graph.h"
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

filament::TransformManager::Instance liveTransform(const char* row, uint32_t entity) {
  filament::Engine* engine = state().engine;
  const auto instance = engine && entity != 0
                            ? engine->getTransformManager().getInstance(entityOf(entity))
                            : filament::TransformManager::Instance();
  if (!instance) reportOnce(row, entity, "unknown entity " + std::to_string(entity));
  return instance;
}

bool checkTransform(const char* row, uint32_t entity) {
  return static_cast<bool>(liveTransform(row, entity));
}

bool checkScene(const char* row, int64_t scene) {
  if (state().engine && sceneAt(scene)) return true;
  reportOnce(row, scene, "unknown scene " + std::to_string(scene));
  return false;
}

}  // namespace talvero::scene3d
