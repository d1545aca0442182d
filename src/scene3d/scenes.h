#pragma once

#include <cstdint>

namespace talvero::scene3d {

// Scenes, entities and the transform hierarchy. An entity is the renderer's whole 32-bit
// entity id, 0 for none; a scene id is its index in the table of scenes, from 0, never
// reused. Main thread only.

// A new scene with its own view; -1 without an engine.
int64_t createScene();
int64_t sceneCount();
// A camera component on `entity`, given to the scene's view.
void attachCameraToScene(int64_t scene, uint32_t entity);
// The scene drawn by the frame loop from now on; its view takes the current viewport.
void openScene(int64_t scene);
// Nothing is drawn any more; nothing is destroyed.
void closeScene();
// The id of the open scene, -1 for none.
int64_t openSceneId();

// A new entity with a transform at identity and no parent; 0 without an engine.
uint32_t createEntity();
void addEntityToScene(int64_t scene, uint32_t entity);
bool isEntityInScene(int64_t scene, uint32_t entity);
// Local position, keeping the rotation and scale of the local transform.
void setPosition(uint32_t entity, float x, float y, float z);

}  // namespace talvero::scene3d
