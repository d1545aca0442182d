#include "fuzz_input.h"
#include "style_core/internal/value_parsers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using talvero::fuzz::require;
  const std::string text = talvero::fuzz::textOf(data, size);
  talvero::BorderRadiusValue radius;
  bool dynamic = false;
  if (!talvero::parseBorderRadius(text.c_str(), text.size(), 16.0f, dynamic, radius)) return 0;

  const float corners[4] = {radius.topLeft, radius.topRight, radius.bottomRight, radius.bottomLeft};
  bool allEqual = true;
  for (float corner : corners) {
    require(!(corner < 0));
    allEqual = allEqual && corner == corners[0];
  }
  require(radius.flag == (allEqual ? 0u : 1u));
  return 0;
}
