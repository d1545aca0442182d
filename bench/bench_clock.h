#pragma once

#include <time.h>

#include <algorithm>
#include <vector>

namespace talvero::bench {

// CPU time of the calling thread: what other threads and processes do does not count.
inline double threadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return double(now.tv_sec) + now.tv_nsec * 1e-9;
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0 : values[values.size() / 2];
}

}  // namespace talvero::bench
