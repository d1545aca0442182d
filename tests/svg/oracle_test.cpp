// Our reader and renderer against librsvg, document by document: a small corpus with one
// feature each, and the Adwaita icon theme as documents from the wild. Pixels are compared
// premultiplied, as both sides draw them, in Cairo's ARGB32 layout.

#include <cairo.h>
#include <gtest/gtest.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "svg/svg_parser.h"
#include "svg/svg_renderer.h"

namespace talvero {
namespace {

namespace fs = std::filesystem;

constexpr double kScale = 2;
constexpr int kChannelTolerance = 16;
constexpr double kMostDifferingFraction = 0.005;

const fs::path kCorpus = TALVERO_SVG_CORPUS_DIR;
const fs::path kAdwaita = "/usr/share/icons/Adwaita/scalable";

// Documents whose difference is the reader's behaviour, which follows NanoSVG's, on purpose.
const std::set<std::string> kCorpusLeftOut = {
    // Without preserveAspectRatio the view box is stretched over the viewport on each axis
    // rather than fitted whole and centred.
    "viewbox_default_aspect.svg",
    // Points are transformed as they are read, so a stroke keeps one width: under a non-uniform
    // scale, the mean of the two scales times its own.
    "stroke_stretched.svg",
    // An element's opacity goes into the alpha of its fill and of its stroke apart, so where the
    // stroke covers the fill both show, instead of the element fading as one group.
    "opacity_fill_and_stroke.svg",
    // rgba() and currentColor are no colours to the reader: both paint grey.
    "color_unsupported_forms.svg",
};

// Icons that need what our renderer does not draw at all.
const std::set<std::string> kAdwaitaLeftOut = {
    // A mask made of an embedded PNG passed through a colour-matrix filter.
    "preferences-desktop-appearance-symbolic.svg",
};

std::string readFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Premultiplied ARGB32 words, rows packed.
struct Pixels {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> argb;
};

Pixels fromSurface(const uint8_t* data, int width, int height, int stride) {
  Pixels pixels{width, height, {}};
  pixels.argb.reserve(static_cast<size_t>(width) * height);
  for (int y = 0; y < height; ++y) {
    const auto* row = reinterpret_cast<const uint32_t*>(data + static_cast<size_t>(y) * stride);
    pixels.argb.insert(pixels.argb.end(), row, row + width);
  }
  return pixels;
}

// librsvg's drawing into a surface of `width` × `height` pixels, with the document's own size
// times the scale as its viewport, so that a fractional size is not stretched to whole pixels.
Pixels renderWithLibrsvg(const std::string& markup, SVGSize size, int width, int height,
                         std::string& error) {
  GError* gerror = nullptr;
  RsvgHandle* handle = rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(markup.data()),
                                                 markup.size(), &gerror);
  if (!handle) {
    error = gerror ? gerror->message : "no handle";
    g_clear_error(&gerror);
    return {};
  }
  rsvg_handle_set_dpi(handle, 96);
  double theirWidth = 0, theirHeight = 0;
  if (rsvg_handle_get_intrinsic_size_in_pixels(handle, &theirWidth, &theirHeight) &&
      (std::abs(theirWidth - size.width) > 1e-3 || std::abs(theirHeight - size.height) > 1e-3)) {
    error = "its size is " + std::to_string(theirWidth) + " by " + std::to_string(theirHeight) +
            ", ours " + std::to_string(size.width) + " by " + std::to_string(size.height);
  }
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_t* cr = cairo_create(surface);
  const RsvgRectangle viewport{0, 0, size.width * kScale, size.height * kScale};
  const bool drawn = rsvg_handle_render_document(handle, cr, &viewport, &gerror);
  if (!drawn && error.empty()) error = gerror ? gerror->message : "render failed";
  g_clear_error(&gerror);
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  Pixels pixels = fromSurface(cairo_image_surface_get_data(surface), width, height,
                              cairo_image_surface_get_stride(surface));
  cairo_surface_destroy(surface);
  g_object_unref(handle);
  return pixels;
}

// The share of pixels where some channel is more than the tolerance apart.
double differingFraction(const Pixels& ours, const Pixels& theirs) {
  size_t differing = 0;
  for (size_t i = 0; i < ours.argb.size(); ++i) {
    const uint32_t a = ours.argb[i], b = theirs.argb[i];
    for (int shift = 0; shift < 32; shift += 8) {
      const int delta =
          static_cast<int>((a >> shift) & 0xff) - static_cast<int>((b >> shift) & 0xff);
      if (std::abs(delta) > kChannelTolerance) {
        ++differing;
        break;
      }
    }
  }
  return static_cast<double>(differing) / static_cast<double>(ours.argb.size());
}

void writePng(const Pixels& pixels, const fs::path& path) {
  std::vector<uint32_t> copy = pixels.argb;
  cairo_surface_t* surface = cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(copy.data()), CAIRO_FORMAT_ARGB32, pixels.width,
      pixels.height, pixels.width * 4);
  cairo_surface_write_to_png(surface, path.c_str());
  cairo_surface_destroy(surface);
}

// Compares one document; an empty answer means it agrees. With TALVERO_SVG_ORACLE_DUMP set to
// a folder, both renderings of a disagreeing document are written there as PNG.
std::string compare(const fs::path& path) {
  const std::string markup = readFile(path);
  const SVGParseResult parsed = SVGParser::parse(
      std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(markup.data()), markup.size()));
  if (!isParsed(parsed)) return "our parser refused it";
  const ParsedSVG& svg = std::get<ParsedSVG>(parsed);
  const graphics::BitmapRef bitmap =
      SVGRenderer(svg).renderToImage(svg.size.width, svg.size.height, kScale, std::nullopt);
  if (!bitmap) return "we rendered nothing";
  const Pixels ours =
      fromSurface(bitmap->data(), bitmap->width(), bitmap->height(), bitmap->stride());
  std::string error;
  const Pixels theirs = renderWithLibrsvg(markup, svg.size, ours.width, ours.height, error);
  if (!error.empty()) return "librsvg: " + error;
  // Two blank pictures would agree on anything.
  if (std::all_of(theirs.argb.begin(), theirs.argb.end(), [](uint32_t p) { return p == 0; }))
    return "librsvg drew nothing";
  const double fraction = differingFraction(ours, theirs);
  if (fraction <= kMostDifferingFraction) return {};
  if (const char* dump = std::getenv("TALVERO_SVG_ORACLE_DUMP")) {
    writePng(ours, fs::path(dump) / (path.stem().string() + "-ours.png"));
    writePng(theirs, fs::path(dump) / (path.stem().string() + "-librsvg.png"));
  }
  return std::to_string(fraction * 100) + "% of the pixels differ";
}

std::vector<fs::path> svgFilesUnder(const fs::path& folder) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file() && entry.path().extension() == ".svg")
      files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

TEST(SvgOracle, EveryCorpusDocumentDrawsAsLibrsvgDrawsIt) {
  const std::vector<fs::path> files = svgFilesUnder(kCorpus);
  ASSERT_GE(files.size(), 15u);
  for (const fs::path& path : files) {
    if (kCorpusLeftOut.contains(path.filename().string())) continue;
    const std::string difference = compare(path);
    EXPECT_TRUE(difference.empty()) << path.filename().string() << ": " << difference;
  }
}

TEST(SvgOracle, AdwaitaIconsDrawAsLibrsvgDrawsThem) {
  ASSERT_TRUE(fs::is_directory(kAdwaita)) << "the Adwaita icon theme is not installed";
  const std::vector<fs::path> files = svgFilesUnder(kAdwaita);
  ASSERT_GE(files.size(), 600u);
  int compared = 0;
  for (const fs::path& path : files) {
    if (kAdwaitaLeftOut.contains(path.filename().string())) continue;
    ++compared;
    const std::string difference = compare(path);
    EXPECT_TRUE(difference.empty())
        << path.lexically_relative(kAdwaita).string() << ": " << difference;
  }
  // Each name left out is one of the icons, not a leftover of an older theme.
  EXPECT_EQ(compared, static_cast<int>(files.size() - kAdwaitaLeftOut.size()));
}

}  // namespace
}  // namespace talvero
