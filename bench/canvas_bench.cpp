// What the canvas and the SVG renderer cost over doing the same work by hand, in one process:
// - Canvas replay: a 10,000-command program at 1024 × 1024 through `_creatorCanvas.rasterize`
//   from a script, against the same drawing made by direct Cairo and Pango calls with colours
//   and fonts resolved beforehand.
// - SVG: parsing and rasterising at 2×, against librsvg (`rsvg_handle_new_from_data` and
//   `rsvg_handle_render_document` into a surface of the same size), on the Adwaita icons and on
//   a generated 3,000-path drawing of 512 × 512 points (1024 × 1024 pixels).
// - PNG decode: a 4096 × 4096 PNG made here goes from a buffer into an image node until its view
//   holds the image, against gdk-pixbuf's loader alone on the same bytes.
// Times are CPU time of the main thread (all of this work stays on it), medians over rounds
// that alternate between ours and the reference, so that a busy machine slows both alike.

#include <cairo.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <librsvg/rsvg.h>
#include <pango/pangocairo.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench_clock.h"
#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/image_view.h"
#include "runtime/buffers.h"
#include "svg/svg_parser.h"
#include "svg/svg_renderer.h"
#include "ui_bench_host.h"

namespace {

using talvero::bench::median;
using talvero::bench::threadSeconds;

using namespace talvero;

struct Pair {
  double ours = 0, reference = 0;
};

// Alternates the two, one warm-up round first, and gives the median of each.
Pair measure(int rounds, const std::function<void()>& ours,
             const std::function<void()>& reference) {
  ours();
  reference();
  std::vector<double> a, b;
  for (int round = 0; round < rounds; ++round) {
    double start = threadSeconds();
    ours();
    a.push_back(threadSeconds() - start);
    start = threadSeconds();
    reference();
    b.push_back(threadSeconds() - start);
  }
  return {median(a), median(b)};
}

void report(const char* name, const Pair& pair, double goal) {
  const double ratio = pair.ours / pair.reference;
  std::printf("%-34s ours %8.2f ms  reference %8.2f ms  ratio %.2f× (goal ≤ %.1f×) %s\n", name,
              pair.ours * 1e3, pair.reference * 1e3, ratio, goal,
              ratio <= goal ? "within" : "OVER");
}

// --- Canvas replay -----------------------------------------------------------------------------

enum Op {
  kSave = 0,
  kRestore = 1,
  kTranslate = 2,
  kScale = 3,
  kRotate = 4,
  kAlpha = 5,
  kFillStyle = 6,
  kStrokeStyle = 7,
  kLineWidth = 8,
  kFont = 11,
  kBeginPath = 14,
  kClosePath = 15,
  kMoveTo = 16,
  kLineTo = 17,
  kQuadTo = 18,
  kCubicTo = 19,
  kArc = 20,
  kFill = 23,
  kStroke = 24,
  kFillRect = 25,
  kStrokeRect = 26,
  kFillText = 28,
  kDrawImage = 30,
};

constexpr int kCanvasSide = 1024;
constexpr int kCommands = 10000;

// Colours as the script writes them and as the reference has them resolved.
struct Swatch {
  const char* text;
  double r, g, b, a;
};
constexpr Swatch kSwatches[] = {
    {"#e63946", 0.902, 0.224, 0.275, 1}, {"#2a9d8f", 0.165, 0.616, 0.561, 1},
    {"#264653", 0.149, 0.275, 0.325, 1}, {"rgba(244,162,97,0.6)", 0.957, 0.635, 0.380, 0.6},
    {"#e9c46a", 0.914, 0.769, 0.416, 1}, {"rgba(0,0,255,0.3)", 0, 0, 1, 0.3},
};
// Fonts as the script writes them and as Pango takes them.
struct FontPair {
  const char* canvas;
  const char* pango;
};
constexpr FontPair kFonts[] = {{"14px sans-serif", "sans-serif 14px"},
                               {"bold 18px serif", "serif bold 18px"},
                               {"italic 12px monospace", "monospace italic 12px"}};
constexpr const char* kTexts[] = {"Talvero", "canvas text", "0123456789", "Hello, world"};

// The program both sides draw, with its string table: colours, then fonts, then texts.
struct Program {
  std::vector<float> floats;
  std::vector<std::string> strings;
  int commands = 0;
};

Program makeProgram() {
  Program p;
  for (const Swatch& s : kSwatches) p.strings.push_back(s.text);
  for (const FontPair& f : kFonts) p.strings.push_back(f.canvas);
  for (const char* t : kTexts) p.strings.push_back(t);
  const float firstFont = std::size(kSwatches), firstText = firstFont + std::size(kFonts);
  std::mt19937 random(7);
  auto uniform = [&](float lo, float hi) {
    return std::uniform_real_distribution<float>(lo, hi)(random);
  };
  auto pick = [&](int n) { return float(std::uniform_int_distribution<int>(0, n - 1)(random)); };
  auto emit = [&](std::initializer_list<float> command) {
    p.floats.insert(p.floats.end(), command);
    ++p.commands;
  };
  while (p.commands < kCommands) {
    const float roll = uniform(0, 100);
    const float x = uniform(0, kCanvasSide), y = uniform(0, kCanvasSide);
    if (roll < 5) {  // text
      emit({kFont, firstFont + pick(std::size(kFonts))});
      emit({kFillText, firstText + pick(std::size(kTexts)), x, y, 0});
    } else if (roll < 7) {  // a part of the small surface, scaled
      emit({kDrawImage, 1, uniform(0, 16), uniform(0, 16), 32, 32, x, y, uniform(20, 90),
            uniform(20, 90)});
    } else if (roll < 17) {  // colour changes
      emit({kFillStyle, pick(std::size(kSwatches))});
      emit({kStrokeStyle, pick(std::size(kSwatches))});
    } else if (roll < 27) {  // a transformed group
      emit({kSave});
      emit({kTranslate, x, y});
      emit({kRotate, uniform(0, 6.28f)});
      emit({kScale, uniform(0.5f, 2), uniform(0.5f, 2)});
      emit({kAlpha, uniform(0.3f, 1)});
      emit({kFillRect, -10, -10, 20, 20});
      emit({kRestore});
    } else if (roll < 37) {
      emit({kFillRect, x, y, uniform(5, 60), uniform(5, 60)});
    } else if (roll < 42) {
      emit({kLineWidth, uniform(1, 4)});
      emit({kStrokeRect, x, y, uniform(5, 60), uniform(5, 60)});
    } else if (roll < 62) {  // a curved closed path, filled
      emit({kBeginPath});
      emit({kMoveTo, x, y});
      emit({kLineTo, x + uniform(-40, 40), y + uniform(-40, 40)});
      emit({kQuadTo, x + uniform(-40, 40), y + uniform(-40, 40), x + uniform(-40, 40),
            y + uniform(-40, 40)});
      emit({kCubicTo, x + uniform(-40, 40), y + uniform(-40, 40), x + uniform(-40, 40),
            y + uniform(-40, 40), x + uniform(-40, 40), y + uniform(-40, 40)});
      emit({kClosePath});
      emit({kFill, pick(2)});
    } else if (roll < 80) {  // arcs, stroked
      emit({kBeginPath});
      emit({kArc, x, y, uniform(3, 40), uniform(0, 3), uniform(3, 6.3f), pick(2)});
      emit({kStroke});
    } else {  // a polyline, stroked
      emit({kBeginPath});
      emit({kMoveTo, x, y});
      for (int k = 0; k < 4; ++k) emit({kLineTo, x + uniform(-60, 60), y + uniform(-60, 60)});
      emit({kStroke});
    }
  }
  return p;
}

std::string floatsAsScript(const std::vector<float>& floats) {
  std::ostringstream out;
  out.precision(9);
  out << "new Float32Array([";
  for (size_t i = 0; i < floats.size(); ++i) out << (i ? "," : "") << floats[i];
  out << "])";
  return out.str();
}

// The same drawing by hand: one Cairo context, colours and fonts resolved beforehand, a layout
// per font whose text is set at each use, as text is laid out anew at each use by the canvas.
class DirectCanvas {
 public:
  explicit DirectCanvas(const Program& program) : program_(program) {
    pango_ = pango_font_map_create_context(pango_cairo_font_map_get_default());
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    pango_cairo_context_set_font_options(pango_, options);
    cairo_font_options_destroy(options);
    for (const FontPair& font : kFonts) {
      PangoLayout* layout = pango_layout_new(pango_);
      PangoFontDescription* resolved = pango_font_description_from_string(font.pango);
      pango_layout_set_font_description(layout, resolved);
      pango_font_description_free(resolved);
      layouts_.push_back(layout);
    }
    image_ = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 64, 64);
    cairo_t* cr = cairo_create(image_);
    cairo_set_source_rgb(cr, 0.2, 0.5, 0.9);
    cairo_arc(cr, 32, 32, 28, 0, 2 * M_PI);
    cairo_fill(cr);
    cairo_destroy(cr);
  }
  ~DirectCanvas() {
    for (PangoLayout* layout : layouts_) g_object_unref(layout);
    g_object_unref(pango_);
    cairo_surface_destroy(image_);
  }

  void draw() {
    cairo_surface_t* surface =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kCanvasSide, kCanvasSide);
    cairo_t* cr = cairo_create(surface);
    struct State {
      Swatch fill{"", 0, 0, 0, 1}, stroke{"", 0, 0, 0, 1};
      double alpha = 1;
      PangoLayout* layout = nullptr;
    };
    std::vector<State> states(1);
    states.back().layout = layouts_[0];
    const size_t fonts = std::size(kSwatches);
    const float* f = program_.floats.data();
    const float* end = f + program_.floats.size();
    auto source = [&](const Swatch& s) {
      cairo_set_source_rgba(cr, s.r, s.g, s.b, s.a * states.back().alpha);
    };
    while (f < end) {
      switch (int(*f++)) {
        case kSave:
          cairo_save(cr);
          states.push_back(states.back());
          break;
        case kRestore:
          cairo_restore(cr);
          states.pop_back();
          break;
        case kTranslate:
          cairo_translate(cr, f[0], f[1]);
          f += 2;
          break;
        case kScale:
          cairo_scale(cr, f[0], f[1]);
          f += 2;
          break;
        case kRotate:
          cairo_rotate(cr, f[0]);
          f += 1;
          break;
        case kAlpha:
          states.back().alpha = f[0];
          f += 1;
          break;
        case kFillStyle:
          states.back().fill = kSwatches[size_t(f[0])];
          f += 1;
          break;
        case kStrokeStyle:
          states.back().stroke = kSwatches[size_t(f[0])];
          f += 1;
          break;
        case kLineWidth:
          cairo_set_line_width(cr, f[0]);
          f += 1;
          break;
        case kFont:
          states.back().layout = layouts_[size_t(f[0]) - fonts];
          f += 1;
          break;
        case kBeginPath:
          cairo_new_path(cr);
          break;
        case kClosePath:
          cairo_close_path(cr);
          break;
        case kMoveTo:
          cairo_move_to(cr, f[0], f[1]);
          f += 2;
          break;
        case kLineTo:
          cairo_line_to(cr, f[0], f[1]);
          f += 2;
          break;
        case kQuadTo: {
          double x0 = 0, y0 = 0;
          cairo_get_current_point(cr, &x0, &y0);
          cairo_curve_to(cr, x0 + 2.0 / 3 * (f[0] - x0), y0 + 2.0 / 3 * (f[1] - y0),
                         f[2] + 2.0 / 3 * (f[0] - f[2]), f[3] + 2.0 / 3 * (f[1] - f[3]), f[2],
                         f[3]);
          f += 4;
          break;
        }
        case kCubicTo:
          cairo_curve_to(cr, f[0], f[1], f[2], f[3], f[4], f[5]);
          f += 6;
          break;
        case kArc:
          (f[5] == 0 ? cairo_arc_negative : cairo_arc)(cr, f[0], f[1], f[2], f[3], f[4]);
          f += 6;
          break;
        case kFill:
          cairo_set_fill_rule(cr, f[0] == 0 ? CAIRO_FILL_RULE_WINDING : CAIRO_FILL_RULE_EVEN_ODD);
          source(states.back().fill);
          cairo_fill(cr);
          f += 1;
          break;
        case kStroke:
          source(states.back().stroke);
          cairo_stroke(cr);
          break;
        case kFillRect:
          source(states.back().fill);
          cairo_rectangle(cr, f[0], f[1], f[2], f[3]);
          cairo_fill(cr);
          f += 4;
          break;
        case kStrokeRect:
          source(states.back().stroke);
          cairo_rectangle(cr, f[0], f[1], f[2], f[3]);
          cairo_stroke(cr);
          f += 4;
          break;
        case kFillText: {
          PangoLayout* layout = states.back().layout;
          pango_layout_set_text(layout, program_.strings[size_t(f[0])].c_str(), -1);
          source(states.back().fill);
          cairo_move_to(cr, f[1], f[2]);
          pango_cairo_show_layout_line(cr, pango_layout_get_line_readonly(layout, 0));
          cairo_new_path(cr);
          f += 4;
          break;
        }
        case kDrawImage: {
          cairo_save(cr);
          cairo_rectangle(cr, f[5], f[6], f[7], f[8]);
          cairo_clip(cr);
          cairo_translate(cr, f[5], f[6]);
          cairo_scale(cr, f[7] / f[3], f[8] / f[4]);
          cairo_set_source_surface(cr, image_, -f[1], -f[2]);
          cairo_pattern_set_extend(cairo_get_source(cr), CAIRO_EXTEND_PAD);
          cairo_paint_with_alpha(cr, states.back().alpha);
          cairo_restore(cr);
          f += 9;
          break;
        }
        default:
          f = end;
      }
    }
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    cairo_surface_destroy(surface);
  }

 private:
  const Program& program_;
  PangoContext* pango_ = nullptr;
  std::vector<PangoLayout*> layouts_;
  cairo_surface_t* image_ = nullptr;
};

Pair canvasReplay() {
  const Program program = makeProgram();
  TalveroEngine engine;
  std::string strings = "[";
  for (size_t i = 0; i < program.strings.size(); ++i) {
    strings += (i ? ",\"" : "\"") + program.strings[i] + "\"";
  }
  strings += "]";
  // Surface 1 is the small picture that drawImage takes its parts from.
  engine.run(
      "var small = _creatorCanvas.rasterize(1, 64, 64, 1, new Float32Array([6, 0, 20, 32, "
      "32, 28, 0, 6.2832, 1, 23, 0]), 11, ['#3380e6']);\n"
      "var commands = " +
      floatsAsScript(program.floats) + ", strings = " + strings +
      ";\n"
      "var drawn = 0;\n"
      "function draw() { drawn = _creatorCanvas.rasterize(2, " +
      std::to_string(kCanvasSide) + ", " + std::to_string(kCanvasSide) +
      ", 1, commands, commands.length, strings); }");
  DirectCanvas direct(program);
  std::printf("canvas program: %d commands, %zu floats\n", program.commands, program.floats.size());
  const Pair pair = measure(
      15, [&] { engine.run("draw()"); }, [&] { direct.draw(); });
  engine.run("if (small !== 1 || drawn !== 2) console.log('[bench] the canvas drew nothing');");
  return pair;
}

// --- SVG
// ------------------------------------------------------------------------------------------

std::vector<std::string> adwaitaIcons() {
  std::vector<std::string> documents;
  const std::filesystem::path root = "/usr/share/icons/Adwaita/scalable";
  if (!std::filesystem::exists(root)) return documents;
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.path().extension() == ".svg") paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  for (const auto& path : paths) {
    std::ifstream in(path, std::ios::binary);
    documents.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  return documents;
}

std::string manyPaths(int count) {
  std::mt19937 random(11);
  auto uniform = [&](double lo, double hi) {
    return std::uniform_real_distribution<double>(lo, hi)(random);
  };
  std::ostringstream svg;
  svg.precision(5);
  svg << "<svg xmlns='http://www.w3.org/2000/svg' width='512' height='512'>\n"
      << "<defs><linearGradient id='g' x1='0' y1='0' x2='1' y2='1'><stop offset='0' "
         "stop-color='#f80'/><stop offset='1' stop-color='#08f'/></linearGradient></defs>\n";
  for (int i = 0; i < count; ++i) {
    const double x = uniform(0, 512), y = uniform(0, 512);
    svg << "<path d='M" << x << ' ' << y << " C" << x + uniform(-30, 30) << ' '
        << y + uniform(-30, 30) << ' ' << x + uniform(-30, 30) << ' ' << y + uniform(-30, 30) << ' '
        << x + uniform(-30, 30) << ' ' << y + uniform(-30, 30) << " Q" << x + uniform(-30, 30)
        << ' ' << y + uniform(-30, 30) << ' ' << x + uniform(-30, 30) << ' ' << y + uniform(-30, 30)
        << " Z' ";
    if (i % 10 == 0) {
      svg << "fill='url(#g)'";
    } else {
      svg << "fill='#" << std::hex << (random() & 0xffffff) << std::dec << "' fill-opacity='0.7'";
    }
    if (i % 3 == 0) svg << " stroke='#222' stroke-width='" << uniform(0.5, 2) << "'";
    svg << "/>\n";
  }
  svg << "</svg>\n";
  return svg.str();
}

bool renderOurs(const std::string& document) {
  const SVGParseResult parsed = SVGParser::parse(
      std::span(reinterpret_cast<const uint8_t*>(document.data()), document.size()));
  if (const auto* svg = std::get_if<ParsedSVG>(&parsed)) {
    graphics::BitmapRef image =
        SVGRenderer(*svg).renderToImage(svg->size.width, svg->size.height, 2, std::nullopt);
    return image != nullptr;
  }
  return false;
}

bool renderWithLibrsvg(const std::string& document) {
  RsvgHandle* handle = rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(document.data()),
                                                 document.size(), nullptr);
  if (!handle) return false;
  double width = 0, height = 0;
  bool drawn = false;
  if (rsvg_handle_get_intrinsic_size_in_pixels(handle, &width, &height) && width > 0 &&
      height > 0) {
    cairo_surface_t* surface = cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, int(std::ceil(width * 2)), int(std::ceil(height * 2)));
    cairo_t* cr = cairo_create(surface);
    const RsvgRectangle viewport{0, 0, width * 2, height * 2};
    drawn = rsvg_handle_render_document(handle, cr, &viewport, nullptr);
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
  }
  g_object_unref(handle);
  return drawn;
}

// --- PNG decode into an image node ---------------------------------------------------------------

constexpr int kPngSide = 4096;

// Smooth ramps under scattered discs: about what a photograph-sized asset compresses to.
Bytes makePng() {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kPngSide, kPngSide);
  cairo_t* cr = cairo_create(surface);
  cairo_pattern_t* ramp = cairo_pattern_create_linear(0, 0, kPngSide, kPngSide);
  cairo_pattern_add_color_stop_rgb(ramp, 0, 0.1, 0.3, 0.7);
  cairo_pattern_add_color_stop_rgb(ramp, 1, 0.9, 0.6, 0.2);
  cairo_set_source(cr, ramp);
  cairo_paint(cr);
  cairo_pattern_destroy(ramp);
  std::mt19937 random(3);
  for (int i = 0; i < 400; ++i) {
    cairo_set_source_rgba(cr, (random() % 256) / 255.0, (random() % 256) / 255.0,
                          (random() % 256) / 255.0, 0.6);
    cairo_arc(cr, random() % kPngSide, random() % kPngSide, 20 + random() % 200, 0, 2 * M_PI);
    cairo_fill(cr);
  }
  cairo_destroy(cr);
  auto bytes = std::make_shared<std::vector<uint8_t>>();
  cairo_surface_write_to_png_stream(
      surface,
      [](void* closure, const unsigned char* data, unsigned int length) {
        auto* out = static_cast<std::vector<uint8_t>*>(closure);
        out->insert(out->end(), data, data + length);
        return CAIRO_STATUS_SUCCESS;
      },
      bytes.get());
  cairo_surface_destroy(surface);
  return bytes;
}

toolkit::ImageView* findImageView(toolkit::View& view) {
  if (auto* image = dynamic_cast<toolkit::ImageView*>(&view)) return image;
  for (const auto& child : view.subviews()) {
    if (toolkit::ImageView* found = findImageView(*child)) return found;
  }
  return nullptr;
}

void reportImageDecode() {
  UIBenchHost bench("talvero_canvas_bench", 800, 600);
  TalveroEngine& engine = *bench.engine;
  const Bytes png = makePng();
  const int64_t buffer = Buffers::putBuffer(png);
  engine.run(
      "var picture = {type: 'image', _style: {width: 400, height: 400}};\n"
      "_creatorUI.openScreen({type: 'screen', children: [picture]});");
  dispatch::pumpUntil([] { return dispatch::pendingCount() == 0; }, 5);
  toolkit::ImageView* view =
      bench.host->container ? findImageView(*bench.host->container) : nullptr;
  if (!view) {
    std::printf("PNG decode: the image node's view was not found, comparison left out\n");
    return;
  }
  int shown = 0;
  const std::string update =
      "_creatorUI.updateNode(picture._id, 'src', {_id: " + std::to_string(buffer) + "});";
  auto intoNode = [&] {
    const toolkit::Image* before = view->image().get();
    engine.run(update);
    dispatch::pumpUntil([&] { return view->image() && view->image().get() != before; }, 10);
    shown += view->image() && view->image()->width() == kPngSide;
  };
  auto loaderAlone = [&] {
    GdkPixbufLoader* loader = gdk_pixbuf_loader_new();
    gdk_pixbuf_loader_write(loader, png->data(), png->size(), nullptr);
    gdk_pixbuf_loader_close(loader, nullptr);
    g_object_unref(loader);
  };
  const Pair pair = measure(7, intoNode, loaderAlone);
  std::printf("PNG decode: %d × %d, %zu bytes; the node showed it %d times of 8\n", kPngSide,
              kPngSide, png->size(), shown);
  report("PNG decode into an image node", pair, 1.1);
}

}  // namespace

int main() {
  setvbuf(stdout, nullptr, _IOLBF, 0);
  report("canvas replay, 10,000 commands", canvasReplay(), 1.2);

  const std::vector<std::string> icons = adwaitaIcons();
  if (icons.empty()) {
    std::printf("SVG icons: no Adwaita icons installed, comparison left out\n");
  } else {
    int ours = 0, theirs = 0;
    for (const auto& d : icons) ours += renderOurs(d), theirs += renderWithLibrsvg(d);
    std::printf("SVG icons: %zu Adwaita documents at 2×, drawn by us %d, by librsvg %d\n",
                icons.size(), ours, theirs);
    report("SVG, Adwaita icons",
           measure(
               7,
               [&] {
                 for (const auto& d : icons) renderOurs(d);
               },
               [&] {
                 for (const auto& d : icons) renderWithLibrsvg(d);
               }),
           0.6);
  }
  const std::string drawing = manyPaths(3000);
  report("SVG, 3,000 paths at 1024 × 1024",
         measure(
             7, [&] { renderOurs(drawing); }, [&] { renderWithLibrsvg(drawing); }),
         1.0);
  reportImageDecode();
  return 0;
}
