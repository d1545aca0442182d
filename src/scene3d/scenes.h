#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace talvero::scene3d {

// Scenes, entities and the transform hierarchy. An entity is the renderer's whole 32-bit
// entity id, 0 for none; a scene id is its index in the table of scenes, from 0, never
// reused. Main thread only. An unknown scene or dead entity logs one
// "[creator-gl] <row>: unknown …" line per row and id and gives the neutral result.

// A new scene with its own view, under a sky of plain (0.1, 0.25, 0.57); -1 without an engine.
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
// The scene the entity draws in, -1 for none.
int64_t sceneOf(uint32_t entity);

// A new entity with a transform at identity and no parent; 0 without an engine.
uint32_t createEntity();
// Destroys the entity and, first, its descendants, depth first.
void destoryEntity(uint32_t entity);
// A bare node: a new entity under the same parent with the same local transform, in the
// source's scene; no components, children or records are copied.
uint32_t cloneEntity(uint32_t entity);
// Adds the entity and its whole subtree to the scene, its records following it. The entity
// stays in the scene it was in until `removeEntityFromScene`.
void addEntityToScene(int64_t scene, uint32_t entity);
// Takes the entity and its subtree out of the scene it is in; its records go to no scene.
void removeEntityFromScene(uint32_t entity);
bool isEntityInScene(int64_t scene, uint32_t entity);

std::string getName(uint32_t entity);
void setName(uint32_t entity, const std::string& name);

// With `keepWorld` the child keeps where it is in the world. Parenting to an entity of another
// scene moves the child's subtree there; to one in no scene, out of its scene.
void setParent(uint32_t child, uint32_t parent, bool keepWorld);
// No parent; the entity stays in its scene.
void setParentNull(uint32_t child, bool keepWorld);
uint32_t getParent(uint32_t entity);
uint32_t getChildCount(uint32_t entity);
uint32_t getChild(uint32_t entity, uint32_t index);
// Up to `count` children from `start` into `out`; how many were written.
uint32_t getChildrenIter(uint32_t entity, uint32_t* out, uint32_t start, uint32_t count);
// Every descendant, depth first, parents before children, without the entity itself. The list
// is taken before the first call, so a callback may destroy or reparent.
void traverse(uint32_t entity, const std::function<void(uint32_t)>& callback);

// Matrices are 16 floats, column-major, translation in the fourth column.
void setMatrix(uint32_t entity, const float* matrix);
void getMatrix(uint32_t entity, float* out);
void getWorldMatrix(uint32_t entity, float* out);
// The affine inverse of the world matrix.
void getWorldMatrixInverse(uint32_t entity, float* out);
void getWorldPosition(uint32_t entity, float* out);
// Column `axis` of the world matrix, scale and all.
void getWorldDirection(uint32_t entity, int axis, float* out);
// The world direction of the ray through the view point (x, y) of the scene's camera.
void getCameraViewDirection(int64_t scene, float x, float y, float* out);

// Local transform setters: each changes its part and keeps the others.
void setPosition(uint32_t entity, float x, float y, float z);
// Absolute scale; a matrix with a zero column stays as it is.
void setScale(uint32_t entity, float x, float y, float z);
void setQuaternion(uint32_t entity, float x, float y, float z, float w);
// Degrees; `order` 0 to 4 as Rx Ry Rz, Ry Rx Rz, Rz Rx Ry, Rz Ry Rx, Rx Rz Ry, written
// transposed; 5 is 0 again.
void setEulerAngles(uint32_t entity, float a, float b, float c, int order);

// Hiding is inherited, pushed down the subtree at each change.
void setVisible(uint32_t entity, bool visible);
bool isVisible(uint32_t entity);
// Every hidden entity of the scene shown or hidden again, `hiddenEntities` untouched.
void setVisibleAll(int64_t scene, bool visible);

}  // namespace talvero::scene3d
