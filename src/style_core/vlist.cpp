#include "style_core/internal/vlist.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "style_core/internal/node_tree.h"

namespace talvero {

std::unordered_map<YGNodeRef, std::unique_ptr<VListState>> g_vlists;

namespace {

VListSyncHook g_vlSync = nullptr;
VListAdjustHook g_vlAdjust = nullptr;
VListEdgeHook g_vlEdge = nullptr;

// Measuring can keep moving the window; after this many rounds the rest waits for the next event.
constexpr int kMaxSyncPasses = 4;
// A difference of half a pixel or less is layout noise, not a change of size.
constexpr float kTolerance = 0.5f;

VListState* findList(YGNodeRef node) {
  auto found = g_vlists.find(node);
  return found == g_vlists.end() ? nullptr : found->second.get();
}

void lowerValidCount(VListState& state, size_t position) {
  state.validCount = std::min(state.validCount, position);
}

void adjust(YGNodeRef node, VListState& state) {
  if (g_vlAdjust) g_vlAdjust(state.screenId, node, state.scrollTop);
}

void vlSetScroll(YGNodeRef node, VListState& state, float y) {
  state.ensureOffsets();
  state.scrollTop = std::clamp(y, 0.0f, state.largestScroll());
  adjust(node, state);
}

void scrollToEnd(YGNodeRef node, VListState& state) {
  state.ensureOffsets();
  vlSetScroll(node, state, state.largestScroll());
}

// The hook's arrays point into these copies: the host unmounts while it runs, which erases
// entries of `mounted` that the keys would otherwise come from.
std::vector<const char*> pointersTo(const std::vector<std::string>& keys) {
  std::vector<const char*> pointers;
  pointers.reserve(keys.size());
  for (const std::string& key : keys) pointers.push_back(key.c_str());
  return pointers;
}

void callSyncHook(YGNodeRef node, int32_t screenId, const std::vector<std::string>& removed,
                  const std::vector<std::string>& added) {
  std::vector<const char*> removedPointers = pointersTo(removed);
  std::vector<const char*> addedPointers = pointersTo(added);
  g_vlSync(screenId, node, removedPointers.data(), static_cast<int32_t>(removed.size()),
           addedPointers.data(), static_cast<int32_t>(added.size()));
}

// The items [first, last] that should be mounted; empty when last < first.
struct Window {
  int64_t first = 0;
  int64_t last = -1;
};

Window wantedWindow(const VListState& state) {
  Window window;
  if (state.items.empty() || !(state.viewportHeight > 0)) return window;
  const float overscan = state.overscan < 0 ? state.viewportHeight : state.overscan;
  const auto& offsets = state.offsets;
  // The first item whose bottom lies below the top of the overscanned viewport.
  auto firstBottom =
      std::upper_bound(offsets.begin() + 1, offsets.end(), state.scrollTop - overscan);
  window.first = std::max<int64_t>(firstBottom - offsets.begin() - 1, 0);
  // The last item whose top lies above the bottom of the overscanned viewport.
  auto firstTopBelow = std::lower_bound(offsets.begin(), offsets.end() - 1,
                                        state.scrollTop + state.viewportHeight + overscan);
  window.last =
      std::min<int64_t>(firstTopBelow - offsets.begin(), static_cast<int64_t>(state.items.size())) -
      1;
  return window;
}

void vlSync(YGNodeRef node, VListState* state) {
  if (!g_vlSync) return;
  if (state->syncing) {
    state->resyncRequested = true;
    return;
  }
  state->syncing = true;
  for (int pass = 1;; ++pass) {
    state->resyncRequested = false;
    state->ensureOffsets();
    const Window window = wantedWindow(*state);

    std::vector<std::string> removed;
    for (const auto& [key, root] : state->mounted) {
      auto found = state->keyIndex.find(key);
      if (found == state->keyIndex.end()) {
        removed.push_back(key);
        continue;
      }
      const auto position = static_cast<int64_t>(found->second);
      if (position < window.first || position > window.last) removed.push_back(key);
    }
    std::vector<std::string> added;
    for (int64_t position = window.first; position <= window.last; ++position) {
      const std::string& key = state->items[static_cast<size_t>(position)].key;
      if (!state->mounted.contains(key)) added.push_back(key);
    }
    if (removed.empty() && added.empty()) break;

    callSyncHook(node, state->screenId, removed, added);
    // The host runs script, which may have freed the list under us.
    if (findList(node) != state) return;
    if (!state->resyncRequested || pass >= kMaxSyncPasses) break;
  }
  state->syncing = false;
}

void edgeCheck(YGNodeRef node, VListState* state) {
  if (!g_vlEdge) return;
  state->ensureOffsets();
  if (state->endThreshold > 0) {
    const float remaining = state->totalHeight() - (state->scrollTop + state->viewportHeight);
    if (remaining <= state->endThreshold) {
      if (!state->endFired) {
        state->endFired = true;
        g_vlEdge(state->screenId, node, true);
        if (findList(node) != state) return;
      }
    } else {
      state->endFired = false;
    }
  }
  if (state->startThreshold > 0) {
    if (state->scrollTop <= state->startThreshold) {
      if (!state->startFired) {
        state->startFired = true;
        g_vlEdge(state->screenId, node, false);
      }
    } else {
      state->startFired = false;
    }
  }
}

void reindexFrom(VListState& state, size_t position) {
  for (size_t i = position; i < state.items.size(); ++i) state.keyIndex[state.items[i].key] = i;
}

void freeMountedRoots(VListState& state) {
  for (auto& [key, root] : state.mounted) freeNode(root);
  state.mounted.clear();
}

float layOutItem(YGNodeRef root, float width) {
  YGNodeCalculateLayout(root, width, YGUndefined, YGDirectionLTR);
  return YGNodeLayoutGetHeight(root);
}

}  // namespace

float VListState::heightOf(size_t position) const {
  const VListItem& item = items[position];
  auto measured = heights.find(item.key);
  return measured == heights.end() ? item.estimate : measured->second;
}

void VListState::ensureOffsets() {
  offsets.resize(items.size() + 1);
  validCount = std::min(validCount, items.size());
  if (validCount == 0) offsets[0] = 0;
  for (size_t i = validCount; i < items.size(); ++i) offsets[i + 1] = offsets[i] + heightOf(i);
  validCount = items.size();
}

float VListState::totalHeight() const {
  return offsets.empty() ? 0 : offsets.back();
}

float VListState::largestScroll() const {
  return std::max(totalHeight() - viewportHeight, 0.0f);
}

void setVListHandlers(VListSyncHook sync, VListAdjustHook adjust, VListEdgeHook edge) {
  g_vlSync = sync;
  g_vlAdjust = adjust;
  g_vlEdge = edge;
}

void vlistInit(YGNodeRef node, bool inverted, float overscan, float startThreshold,
               float endThreshold) {
  if (!node) return;
  if (VListState* old = findList(node)) freeMountedRoots(*old);
  auto state = std::make_unique<VListState>();
  state->screenId = getScreenId(node);
  state->inverted = inverted;
  state->overscan = overscan < 0 ? -1.0f : overscan;
  state->startThreshold = startThreshold;
  state->endThreshold = endThreshold;
  g_vlists[node] = std::move(state);
}

void vlistFree(YGNodeRef node) {
  auto found = g_vlists.find(node);
  if (found == g_vlists.end()) return;
  freeMountedRoots(*found->second);
  g_vlists.erase(found);
}

void vlistSetKeys(YGNodeRef node, const char** keys, const float* estimates, int32_t count) {
  VListState* state = findList(node);
  if (!state) return;
  const size_t size = keys && count > 0 ? static_cast<size_t>(count) : 0;
  state->items.clear();
  state->keyIndex.clear();
  state->items.reserve(size);
  for (size_t i = 0; i < size; ++i) {
    state->items.push_back(VListItem{keys[i] ? keys[i] : "", estimates ? estimates[i] : 0.0f});
    state->keyIndex[state->items.back().key] = i;
  }
  state->validCount = 0;
  vlSetScroll(node, *state, state->scrollTop);
  vlSync(node, state);
  if (findList(node) == state) edgeCheck(node, state);
}

void vlistInsertKeys(YGNodeRef node, int32_t index, const char** keys, const float* estimates,
                     int32_t count) {
  VListState* state = findList(node);
  if (!state || !keys || count <= 0) return;
  const size_t oldCount = state->items.size();
  const size_t position =
      index < 0 || static_cast<size_t>(index) > oldCount ? oldCount : static_cast<size_t>(index);

  std::vector<VListItem> inserted;
  inserted.reserve(static_cast<size_t>(count));
  float insertedHeight = 0;
  for (int32_t i = 0; i < count; ++i) {
    VListItem item{keys[i] ? keys[i] : "", estimates ? estimates[i] : 0.0f};
    auto measured = state->heights.find(item.key);
    insertedHeight += measured == state->heights.end() ? item.estimate : measured->second;
    inserted.push_back(std::move(item));
  }
  state->items.insert(state->items.begin() + static_cast<std::ptrdiff_t>(position),
                      std::make_move_iterator(inserted.begin()),
                      std::make_move_iterator(inserted.end()));
  reindexFrom(*state, position);
  lowerValidCount(*state, position);
  const bool wasAtEnd = state->atEnd;
  state->ensureOffsets();

  // Content that moves down from at or above the viewport's top takes the scroll position
  // with it, so what the user sees stays put.
  if (oldCount > 0 && position != oldCount &&
      state->offsets[position] <= state->scrollTop + kTolerance) {
    state->scrollTop = std::clamp(state->scrollTop + insertedHeight, 0.0f, state->largestScroll());
    adjust(node, *state);
  }
  if (state->inverted && wasAtEnd && position == oldCount) {
    state->scrollTop = state->largestScroll();
    adjust(node, *state);
    state->atEnd = true;
  }
  vlSync(node, state);
  if (findList(node) == state) edgeCheck(node, state);
}

void vlistRemoveKeys(YGNodeRef node, const char** keys, int32_t count) {
  VListState* state = findList(node);
  if (!state) return;
  state->ensureOffsets();
  float removedAbove = 0;
  for (int32_t i = 0; keys && i < count; ++i) {
    if (!keys[i]) continue;
    auto found = state->keyIndex.find(keys[i]);
    if (found == state->keyIndex.end()) continue;
    const size_t position = found->second;
    if (state->offsets[position + 1] <= state->scrollTop) {
      removedAbove += state->heightOf(position);
    }
    const std::string key = std::move(state->items[position].key);
    state->items.erase(state->items.begin() + static_cast<std::ptrdiff_t>(position));
    state->keyIndex.erase(key);
    state->heights.erase(key);
    reindexFrom(*state, position);
    state->ensureOffsets();
    lowerValidCount(*state, position);
  }
  state->ensureOffsets();
  state->scrollTop = std::clamp(state->scrollTop - removedAbove, 0.0f, state->largestScroll());
  adjust(node, *state);
  vlSync(node, state);
  if (findList(node) == state) edgeCheck(node, state);
}

void vlistInvalidate(YGNodeRef node, const char* key) {
  VListState* state = findList(node);
  if (!state || !key || !g_vlSync || state->syncing) return;
  if (!state->mounted.contains(key)) return;
  const std::vector<std::string> both{key};
  state->syncing = true;
  callSyncHook(node, state->screenId, both, both);
  if (findList(node) != state) return;
  state->syncing = false;
  if (state->resyncRequested) {
    state->resyncRequested = false;
    vlSync(node, state);
  }
}

YGNodeRef vlistCreateItemRoot(YGNodeRef node, const char* key) {
  VListState* state = findList(node);
  if (!state || !key) return nullptr;
  YGNodeRef root = createNodeRoot(state->screenId);
  YGNodeStyleSetWidth(root, state->width);
  YGNodeRef& slot = state->mounted[key];
  // The core owns item roots; one left behind under the same key would never be freed.
  freeNode(slot);
  slot = root;
  return root;
}

void vlistItemMounted(YGNodeRef node, const char* key) {
  VListState* state = findList(node);
  if (!state || !key) return;
  auto root = state->mounted.find(key);
  auto found = state->keyIndex.find(key);
  if (root == state->mounted.end() || found == state->keyIndex.end()) return;
  const size_t position = found->second;

  const float height = layOutItem(root->second, state->width);
  const float previous = state->heightOf(position);
  state->heights[key] = height;
  state->ensureOffsets();
  if (!(std::fabs(height - previous) > kTolerance)) return;

  lowerValidCount(*state, position);
  const float top = state->offsets[position];
  if (top >= state->scrollTop) {
    if (state->inverted && state->atEnd) scrollToEnd(node, *state);
  } else {
    // An item that changes size above the viewport would shift what the user sees.
    state->ensureOffsets();
    state->scrollTop = std::min(state->scrollTop + height - previous, state->largestScroll());
    adjust(node, *state);
  }
  state->resyncRequested = true;
}

void vlistItemUnmounted(YGNodeRef node, const char* key) {
  VListState* state = findList(node);
  if (!state || !key) return;
  auto found = state->mounted.find(key);
  if (found == state->mounted.end()) return;
  freeNode(found->second);
  state->mounted.erase(found);
}

void vlistOnScroll(YGNodeRef node, float y) {
  VListState* state = findList(node);
  if (!state) return;
  state->scrollTop = std::max(y, 0.0f);
  state->ensureOffsets();
  state->atEnd = state->totalHeight() - 2 <= state->scrollTop + state->viewportHeight;
  vlSync(node, state);
  if (findList(node) == state) edgeCheck(node, state);
}

void vlistUpdateLayout(YGNodeRef node) {
  VListState* state = findList(node);
  if (!state) return;
  const float width = YGNodeLayoutGetWidth(node);
  const float height = YGNodeLayoutGetHeight(node);
  if (!(width > 0) || !(height > 0)) return;

  const float oldWidth = state->width;
  const float oldHeight = state->viewportHeight;
  state->width = width;
  state->viewportHeight = height;
  state->ensureOffsets();
  if (state->totalHeight() <= state->viewportHeight) state->atEnd = true;

  const bool widthChanged = std::fabs(width - oldWidth) > kTolerance;
  if (widthChanged) {
    // Measures taken at another width mean nothing; items out of the window fall back to
    // their estimates until they are mounted again.
    state->heights.clear();
    state->validCount = 0;
    for (auto& [key, root] : state->mounted) {
      YGNodeStyleSetWidth(root, width);
      state->heights[key] = layOutItem(root, width);
    }
  }

  if (state->firstLayout) {
    state->firstLayout = false;
    if (state->inverted) {
      state->ensureOffsets();
      state->scrollTop = state->largestScroll();
      adjust(node, *state);
      state->atEnd = true;
    }
  } else if (state->inverted && state->atEnd && std::fabs(height - oldHeight) > kTolerance) {
    scrollToEnd(node, *state);
  } else if (widthChanged) {
    state->ensureOffsets();
    state->scrollTop = std::min(state->scrollTop, state->largestScroll());
    adjust(node, *state);
  }
  vlSync(node, state);
}

float vlistOffsetOf(YGNodeRef node, const char* key) {
  VListState* state = findList(node);
  if (!state || !key) return std::numeric_limits<float>::quiet_NaN();
  auto found = state->keyIndex.find(key);
  if (found == state->keyIndex.end()) return std::numeric_limits<float>::quiet_NaN();
  state->ensureOffsets();
  float top = state->offsets[found->second];
  if (state->inverted) top += std::max(0.0f, state->viewportHeight - state->totalHeight());
  return top;
}

bool vlistTryContentHeight(YGNodeRef node, float* out) {
  VListState* state = findList(node);
  if (!state) return false;
  state->ensureOffsets();
  const float total = state->totalHeight();
  if (out) *out = state->inverted ? std::max(total, state->viewportHeight) : total;
  return true;
}

}  // namespace talvero
