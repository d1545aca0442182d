#include "scene3d/physics/body_ids.h"

#include <algorithm>

namespace talvero::scene3d {

BodyIdTable::BodyIdTable(uint32_t capacity) : capacity_(std::min(capacity, kMaxSlots)) {}

uint32_t BodyIdTable::allocate() {
  uint32_t slot = 0;
  if (!freed_.empty()) {
    slot = freed_.back();
    freed_.pop_back();
    sequences_[slot] = sequences_[slot] == 255 ? 1 : sequences_[slot] + 1;
  } else if (sequences_.size() < capacity_) {
    slot = static_cast<uint32_t>(sequences_.size());
    sequences_.push_back(1);
    inUse_.push_back(false);
  } else {
    return 0;
  }
  inUse_[slot] = true;
  ++live_;
  return (uint32_t{sequences_[slot]} << kSlotBits) | slot;
}

bool BodyIdTable::release(uint32_t id) {
  const std::optional<uint32_t> slot = slotOf(id);
  if (!slot) return false;
  inUse_[*slot] = false;
  freed_.push_back(*slot);
  --live_;
  return true;
}

std::optional<uint32_t> BodyIdTable::slotOf(uint32_t id) const {
  const uint32_t slot = id & (kMaxSlots - 1);
  const uint32_t sequence = id >> kSlotBits;
  if (slot >= sequences_.size() || !inUse_[slot] || sequences_[slot] != sequence) {
    return std::nullopt;
  }
  return slot;
}

}  // namespace talvero::scene3d
