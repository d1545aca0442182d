#include <cstring>

#include "fuzz_input.h"
#include "style_core/internal/gradients.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using talvero::fuzz::require;
  const std::string text = talvero::fuzz::textOf(data, size);
  const talvero::GradientParseResult result = talvero::parseGradientString(text.c_str());
  if (!result.ok) {
    require(!result.error.empty());
    require(result.errorPosition <= std::strlen(text.c_str()));
    return 0;
  }
  require(result.stops.size() >= 2);
  require(result.gradient.stopCount == result.stops.size());
  if (result.gradient.kind == 0) {
    require(result.gradient.angle >= 0 && result.gradient.angle < 360);
  }
  for (size_t i = 0; i < result.stops.size(); ++i) {
    const float position = result.stops[i].position;
    require(position >= 0 && position <= 1.000001f);
    if (i > 0) require(position >= result.stops[i - 1].position);
  }
  return 0;
}
