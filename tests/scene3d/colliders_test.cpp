#include "scene3d/colliders.h"

#include <gtest/gtest.h>

#include <variant>
#include <vector>

#include "scene3d/scenes.h"
#include "scene3d_test_support.h"

namespace talvero::scene3d {
namespace {

using testing::addQuad;
using testing::Scene3DTest;
using testing::unlitColour;

constexpr int64_t kNoScene = -1;

std::vector<float> three(const float* values) {
  return {values[0], values[1], values[2]};
}

bool activeOf(const Collider& collider) {
  return std::visit([](const auto& shape) { return shape.active; }, collider);
}

TEST_F(Scene3DTest, ASphereColliderReplacesABoxOne) {
  const uint32_t entity = createEntity();
  addEntityToScene(scene, entity);
  setColliderBox(entity, 1, 2, 3, 2, 4, 6);
  const auto* box = std::get_if<BoxCollider>(findCollider(scene, entity));
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(three(box->center), (std::vector<float>{1, 2, 3}));
  EXPECT_EQ(three(box->halfExtent), (std::vector<float>{1, 2, 3})) << "half the size given";
  EXPECT_TRUE(box->active);

  setColliderSphere(entity, 0, 1, 0, 5);
  const auto* sphere = std::get_if<SphereCollider>(findCollider(scene, entity));
  ASSERT_NE(sphere, nullptr);
  EXPECT_EQ(three(sphere->center), (std::vector<float>{0, 1, 0}));
  EXPECT_FLOAT_EQ(sphere->radius, 5);
}

TEST_F(Scene3DTest, AColliderTravelsWithItsEntityBetweenScenesAndOutOfThem) {
  const uint32_t entity = createEntity();
  setColliderSphere(entity, 0, 0, 0, 1);
  ASSERT_NE(findCollider(kNoScene, entity), nullptr) << "an entity in no scene keeps its own";

  addEntityToScene(scene, entity);
  EXPECT_EQ(findCollider(kNoScene, entity), nullptr);
  ASSERT_NE(findCollider(scene, entity), nullptr);

  const int64_t other = createScene();
  removeEntityFromScene(entity);
  addEntityToScene(other, entity);
  EXPECT_EQ(findCollider(scene, entity), nullptr);
  ASSERT_NE(findCollider(other, entity), nullptr);
}

TEST_F(Scene3DTest, AColliderIsActiveWhileItsEntityIsShown) {
  const uint32_t parent = createEntity();
  const uint32_t entity = createEntity();
  setParent(entity, parent, false);
  addEntityToScene(scene, parent);
  addEntityToScene(scene, entity);
  setColliderBox(entity, 0, 0, 0, 1, 1, 1);

  setVisible(entity, false);
  EXPECT_FALSE(activeOf(*findCollider(scene, entity)));
  setVisible(entity, true);
  EXPECT_TRUE(activeOf(*findCollider(scene, entity)));
  // Hiding an ancestor reaches the collider too.
  setVisible(parent, false);
  EXPECT_FALSE(activeOf(*findCollider(scene, entity)));
  // A collider set on a hidden entity starts active all the same.
  setColliderSphere(entity, 0, 0, 0, 1);
  EXPECT_TRUE(activeOf(*findCollider(scene, entity)));
}

TEST_F(Scene3DTest, AMeshColliderIsTheBoxAroundTheRenderableFiledUnderTheOtherEntity) {
  const uint32_t quad = addQuad(scene, unlitColour(0xFF0000FF), -1, -2, 3, 4, -5);
  const uint32_t holder = createEntity();
  addEntityToScene(scene, holder);

  setColliderFromMesh(holder, quad, 1);
  EXPECT_EQ(findCollider(scene, holder), nullptr) << "only type 0 makes a collider";

  setColliderFromMesh(holder, quad, 0);
  EXPECT_EQ(findCollider(scene, quad), nullptr);
  const auto* box = std::get_if<BoxCollider>(findCollider(scene, holder));
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(three(box->center), (std::vector<float>{1, 1, -5}));
  EXPECT_EQ(three(box->halfExtent), (std::vector<float>{2, 3, 0}));

  // An entity without a mesh gives nothing, and a dead entity gets nothing.
  const uint32_t bare = createEntity();
  setColliderFromMesh(holder, bare, 0);
  EXPECT_TRUE(std::holds_alternative<BoxCollider>(*findCollider(scene, holder)));
  destoryEntity(bare);
  setColliderBox(bare, 0, 0, 0, 1, 1, 1);
  EXPECT_EQ(findCollider(kNoScene, bare), nullptr);
}

}  // namespace
}  // namespace talvero::scene3d
