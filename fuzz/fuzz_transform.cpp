#include "fuzz_input.h"
#include "style_core/internal/value_parsers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = talvero::fuzz::textOf(data, size);
  const talvero::TransformMatrix matrix = talvero::parse_transform(text.c_str());
  // No function found means identity.
  if (text.find('(') == std::string::npos) {
    talvero::fuzz::require(matrix == talvero::kIdentityMatrix);
  }
  return 0;
}
