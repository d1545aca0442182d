#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "canvas/surfaces.h"
#include "fuzz_input.h"
#include "platform/graphics/pixel_limit.h"

namespace {

using talvero::fuzz::require;

// The string table of every run: colours, fonts and texts, well formed and not, so that the
// string arguments of a program reach the colour parser, the font resolver and the text layout.
const std::vector<std::string>& strings() {
  static const std::vector<std::string> table = {
      "red",
      "#0f08",
      "rgba(0, 0, 255, 0.5)",
      "transparent",
      "hsl(120, 50%, 50%)",
      "not a colour",
      "",
      "bold 12px sans-serif",
      "italic 300 30px 'DejaVu Sans', serif",
      "0px serif",
      "1e9px Monospace",
      "oblique bolder -4px",
      "px",
      "Hi",
      "\xC3\xA4\xC3\xB6 \xE2\x9C\x93 \xE6\xBC\xA2 \xD9\x85\xD8\xB1",
      "\t\n",
      std::string(300, 'W'),
      std::string("a\0b", 3),
      "\xFF\xFE not UTF-8",
  };
  return table;
}

// Straight pixels are read back only from bitmaps up to this size, so that runs stay quick.
constexpr int64_t kLargestReadBack = 1 << 16;

}  // namespace

// The input is a row of floats, NaN and infinities included: width, height and scale of the
// surface, then the program. Whatever they hold, the replay ends without harm, and a surface
// that was made keeps to the pixel limit.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3 * sizeof(float)) return 0;
  std::vector<float> floats(size / sizeof(float));
  std::memcpy(floats.data(), data, floats.size() * sizeof(float));

  talvero::canvas::SurfaceTable surfaces;
  // Surface 1, a small picture for drawImage to cut from.
  const float picture[] = {6, 0, 25, 0, 0, 4, 4};
  require(surfaces.rasterize(0, 4, 4, 2, picture, 7, strings()) == 1);

  const std::span<const float> program = std::span(floats).subspan(3);
  const int64_t id = surfaces.rasterize(0, floats[0], floats[1], floats[2], program,
                                        static_cast<int64_t>(program.size()), strings());
  if (id == 0) return 0;
  const talvero::canvas::Surface* surface = surfaces.find(id);
  require(surface && surface->bitmap);
  const int64_t width = surface->bitmap->width(), height = surface->bitmap->height();
  require(talvero::graphics::fitsPixelLimit(width, height));
  if (width * height <= kLargestReadBack) {
    const auto pixels = surfaces.straightRGBA(id);
    require(pixels && pixels->rgba.size() == static_cast<size_t>(width * height * 4));
  }
  return 0;
}
