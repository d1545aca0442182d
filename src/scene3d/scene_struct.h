#pragma once

#include <filament/Camera.h>
#include <filament/Scene.h>
#include <filament/Skybox.h>
#include <filament/View.h>

#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "scene3d/colliders.h"

namespace talvero::scene3d {

// The per-entity records a scene keeps. Their subsystems give them the rest of their fields;
// the scene graph reads only these.
struct PlayingAnimation {};
struct ParticleSystem {
  bool visible = true;
  bool shown = true;  // whether the system draws at this moment
};

// One scene: its view, its camera once attached, the renderer's scene and the records of the
// entities in it.
struct SceneStruct {
  filament::View* view = nullptr;
  filament::Camera* camera = nullptr;
  filament::Scene* scene = nullptr;
  filament::Skybox* skybox = nullptr;
  uint64_t id = 0;
  std::unordered_map<uint32_t, PlayingAnimation> animations;
  std::unordered_map<uint32_t, ParticleSystem> particleSystems;
  std::unordered_map<uint32_t, Collider> colliders;
};

// Every scene, by id; records live until the engine goes.
std::vector<SceneStruct*>& scenes();
SceneStruct* sceneAt(int64_t id);
// Where the records of an entity in no scene live: no view, camera or renderer scene.
SceneStruct& nullScene();
// The first scene in table order whose renderer scene has the entity, else `nullScene`.
SceneStruct& getScene(uint32_t entity);
// Entities hidden by the script, in every scene.
std::unordered_set<uint32_t>& hiddenEntities();
// Destroys every scene with its view, camera, skybox and renderer scene (the engine is going).
void destroyScenes();

// Takes the records of this entity alone from `from` to `to`; a record `to` already has for it
// stays, and the moved one is dropped.
void move_elements(uint32_t entity, SceneStruct& from, SceneStruct& to);

}  // namespace talvero::scene3d
