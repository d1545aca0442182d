#pragma once

#include <cstddef>
#include <functional>

namespace talvero::dispatch {

using Block = std::function<void()>;

// The main queue: blocks run on the main thread, in the order they were posted, from the
// one main loop of the process. `post` may be called from any thread.
void post(Block block);
// Blocks posted and not yet run.
size_t pendingCount();
bool isMainThread();

// Runs the main loop until `quitMainLoop`.
void runMainLoop();
void quitMainLoop();

// Runs the main loop by hand, for callers that must wait on the main thread: timers and
// queued work go on meanwhile.
void pumpFor(double seconds);
// Pumps until `done` answers true or `timeoutSeconds` have passed; true when done.
bool pumpUntil(const std::function<bool()>& done, double timeoutSeconds);

}  // namespace talvero::dispatch
