#include "scene3d/physics/character.h"

#include <btBulletDynamicsCommon.h>

#include <cmath>

#include "scene3d/physics/character_state.h"
#include "scene3d/physics/physics_world.h"
#include "scene3d/report.h"

namespace talvero::scene3d {

namespace physics {

namespace {

struct CharacterTable {
  std::map<uint32_t, CharacterRecord> characters;
  uint32_t nextId = 1;
};

CharacterTable& table() {
  static CharacterTable characters;
  return characters;
}

void release(CharacterRecord& character) {
  delete character.probe;
  character.probe = nullptr;
}

void writeEntity(const CharacterRecord& character) {
  writeWorldTransform(character.entity, {character.position, character.rotation, character.scale});
}

}  // namespace

std::map<uint32_t, CharacterRecord>& characters() {
  return table().characters;
}

void updateCharacters(float dt) {
  if (!world()) return;
  const bool moves = std::isfinite(dt) && dt > 0;
  for (auto& [id, character] : characters()) {
    if (moves) extendedUpdateCharacter(character, dt);
    writeEntity(character);
  }
}

void destroyCharacters() {
  for (auto& [id, character] : characters()) release(character);
  characters().clear();
}

}  // namespace physics

using namespace physics;

namespace {

CharacterRecord* findCharacter(uint32_t id) {
  const auto found = characters().find(id);
  return found == characters().end() ? nullptr : &found->second;
}

}  // namespace

uint32_t characterCreate(uint32_t entity, uint32_t shape, float maxSlopeDegrees) {
  if (!world()) physicsInit();
  const Shape* found = shapeById(shape);
  if (!world() || !found) return 0;
  const Pose pose = entityPose(entity);
  if (!finitePose(pose) || !std::isfinite(maxSlopeDegrees)) {
    reportOnce("characterCreate", entity, "the pose and the slope must be finite");
    return 0;
  }
  CharacterRecord character;
  character.entity = entity;
  character.scale = pose.scale;
  character.rotation = pose.rotation;
  character.position = pose.position;
  const float slope = maxSlopeDegrees > 0 ? maxSlopeDegrees * 0.017453292f : 0.7853982f;
  character.cosMaxSlope = std::cos(slope);
  // The character keeps the shape even if the table lets it go.
  character.shape = found->shape;
  character.probe = new btCollisionObject();
  character.probe->setCollisionShape(character.shape.get());
  const uint32_t id = table().nextId++;
  characters().emplace(id, std::move(character));
  return id;
}

void characterDestroy(uint32_t id) {
  const auto found = characters().find(id);
  if (found == characters().end()) return;
  release(found->second);
  characters().erase(found);
}

void characterSetVelocity(uint32_t id, float x, float y, float z) {
  CharacterRecord* character = findCharacter(id);
  if (!character) return;
  if (!allFinite({x, y, z})) {
    reportOnce("characterSetVelocity", id, "velocity must be finite");
    return;
  }
  character->velocity = {x, y, z};
}

void characterGetVelocity(uint32_t id, float* out3) {
  const CharacterRecord* character = findCharacter(id);
  const Vec3 v = character ? character->velocity : Vec3{};
  out3[0] = v.x;
  out3[1] = v.y;
  out3[2] = v.z;
}

int32_t characterGetGroundState(uint32_t id) {
  const CharacterRecord* character = findCharacter(id);
  return character ? character->groundState : kInAir;
}

void characterSetPosition(uint32_t id, float x, float y, float z) {
  CharacterRecord* character = findCharacter(id);
  if (!character) return;
  if (!allFinite({x, y, z})) {
    reportOnce("characterSetPosition", id, "position must be finite");
    return;
  }
  // A teleport: nothing on the way is touched, and the character has no body to move along.
  character->position = {x, y, z};
}

}  // namespace talvero::scene3d
