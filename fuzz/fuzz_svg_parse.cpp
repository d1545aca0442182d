#include <algorithm>
#include <optional>
#include <span>
#include <variant>

#include "fuzz_input.h"
#include "svg/svg_parser.h"
#include "svg/svg_renderer.h"

namespace {

// Small enough that a run spends its time in the parser and the path code, not in filling
// pixels, and large enough that every shape still lands on some.
constexpr double kLargestRenderSide = 64;

}  // namespace

// Any bytes parse to a document or an error, never a crash, and leave the input untouched. A
// parsed document renders, whatever its size says.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string before = talvero::fuzz::textOf(data, size);
  const talvero::SVGParseResult result = talvero::SVGParser::parse(std::span(data, size));
  talvero::fuzz::require(talvero::isParsed(result) || size == 0);
  talvero::fuzz::require(before == talvero::fuzz::textOf(data, size));
  if (const auto* document = std::get_if<talvero::ParsedSVG>(&result)) {
    // std::min keeps a NaN size, which the renderer has to refuse on its own.
    const double width = std::min(document->size.width, kLargestRenderSide);
    const double height = std::min(document->size.height, kLargestRenderSide);
    talvero::SVGRenderer(*document).renderToImage(width, height, 1, std::nullopt);
  }
  return 0;
}
