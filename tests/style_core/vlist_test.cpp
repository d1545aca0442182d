#include "style_core/internal/vlist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "style_core/internal/node_tree.h"

namespace talvero {
namespace {

using Keys = std::vector<std::string>;

// What the hooks saw, and how the host renders items: by `rendered` height (else
// `renderedDefault`); the `halfWidth` key is half as high as the list is wide.
struct Host {
  std::vector<std::pair<Keys, Keys>> syncs;  // removed, added
  std::vector<float> adjusts;
  std::vector<bool> edges;
  std::unordered_map<std::string, float> rendered;
  std::string halfWidth;
  float renderedDefault = 100;
  float scrollDuringSync = -1;  // when set, the next sync scrolls the list from inside
  int depth = 0, deepest = 0, screenId = 0;
} host;

// Mounts and unmounts synchronously, as the view side does through the script.
void hostSync(int32_t screenId, YGNodeRef list, const char** removed, int32_t removedCount,
              const char** added, int32_t addedCount) {
  host.screenId = screenId;
  host.deepest = std::max(host.deepest, ++host.depth);
  host.syncs.push_back({{removed, removed + removedCount}, {added, added + addedCount}});
  for (int32_t i = 0; i < removedCount; ++i) vlistItemUnmounted(list, removed[i]);
  for (int32_t i = 0; i < addedCount; ++i) {
    const std::string key = added[i];
    YGNodeRef root = vlistCreateItemRoot(list, added[i]);
    if (key == host.halfWidth) YGNodeStyleSetAspectRatio(createNode(root, 0, 0), 2);
    if (key != host.halfWidth) {
      YGNodeStyleSetHeight(root,
                           host.rendered.contains(key) ? host.rendered[key] : host.renderedDefault);
    }
    vlistItemMounted(list, added[i]);
  }
  if (host.scrollDuringSync >= 0) vlistOnScroll(list, std::exchange(host.scrollDuringSync, -1));
  --host.depth;
}
Keys range(int first, int last) {
  Keys keys;
  for (int i = first; i <= last; ++i) keys.push_back("k" + std::to_string(i));
  return keys;
}

class VListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    host = Host{};
    setVListHandlers(
        hostSync, [](int32_t, YGNodeRef, float y) { host.adjusts.push_back(y); },
        [](int32_t, YGNodeRef, bool isEnd) { host.edges.push_back(isEnd); });
  }
  void TearDown() override {
    vlistFree(list);
    freeNode(list);
  }

  // A list of `count` items estimated 100 high, laid out 300 wide; the logs start empty.
  void open(bool inverted, float overscan, int count, float height = 300) {
    vlistInit(list, inverted, overscan, 0, 0);
    setKeys(range(0, count - 1));
    layOut(300, height);
    host.syncs.clear();
    host.adjusts.clear();
  }
  void setKeys(const Keys& keys, float estimate = 100) {
    std::vector<const char*> pointers;
    for (const auto& key : keys) pointers.push_back(key.c_str());
    std::vector<float> estimates(keys.size(), estimate);
    vlistSetKeys(list, pointers.data(), estimates.data(), static_cast<int32_t>(keys.size()));
  }
  void insert(int32_t index, std::vector<const char*> keys, float estimate) {
    std::vector<float> estimates(keys.size(), estimate);
    vlistInsertKeys(list, index, keys.data(), estimates.data(), static_cast<int32_t>(keys.size()));
  }
  void remove(std::vector<const char*> keys) {
    vlistRemoveKeys(list, keys.data(), static_cast<int32_t>(keys.size()));
  }
  void layOut(float width, float height) {
    YGNodeStyleSetWidth(list, width);
    YGNodeStyleSetHeight(list, height);
    YGNodeCalculateLayout(list, YGUndefined, YGUndefined, YGDirectionLTR);
    vlistUpdateLayout(list);
  }
  VListState& state() { return *g_vlists.at(list); }
  Keys mounted() {
    Keys keys;
    for (const auto& [key, root] : state().mounted) keys.push_back(key);
    std::ranges::sort(keys, {}, [this](const auto& key) { return state().keyIndex.at(key); });
    return keys;
  }

  YGNodeRef list = createNodeRoot(7);
};

TEST_F(VListTest, WindowCoversTheViewportAndOverscanFromTheFirstLayoutOn) {
  vlistInit(list, false, -7, 0, 0);
  setKeys(range(0, 99));
  layOut(300, 0);
  EXPECT_TRUE(host.syncs.empty());
  layOut(300, 500);
  EXPECT_EQ(host.syncs.at(0).second, range(0, 9));
  EXPECT_EQ(host.screenId, 7);
  vlistOnScroll(list, 1000);  // one viewport either side: 500 to 2000
  EXPECT_EQ(mounted(), range(5, 19));
  state().overscan = 0;
  vlistOnScroll(list, 150);
  EXPECT_EQ(mounted(), range(1, 6));
  vlistOnScroll(list, 200);  // k1 ends where the viewport starts, k7 starts where it ends
  EXPECT_EQ(host.syncs.back(), std::pair(range(1, 1), Keys{}));
}

TEST_F(VListTest, InsertAtOrAboveTheTopKeepsVisibleContentStill) {
  host.rendered = {{"a", 10}, {"b", 10}, {"c", 10}, {"d", 50}, {"e", 50}};
  open(false, 0, 20);
  vlistOnScroll(list, 100);
  insert(0, {"a", "b", "c"}, 10);
  EXPECT_EQ(host.adjusts, std::vector<float>({130}));
  EXPECT_EQ(vlistOffsetOf(list, "k1"), 130);
  EXPECT_EQ(mounted(), range(1, 3));
  // The old top of the first moved item may lie half a pixel below scrollTop.
  vlistOnScroll(list, 329.5f);  // k3 starts at 330
  insert(6, {"d"}, 50);
  EXPECT_EQ(state().scrollTop, 379.5f);
  vlistOnScroll(list, 329.4f);
  host.adjusts.clear();
  insert(6, {"e"}, 50);
  EXPECT_EQ(state().scrollTop, 329.4f);
  EXPECT_TRUE(host.adjusts.empty());
}

TEST_F(VListTest, InvertedListFollowsItsEndOnlyWhileAtIt) {
  host.rendered["k19"] = 150;
  vlistInit(list, true, -1, 0, 0);
  setKeys(range(0, 19));
  host.adjusts.clear();
  layOut(300, 500);
  // The first layout goes to the end, and the last item measuring taller keeps it there.
  EXPECT_EQ(host.adjusts, std::vector<float>({1500, 1550}));
  insert(-1, {"n0", "n1"}, 100);
  EXPECT_EQ(state().scrollTop, 1750);
  vlistOnScroll(list, 1748);  // within 2 of the end still counts as at it
  insert(99, {"n2"}, 100);
  EXPECT_EQ(state().scrollTop, 1850);
  vlistOnScroll(list, 600);
  host.adjusts.clear();
  insert(-1, {"n3"}, 100);
  EXPECT_EQ(state().scrollTop, 600);
  EXPECT_TRUE(host.adjusts.empty());
}

TEST_F(VListTest, InvertedShortListSitsAtTheBottomOfItsViewport) {
  open(true, -1, 3, 500);
  EXPECT_EQ(getContentHeight(list), 500);
  EXPECT_EQ(vlistOffsetOf(list, "k0"), 200);
  EXPECT_EQ(vlistOffsetOf(list, "k2"), 400);
  layOut(300, 200);
  EXPECT_EQ(vlistOffsetOf(list, "k0"), 0);
}

TEST_F(VListTest, ItemResizedAboveScrollTopPushesScrollTopEvenAtTheEnd) {
  host.rendered = {{"k12", 120}, {"k14", 130}};
  open(false, 0, 16);
  vlistOnScroll(list, 1290);
  // k12 starts above 1290 and grows by 20, past the end as it was; k14 starts below.
  EXPECT_EQ(host.adjusts, std::vector<float>({1310}));
  EXPECT_EQ(vlistOffsetOf(list, "k15"), 1550);
  EXPECT_EQ(mounted(), range(12, 15));
}

TEST_F(VListTest, MeasureWithinHalfAPixelOfTheEstimateChangesNothing) {
  vlistInit(list, false, 0, 0, 0);
  for (float estimate : {100.5f, 100.6f}) {
    setKeys(range(0, 4), estimate);
    vlistOnScroll(list, 150);
    YGNodeStyleSetHeight(vlistCreateItemRoot(list, "k0"), 100);
    vlistItemMounted(list, "k0");
    const bool changed = estimate > 100.5f;
    EXPECT_EQ(state().resyncRequested, changed);
    EXPECT_FLOAT_EQ(state().scrollTop, changed ? 149.4f : 150);
    vlistItemUnmounted(list, "k0");
    state().heights.clear();
  }
}

TEST_F(VListTest, SettlingStopsAfterFourRoundsAndGoesOnAtTheNextEvent) {
  host.renderedDefault = 1;  // each round finds room for three more items
  vlistInit(list, false, 0, 0, 0);
  setKeys(range(0, 99));
  layOut(300, 300);
  ASSERT_EQ(host.syncs.size(), 4u);
  EXPECT_EQ(host.syncs[3].second, range(9, 11));
  vlistOnScroll(list, 0);
  EXPECT_EQ(host.syncs[4].second, range(12, 14));
}

TEST_F(VListTest, ScrollFromInsideTheHookWaitsForTheNextRound) {
  open(false, 0, 50);
  host.scrollDuringSync = 1000;
  vlistOnScroll(list, 400);
  EXPECT_EQ(host.deepest, 1);
  ASSERT_EQ(host.syncs.size(), 2u);
  EXPECT_EQ(mounted(), range(10, 12));
}

TEST_F(VListTest, RemovalAboveTheTopLowersScrollTopButStraddlingDoesNot) {
  open(false, 0, 20);
  vlistOnScroll(list, 250);
  remove({"nope", "k2"});  // straddles the top
  EXPECT_EQ(host.adjusts, std::vector<float>({250}));
  EXPECT_EQ(mounted(), range(3, 6));
  EXPECT_TRUE(std::isnan(vlistOffsetOf(list, "k2")));
  vlistOnScroll(list, 200);
  remove({"k1"});  // its bottom is exactly the top
  EXPECT_EQ(state().scrollTop, 100);
  vlistOnScroll(list, 1500);  // the last viewport
  remove({"k19"});
  EXPECT_EQ(state().scrollTop, 1400);
}

TEST_F(VListTest, EdgeEventsFireOncePerEntryIntoTheirZone) {
  vlistInit(list, false, 0, 50, 100);
  setKeys(range(0, 19));  // scrollTop 0 is within the start zone
  layOut(300, 300);
  for (float y : {30, 1600, 1000, 1650, 1700, 40, 1000}) vlistOnScroll(list, y);
  EXPECT_EQ(host.edges, std::vector<bool>({false, true, true, false}));
  setKeys(range(0, 1));  // scrollTop falls to 0, inside both zones: the end is told first
  EXPECT_EQ(host.edges, std::vector<bool>({false, true, true, false, true, false}));
}

TEST_F(VListTest, WidthChangeRemeasuresMountedItemsAndForgetsTheRest) {
  host.rendered["k0"] = 150;
  host.halfWidth = "k11";
  vlistInit(list, false, 0, 0, 0);
  setKeys(range(0, 49));
  layOut(200, 300);
  vlistOnScroll(list, 1000);
  EXPECT_EQ(vlistOffsetOf(list, "k12"), 1250);
  host.adjusts.clear();
  layOut(300, 300);
  EXPECT_EQ(vlistOffsetOf(list, "k1"), 100);
  EXPECT_EQ(vlistOffsetOf(list, "k12"), 1250);  // k11 now 150 high
  EXPECT_EQ(YGNodeLayoutGetWidth(state().mounted.at("k11")), 300);
  EXPECT_EQ(host.adjusts, std::vector<float>({1000}));
  layOut(300, 400);  // only the height changed: nothing to adjust
  EXPECT_EQ(host.adjusts.size(), 1u);
}

TEST_F(VListTest, MeasuresSurviveSetKeysButNotRemoval) {
  host.rendered["k0"] = 150;
  open(false, 0, 20);
  setKeys(range(1, 19));
  vlistOnScroll(list, 500);
  insert(0, {"k0"}, 100);  // comes back with its measure, not its estimate
  EXPECT_EQ(vlistOffsetOf(list, "k1"), 150);
  setKeys(range(0, 4));
  remove({"k0"});
  EXPECT_EQ(host.adjusts, std::vector<float>({0, 650, 250, 100}));
  insert(-1, {"k0"}, 100);
  EXPECT_EQ(getContentHeight(list), 500);
}

TEST_F(VListTest, InvalidateRemountsOnlyAMountedItem) {
  open(false, 0, 20);
  vlistInvalidate(list, "k5");
  EXPECT_TRUE(host.syncs.empty());
  host.rendered["k1"] = 300;
  vlistInvalidate(list, "k1");
  ASSERT_EQ(host.syncs.size(), 2u);
  EXPECT_EQ(host.syncs[0], std::pair(Keys{"k1"}, Keys{"k1"}));
  EXPECT_EQ(host.syncs[1], std::pair(Keys{"k2"}, Keys{}));  // pushed out by k1 now 300 high
}

}  // namespace
}  // namespace talvero
