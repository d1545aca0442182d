#include <span>

#include "fuzz_input.h"
#include "svg/svg_parser.h"

// Any bytes parse to a document or an error, never a crash, and leave the input untouched.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string before = talvero::fuzz::textOf(data, size);
  const talvero::SVGParseResult result = talvero::SVGParser::parse(std::span(data, size));
  talvero::fuzz::require(talvero::isParsed(result) || size == 0);
  talvero::fuzz::require(before == talvero::fuzz::textOf(data, size));
  return 0;
}
