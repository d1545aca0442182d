#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace talvero::scene3d {

// Body ids as scripts see them: (sequence << 23) | slot. A slot's sequence starts at 1 and is
// raised each time the slot is used again, wrapping from 255 to 1, so an id is never 0 and the
// id of a removed body stops naming whatever takes its slot next. Freed slots are reused last
// freed first.
class BodyIdTable {
 public:
  static constexpr uint32_t kSlotBits = 23;
  static constexpr uint32_t kMaxSlots = 1u << kSlotBits;

  // At most `capacity` bodies at once (cut to the slots an id can name).
  explicit BodyIdTable(uint32_t capacity);

  // A new id, or 0 when every slot is taken.
  uint32_t allocate();
  // Frees the id's slot; false, and nothing changes, for an id that is not live.
  bool release(uint32_t id);
  // The slot of a live id.
  std::optional<uint32_t> slotOf(uint32_t id) const;
  size_t liveCount() const { return live_; }
  uint32_t capacity() const { return capacity_; }

 private:
  uint32_t capacity_;
  std::vector<uint8_t> sequences_;  // per slot ever used: its sequence now
  std::vector<bool> inUse_;
  std::vector<uint32_t> freed_;  // slots to reuse, the last freed at the back
  size_t live_ = 0;
};

}  // namespace talvero::scene3d
