#include "engine/bindings/creator_canvas_bindings.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>

#include "runtime/log.h"
#include "svg/svg_parser.h"
#include "svg/svg_renderer.h"

namespace talvero {

namespace {

// Beyond this a script's string table is read as empty strings: a sparse array claiming a huge
// length must not stall the main thread.
constexpr uint32_t kMaxStrings = 1u << 20;

std::vector<std::string> readStrings(const ScriptValue& strings) {
  std::vector<std::string> out;
  if (!strings.isObject()) return out;
  const double length = strings.get("length").toDouble();
  if (!std::isfinite(length) || length < 1) return out;
  const auto count = static_cast<uint32_t>(std::min<double>(length, kMaxStrings));
  out.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    const ScriptValue entry = strings.at(i);
    out.push_back(entry.isUndefined() ? std::string() : entry.toStringIfAny().value_or(""));
  }
  return out;
}

// SVG text drawn at its document's size into a bitmap, or null when it does not parse or has
// no positive size.
graphics::BitmapRef renderSvgText(const ScriptValue& text) {
  const auto units = text.toUTF16IfAny();
  if (!units) return nullptr;
  auto drawing =
      drawParsedSVG(SVGParser::parse(std::u16string_view(*units)), std::nullopt, 1, std::nullopt);
  return drawing ? std::move(drawing->bitmap) : nullptr;
}

void callIfFunction(const ScriptValue& fn, const std::vector<NativeValue>& args = {}) {
  if (fn.isFunction()) fn.call(args);
}

}  // namespace

CreatorCanvasHandler::CreatorCanvasHandler() : ScriptHandler("_creatorCanvas") {
  canvas::SurfaceTable* table = &surfaces_;
  exports_
      .add("rasterize",
           [table](int64_t id, double width, double height, double scale, ScriptValue commands,
                   double count, ScriptValue strings) -> double {
             const auto view = commands.typedArray();
             if (!view || view->kind != TypedArrayKind::Float32 ||
                 (!view->data && view->length > 0)) {
               logLine("[canvas] rasterize: commands must be a Float32Array");
               return 0;
             }
             const std::span<const float> floats(static_cast<const float*>(view->data),
                                                 view->length);
             const int64_t wanted = std::isfinite(count) && count > 0
                                        ? static_cast<int64_t>(std::min<double>(
                                              count, static_cast<double>(view->length)))
                                        : 0;
             return static_cast<double>(
                 table->rasterize(id, width, height, scale, floats, wanted, readStrings(strings)));
           })
      .add("measureText",
           [](std::string text, std::string font) {
             const canvas::TextMetrics metrics = canvas::measureText(text, font);
             return NativeValue(NativeValue::Array{static_cast<float>(metrics.width),
                                                   static_cast<float>(metrics.ascent),
                                                   static_cast<float>(metrics.descent)});
           })
      .add("snapshot", [table](int64_t id) { return static_cast<double>(table->snapshot(id)); })
      .add("loadImage",
           [table](ScriptValue svg, double buffer, ScriptValue onLoad, ScriptValue onError) {
             if (buffer < 0) {
               graphics::BitmapRef bitmap = renderSvgText(svg);
               if (!bitmap) {
                 callIfFunction(onError);
                 return;
               }
               const int32_t width = bitmap->width(), height = bitmap->height();
               const int64_t id = table->registerImageSurface(std::move(bitmap));
               callIfFunction(onLoad, {id, width, height});
               return;
             }
             const auto id = static_cast<int64_t>(std::isfinite(buffer) ? buffer : 0);
             if (const auto image = canvas::loadImageBuffer(*table, id)) {
               callIfFunction(onLoad, {image->surface, image->pixelWidth, image->pixelHeight});
             } else {
               callIfFunction(onError);
             }
           })
      .add("toFile",
           [table](int64_t id, std::string mime, ScriptValue onDone, ScriptValue onError) {
             if (const auto file = canvas::encodeSurface(*table, id, mime)) {
               callIfFunction(onDone, {file->buffer, file->byteCount});
             } else {
               callIfFunction(onError);
             }
           })
      .add("destroySurface", [table](int64_t id) { table->destroy(id); });
}

std::optional<CreatorCanvasHandler::SurfacePixels> CreatorCanvasHandler::surfacePixels(
    int64_t surface) const {
  auto pixels = surfaces_.straightRGBA(surface);
  if (!pixels) return std::nullopt;
  return SurfacePixels{std::move(pixels->rgba), pixels->width, pixels->height};
}

std::shared_ptr<const toolkit::Image> CreatorCanvasHandler::surfaceImage(int64_t id) const {
  const canvas::Surface* surface = surfaces_.find(id);
  if (!surface || !surface->bitmap) return nullptr;
  return toolkit::Image::fromBitmap(surface->bitmap, surface->scale);
}

}  // namespace talvero
