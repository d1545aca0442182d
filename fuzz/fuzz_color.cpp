#include "fuzz_input.h"
#include "style_core/internal/value_parsers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = talvero::fuzz::textOf(data, size);
  uint32_t color = 0;
  talvero::tryParseColor(text.c_str(), color);
  return 0;
}
