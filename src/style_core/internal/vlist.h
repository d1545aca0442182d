#pragma once

#include <yoga/Yoga.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "style_core/style_core.h"

namespace talvero {

// The arithmetic of a virtual list: keys, estimated and measured heights, offsets, the scroll
// position, the window of keys to mount and the anchoring that keeps visible content still.
// An item is a key and a height; the view places what the core says.

struct VListItem {
  std::string key;
  float estimate = 0;
};

struct VListState {
  int32_t screenId = 0;
  std::vector<VListItem> items;
  std::unordered_map<std::string, size_t> keyIndex;
  std::unordered_map<std::string, float> heights;  // measured; survive vlistSetKeys
  std::vector<float> offsets;  // items + 1 entries: top of each item, then the total
  size_t validCount = 0;       // leading items whose offset is trusted
  std::unordered_map<std::string, YGNodeRef> mounted;  // key to the item's own root
  float scrollTop = 0;
  float width = 0;
  float viewportHeight = 0;
  float overscan = -1;  // negative: one viewport height
  bool inverted = false;
  float startThreshold = 0;  // 0: no start event
  float endThreshold = 0;    // 0: no end event
  bool atEnd = true;
  bool endFired = false;
  bool startFired = false;
  bool syncing = false;
  bool resyncRequested = false;
  bool firstLayout = true;

  float heightOf(size_t position) const;  // measured, else the estimate
  void ensureOffsets();
  float totalHeight() const;  // valid after ensureOffsets
  float largestScroll() const;
};

// The lists by their node.
extern std::unordered_map<YGNodeRef, std::unique_ptr<VListState>> g_vlists;

}  // namespace talvero
