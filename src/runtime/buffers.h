#pragma once

#include <cstdint>

#include "platform/bytes.h"

namespace talvero {

// The process-wide table through which binary data crosses the script boundary: scripts hold
// integer ids, never bytes. Ids start at 0, only grow and are never reused; an entry lives
// until it is disposed, across changes of project. Safe from any thread.
class Buffers {
 public:
  static int64_t putBuffer(Bytes bytes);
  // The bytes of `id`, or null. Reading does not consume.
  static Bytes get(int64_t id);
  // Removes `id`; an unknown id is ignored. False when there was no such entry.
  static bool dispose(int64_t id);
};

}  // namespace talvero
