#include "fuzz_input.h"
#include "style_core/internal/value_parsers.h"
#include "style_core/internal/viewport.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Non-zero units and insets, so that every path multiplies or adds something.
  talvero::vw = 3.9f;
  talvero::vh = 8.44f;
  talvero::vmin = 3.9f;
  talvero::vmax = 8.44f;
  talvero::safeTop = 47;
  talvero::safeBottom = 34;
  talvero::safeLeft = 1.5f;
  talvero::safeRight = 2.5f;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = talvero::fuzz::textOf(data, size);
  float out = 0;
  bool dynamic = false;
  talvero::parse_vw(text.c_str(), text.size(), out, dynamic, 16.0f);
  return 0;
}
