#include <cmath>
#include <vector>

#include "scene2d/fresh_tables.h"

using talvero::scene2d::g_entities;
using talvero::scene2d::g_scenes;

using Entity2DIds = talvero::testing::FreshTables2D;
using SceneMembership2D = talvero::testing::FreshTables2D;

TEST_F(Entity2DIds, FirstIdsAreOneAndAFreedEntityIdReturnsLastFreedFirstWithStartValues) {
  EXPECT_EQ(c2dCreateScene(), 1);
  int32_t a = c2dCreateEntity(), b = c2dCreateEntity(), c = c2dCreateEntity();
  EXPECT_EQ(a, 1);
  c2dSetPosition(b, 5, 6);
  c2dSetLayer(b, 3);
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
  EXPECT_EQ(reused.layer, 0);
  EXPECT_EQ(c2dGetChildCount(b), 0) << "the old child must not follow the id to the new entity";
}

TEST_F(Entity2DIds, SceneIdsAreNeverReusedAndDeadIdsGiveNeutralResults) {
  int32_t first = c2dCreateScene();
  c2dDestroyScene(first);
  EXPECT_EQ(c2dCreateScene(), first + 1);
  c2dOpenScene(first);
  EXPECT_EQ(c2dActiveScene(), 0);

  float out[5] = {9, 9, 9, 9, 9};
  c2dGetPosition(42, out);
  EXPECT_EQ(out[0], 0);
  c2dGetLocalTransform(-1, out);
  EXPECT_EQ(std::vector<float>(out, out + 5), (std::vector<float>{0, 0, 0, 1, 1}));
  c2dLocalToWorld(0, 3, 4, out);
  EXPECT_EQ(out[1], 4);
  EXPECT_EQ(c2dGetChild(7, 0), 0);
}

TEST_F(SceneMembership2D, AddingTwiceKeepsOneEntryAndDestroyLeavesEveryScene) {
  int32_t s1 = c2dCreateScene(), s2 = c2dCreateScene();
  int32_t a = c2dCreateEntity(), b = c2dCreateEntity(), c = c2dCreateEntity();
  for (int32_t e : {a, b, a, c}) c2dAddEntityToScene(s1, e);
  c2dAddEntityToScene(s2, b);
  EXPECT_EQ(g_scenes[s1].entities, (std::vector<int32_t>{a, b, c}));
  c2dDestroyEntity(b);
  EXPECT_EQ(g_scenes[s1].entities, (std::vector<int32_t>{a, c}));
  EXPECT_TRUE(g_scenes[s2].entities.empty());
}

TEST_F(SceneMembership2D, DestroyingTheOpenSceneClosesItButKeepsItsEntities) {
  int32_t scene = c2dCreateScene();
  int32_t e = c2dCreateEntity();
  c2dAddEntityToScene(scene, e);
  c2dOpenScene(scene);
  c2dDestroyScene(scene);
  EXPECT_EQ(c2dActiveScene(), 0);
  EXPECT_NE(talvero::scene2d::liveEntity(e), nullptr);
}

TEST_F(Entity2DIds, BulkPositionsSkipADeadIdWithItsPairAndStopAtTheCount) {
  int32_t a = c2dCreateEntity(), dead = c2dCreateEntity(), b = c2dCreateEntity();
  int32_t c = c2dCreateEntity();
  c2dDestroyEntity(dead);
  const int32_t ids[] = {a, dead, b, c};
  const float positions[] = {1, 2, 30, 40, 5, 6, 7, 8};
  c2dBulkSetPositions(ids, positions, 3);
  float out[2];
  c2dGetPosition(b, out);
  EXPECT_EQ(out[0], 5);
  EXPECT_EQ(out[1], 6);
  c2dGetPosition(c, out);
  EXPECT_EQ(out[0], 0) << "beyond the count";
  c2dGetWorldPosition(a, out);
  EXPECT_EQ(out[1], 2) << "the world matrix must see a bulk move";
}

TEST_F(Entity2DIds, NaNPositionsAreStoredWithoutHarmToOtherEntities) {
  int32_t a = c2dCreateEntity(), b = c2dCreateEntity();
  c2dSetPosition(a, NAN, 1);
  c2dSetPosition(b, 2, 3);
  float out[2];
  c2dGetWorldPosition(a, out);
  EXPECT_TRUE(std::isnan(out[0]));
  c2dGetWorldPosition(b, out);
  EXPECT_EQ(out[0], 2);
}
