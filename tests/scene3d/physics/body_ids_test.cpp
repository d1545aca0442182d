#include "scene3d/physics/body_ids.h"

#include <gtest/gtest.h>

namespace talvero::scene3d {
namespace {

TEST(BodyIds, FirstIdsAndReuseOfTheLastFreedSlotWithANewSequence) {
  BodyIdTable table(4096);
  const uint32_t first = table.allocate();
  EXPECT_EQ(first, 8388608u);  // slot 0, sequence 1
  const uint32_t second = table.allocate();
  EXPECT_EQ(second, 8388609u);
  ASSERT_TRUE(table.release(first));
  EXPECT_FALSE(table.release(first));  // twice is harmless
  ASSERT_TRUE(table.release(second));
  // Last freed first: slot 1 again, then slot 0, each with its sequence raised.
  EXPECT_EQ(table.allocate(), (2u << 23) | 1u);
  EXPECT_EQ(table.allocate(), 16777216u);
  // The old ids no longer name the bodies now in their slots.
  EXPECT_FALSE(table.slotOf(first));
  EXPECT_FALSE(table.slotOf(second));
  EXPECT_EQ(table.slotOf(16777216u), 0u);
  EXPECT_EQ(table.liveCount(), 2u);
}

TEST(BodyIds, SequencesWrapPast255WithoutEverGivingZero) {
  BodyIdTable table(1);
  uint32_t id = table.allocate();
  for (int cycle = 0; cycle < 300; ++cycle) {
    ASSERT_TRUE(table.release(id));
    id = table.allocate();
    ASSERT_NE(id >> 23, 0u) << cycle;
    ASSERT_EQ(id & ((1u << 23) - 1), 0u);
  }
  // 301 uses of the slot: sequences 1…255 then 1 again, so the 301st is 46.
  EXPECT_EQ(id >> 23, 46u);
}

TEST(BodyIds, AFullTableGivesZeroAndUnknownIdsNameNothing) {
  BodyIdTable table(2);
  EXPECT_NE(table.allocate(), 0u);
  EXPECT_NE(table.allocate(), 0u);
  EXPECT_EQ(table.allocate(), 0u);
  for (const uint32_t id : {0u, 5u, (1u << 23) | 7u, 0xffffffffu}) {
    EXPECT_FALSE(table.slotOf(id)) << id;
    EXPECT_FALSE(table.release(id)) << id;
  }
  EXPECT_EQ(BodyIdTable(0xffffffffu).capacity(), BodyIdTable::kMaxSlots);
}

}  // namespace
}  // namespace talvero::scene3d
