#include <cmath>

#include "scene2d/fresh_tables.h"

using Hierarchy2D = talvero::testing::FreshTables2D;

namespace {

struct Point {
  float x, y;
};

Point worldPosition(int32_t entity) {
  float out[2];
  c2dGetWorldPosition(entity, out);
  return {out[0], out[1]};
}

// A parent at (10, 20), turned 90 degrees and scaled 2.
int32_t makeParent() {
  int32_t parent = c2dCreateEntity();
  c2dSetPosition(parent, 10, 20);
  c2dSetRotation(parent, 90);
  c2dSetScale(parent, 2, 2);
  return parent;
}

}  // namespace

TEST_F(Hierarchy2D, ParentingOntoADescendantOrItselfDoesNothing) {
  int32_t a = c2dCreateEntity(), b = c2dCreateEntity(), c = c2dCreateEntity();
  c2dSetParent(b, a, false);
  c2dSetParent(c, b, false);
  c2dSetParent(a, c, true);
  c2dSetParent(a, a, false);
  EXPECT_EQ(c2dGetParent(a), 0);
  c2dSetParent(b, 99, false);
  EXPECT_EQ(c2dGetParent(b), a) << "a dead parent changes nothing";
  EXPECT_EQ(c2dGetChildCount(a), 1);
  EXPECT_EQ(c2dGetChild(b, 0), c);
  EXPECT_EQ(c2dGetChild(b, 1), 0);
}

TEST_F(Hierarchy2D, KeepWorldReparentingRoundTripsThePose) {
  int32_t parent = makeParent();
  int32_t child = c2dCreateEntity();
  c2dSetPosition(child, 3, 4);
  c2dSetRotation(child, 30);
  float before[6], after[6];
  c2dGetWorldMatrix(child, before);
  c2dSetParent(child, parent, true);
  c2dGetWorldMatrix(child, after);
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(after[i], before[i], 1e-4) << i;
  float local[5];
  c2dGetLocalTransform(child, local);
  EXPECT_NEAR(local[2], 30 - 90, 1e-3) << "degrees, relative to the parent";
  EXPECT_NEAR(local[3], 0.5f, 1e-6);

  c2dSetParent(child, 0, true);
  c2dGetLocalTransform(child, local);
  EXPECT_NEAR(local[0], 3, 1e-4);
  EXPECT_NEAR(local[1], 4, 1e-4);
  EXPECT_NEAR(local[2], 30, 1e-3);
}

TEST_F(Hierarchy2D, ReparentingWithoutKeepWorldKeepsTheLocalFieldsAndJumps) {
  int32_t parent = makeParent();
  int32_t child = c2dCreateEntity();
  c2dSetPosition(child, 1, 0);
  c2dSetParent(child, parent, false);
  Point p = worldPosition(child);
  EXPECT_NEAR(p.x, 10, 1e-5);
  EXPECT_NEAR(p.y, 22, 1e-5);
}

TEST_F(Hierarchy2D, AChildSeesItsParentAndGrandparentMoveWithoutBeingTouched) {
  int32_t root = c2dCreateEntity(), mid = c2dCreateEntity(), leaf = c2dCreateEntity();
  c2dSetParent(mid, root, false);
  c2dSetParent(leaf, mid, false);
  c2dSetPosition(leaf, 1, 1);
  EXPECT_EQ(worldPosition(leaf).x, 1);
  c2dSetPosition(root, 100, 0);
  EXPECT_EQ(worldPosition(leaf).x, 101);
  c2dSetScale(root, 3, 3);
  // Asking for the middle entity first refreshes it alone; the leaf must still notice.
  EXPECT_EQ(worldPosition(mid).x, 100);
  EXPECT_EQ(worldPosition(leaf).x, 103);
  float out[2];
  c2dWorldToLocal(leaf, 103, 3, out);
  EXPECT_NEAR(out[0], 0, 1e-5);
  c2dLocalToWorld(leaf, 1, 0, out);
  EXPECT_NEAR(out[0], 106, 1e-4);
}

TEST_F(Hierarchy2D, DestroyingAParentLeavesItsChildrenAsRootsWhereTheyStood) {
  int32_t parent = makeParent();
  int32_t a = c2dCreateEntity(), b = c2dCreateEntity();
  c2dSetParent(a, parent, false);
  c2dSetParent(b, parent, false);
  c2dSetPosition(a, 5, 0);
  Point before = worldPosition(a);
  c2dDestroyEntity(parent);
  EXPECT_EQ(c2dGetParent(a), 0);
  EXPECT_EQ(c2dGetParent(b), 0);
  Point after = worldPosition(a);
  EXPECT_NEAR(after.x, before.x, 1e-5);
  EXPECT_NEAR(after.y, before.y, 1e-5);
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
  float out[2];
  c2dWorldToLocal(parent, 7, 8, out);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(out[1], 0);
}
