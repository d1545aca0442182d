#pragma once

#include <memory>

#include "platform/dispatch/main_queue.h"

namespace talvero::testing {

// Runs the main queue until every block queued before the call has run, then what those
// queued in turn, `rounds` deep. It waits for markers of its own, never for an empty queue,
// so blocks that other sources keep posting (the display link, the frame clock) neither hold
// it up nor end it early.
inline void drainMainQueue(int rounds = 5) {
  for (int round = 0; round < rounds; ++round) {
    auto reached = std::make_shared<bool>(false);
    dispatch::post([reached] { *reached = true; });
    dispatch::pumpUntil([reached] { return *reached; }, 5);
  }
}

}  // namespace talvero::testing
