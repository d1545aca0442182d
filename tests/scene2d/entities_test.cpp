#include "scene2d/fresh_tables.h"

using talvero::scene2d::g_entities;

using Entity2D = talvero::testing::FreshTables2D;
using Hierarchy2D = talvero::testing::FreshTables2D;

namespace {

void expectWorldMatrix(int32_t entity, const float expected[6]) {
  float world[6];
  c2dGetWorldMatrix(entity, world);
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(world[i], expected[i], 1e-4) << i;
}

float worldX(int32_t entity) {
  float out[2];
  c2dGetWorldPosition(entity, out);
  return out[0];
}

}  // namespace

TEST_F(Entity2D, IdsStartAtOneEntitySlotsReturnLastFreedFirstAndSceneIdsNever) {
  const int32_t scene = c2dCreateScene();
  EXPECT_EQ(scene, 1);
  int32_t a = c2dCreateEntity(), b = c2dCreateEntity(), c = c2dCreateEntity();
  EXPECT_EQ(a, 1);
  c2dSetPosition(b, 5, 6);
  c2dSetVisible(b, false);
  c2dSetParent(c, b, false);
  c2dDestroyEntity(a);
  c2dDestroyEntity(b);
  EXPECT_EQ(c2dCreateEntity(), b);
  EXPECT_EQ(c2dCreateEntity(), a);
  EXPECT_EQ(c2dCreateEntity(), 4);
  const auto& reused = g_entities[b];
  EXPECT_TRUE(reused.alive && reused.visible);
  EXPECT_EQ(reused.x, 0);
  EXPECT_EQ(c2dGetChildCount(b), 0) << "the old child must not follow the id to the new entity";

  c2dDestroyScene(scene);
  EXPECT_EQ(c2dCreateScene(), scene + 1);
  c2dOpenScene(scene);
  EXPECT_EQ(c2dActiveScene(), 0) << "a dead scene id opens nothing";
}

TEST_F(Entity2D, BulkPositionsSkipADeadIdWithItsPairAndStopAtTheCount) {
  int32_t a = c2dCreateEntity(), dead = c2dCreateEntity(), b = c2dCreateEntity();
  int32_t c = c2dCreateEntity();
  c2dDestroyEntity(dead);
  const int32_t ids[] = {a, dead, b, c};
  const float positions[] = {1, 2, 30, 40, 5, 6, 7, 8};
  EXPECT_EQ(worldX(b), 0);
  c2dBulkSetPositions(ids, positions, 3);
  EXPECT_EQ(worldX(b), 5) << "the world matrix must see a bulk move";
  EXPECT_EQ(worldX(c), 0) << "beyond the count";
}

TEST_F(Hierarchy2D, AChildSeesItsAncestorsMoveAndCannotBecomeTheirParent) {
  int32_t root = c2dCreateEntity(), mid = c2dCreateEntity(), leaf = c2dCreateEntity();
  c2dSetParent(mid, root, false);
  c2dSetParent(leaf, mid, false);
  c2dSetParent(root, leaf, true);
  c2dSetParent(root, root, false);
  EXPECT_EQ(c2dGetParent(root), 0);
  EXPECT_EQ(c2dGetChildCount(root), 1);

  c2dSetPosition(leaf, 1, 1);
  EXPECT_EQ(worldX(leaf), 1);
  c2dSetPosition(root, 100, 0);
  c2dSetScale(root, 3, 3);
  // Asking for the middle entity first refreshes it alone; the leaf must still notice.
  EXPECT_EQ(worldX(mid), 100);
  EXPECT_EQ(worldX(leaf), 103);
}

TEST_F(Hierarchy2D, KeepWorldRoundTripsThePoseAndAParentsDeathLeavesItsChildInPlace) {
  const int32_t parent = c2dCreateEntity(), child = c2dCreateEntity();
  c2dSetPosition(parent, 10, 20);
  c2dSetRotation(parent, 90);
  c2dSetScale(parent, 2, 2);
  c2dSetPosition(child, 3, 4);
  c2dSetRotation(child, 30);
  float alone[6], underParent[6], local[5];
  c2dGetWorldMatrix(child, alone);
  c2dSetParent(child, parent, true);
  expectWorldMatrix(child, alone);
  c2dGetLocalTransform(child, local);
  EXPECT_NEAR(local[2], 30 - 90, 1e-3) << "degrees, relative to the parent";
  c2dSetParent(child, 0, true);
  expectWorldMatrix(child, alone);

  // Without keepWorld the child keeps its local fields and so moves with its new parent.
  c2dSetParent(child, parent, false);
  c2dGetWorldMatrix(child, underParent);
  c2dDestroyEntity(parent);
  EXPECT_EQ(c2dGetParent(child), 0);
  expectWorldMatrix(child, underParent);
}

TEST_F(Hierarchy2D, AZeroScaleParentGivesAllZerosNotNaN) {
  int32_t parent = c2dCreateEntity(), child = c2dCreateEntity();
  c2dSetPosition(parent, 5, 5);
  c2dSetScale(parent, 0, 0);
  c2dSetPosition(child, 3, 4);
  c2dSetParent(child, parent, true);
  float local[5];
  c2dGetLocalTransform(child, local);
  for (float v : local) EXPECT_EQ(v, 0);
}
