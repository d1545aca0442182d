#pragma once

// Colour and number reading of the SVG reader, shared with its tests.

#include <cstdint>
#include <string_view>

namespace talvero::svg_reader {

// #rgb, #rrggbb, rgb(r, g, b) in whole numbers or percentages, or an SVG colour keyword; packed
// red in the low byte, alpha 0. Anything else, `currentColor` included, is grey 128.
uint32_t parseColor(std::string_view text);

// A number token as the scanner cut it: sign, digits, fraction, exponent; read without the
// locale. Text without digits reads 0.
double parseNumberText(std::string_view text);

}  // namespace talvero::svg_reader
