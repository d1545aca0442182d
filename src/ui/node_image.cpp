#include "ui/node_image.h"

#include <cmath>
#include <limits>
#include <mutex>
#include <span>
#include <utility>
#include <variant>

#include "platform/dispatch/background_queue.h"
#include "platform/dispatch/main_queue.h"
#include "runtime/log.h"
#include "style_core/style_core.h"
#include "svg/svg_parser.h"
#include "svg/svg_renderer.h"
#include "ui/canvas_surface_source.h"
#include "ui/css_hex_color.h"
#include "ui/image_download.h"
#include "ui/relayout.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

// An array of at least four numbers; anything else is no rectangle.
std::optional<toolkit::Rect> sourceRectOf(const ScriptValue& value) {
  if (!value.isArray() || !(value.get("length").toDouble() >= 4)) return std::nullopt;
  double numbers[4];
  for (uint32_t i = 0; i < 4; ++i) {
    const ScriptValue entry = value.at(i);
    if (!entry.isNumber()) return std::nullopt;
    numbers[i] = entry.toDouble();
  }
  return NodeImage::floatRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

std::optional<SVGColor> svgColorOf(const std::optional<toolkit::Color>& colour) {
  if (!colour) return std::nullopt;
  return SVGColor{colour->red, colour->green, colour->blue, colour->alpha};
}

bool aboveZero(toolkit::Size size) {
  return size.width > 0 && size.height > 0;
}

struct SVGImage {
  std::shared_ptr<const toolkit::Image> image;
  toolkit::Size documentSize;
};

// Off the main thread: parses and rasterises copies, touching no node.
std::optional<SVGImage> drawSVG(const std::string& markup,
                                const std::optional<toolkit::Size>& renderSize, double scale,
                                const std::optional<SVGColor>& tint) {
  std::optional<SVGSize> size;
  if (renderSize) size = SVGSize{renderSize->width, renderSize->height};
  std::optional<SVGDrawing> drawing =
      drawParsedSVG(SVGParser::parse(std::span<const uint8_t>(
                        reinterpret_cast<const uint8_t*>(markup.data()), markup.size())),
                    size, scale, tint);
  if (!drawing) return std::nullopt;
  return SVGImage{toolkit::Image::fromBitmap(std::move(drawing->bitmap), scale),
                  {drawing->documentSize.width, drawing->documentSize.height}};
}

// Set by tests on their thread while drawings read it on the background queue.
std::mutex renderHookLock;
NodeImage::SVGRenderHook renderHook;

void runRenderHook(const std::string& markup) {
  NodeImage::SVGRenderHook hook;
  {
    std::lock_guard lock(renderHookLock);
    hook = renderHook;
  }
  if (hook) hook(markup);
}

}  // namespace

std::optional<toolkit::Rect> NodeImage::floatRect(double x, double y, double width, double height) {
  for (const double value : {x, y, width, height}) {
    if (!(std::fabs(value) <= std::numeric_limits<float>::max())) return std::nullopt;
  }
  return toolkit::Rect{{static_cast<float>(x), static_cast<float>(y)},
                       {static_cast<float>(width), static_cast<float>(height)}};
}

void NodeImage::setBeforeSVGRender(SVGRenderHook hook) {
  std::lock_guard lock(renderHookLock);
  renderHook = std::move(hook);
}

NodeImage::NodeImage(const std::string&, YGNodeRef nodePtr, ScriptValue script,
                     CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store) {
  layer().setMasksToBounds(true);
  setImageScaling(toolkit::ImageScaling::ProportionallyUpOrDown);
  if (const auto rect = sourceRectOf(this->script().get("_sourceRect"))) {
    sourceRect_ = rect;
    setImageScaling(toolkit::ImageScaling::AxesIndependently);
  }
  setSource(this->script().get("_src"));
}

void NodeImage::setSource(const ScriptValue& source) {
  if (source.isString()) {
    dropMarkup();
    downloadImage(source.toString());
    return;
  }
  if (!source.isObject()) {
    dropMarkup();
    return;
  }
  if (source.has("svg")) {
    setSVGMarkup(source.get("svg").toStringIfAny().value_or(""), cssColor(source.get("tintColor")));
    return;
  }
  dropMarkup();
  if (source.has("canvasSurface")) {
    setCanvasSurface(source.get("canvasSurface").toInt64());
    return;
  }
  if (auto image = decodeBuffer(source.get("_id").toInt64())) setBaseImage(std::move(image));
}

void NodeImage::updateNode(const std::string& key, const ScriptValue& value) {
  if (key == "src") setSource(value);
}

void NodeImage::downloadImage(const std::string& url) {
  talvero::downloadImage(url, [alive = std::weak_ptr<const bool>(alive_),
                               this](std::shared_ptr<const toolkit::Image> image) {
    if (alive.lock() && show) setBaseImage(std::move(image));
  });
}

void NodeImage::setCanvasSurface(int64_t id) {
  const CanvasSurfaceSource* canvas = store().canvasHandler;
  std::shared_ptr<const toolkit::Image> image = canvas ? canvas->surfaceImage(id) : nullptr;
  if (!image) {
    logLine("Error loading image: canvas surface " + std::to_string(id) + " not found");
    return;
  }
  setBaseImage(std::move(image));
}

void NodeImage::dropMarkup() {
  if (!svgMarkup_) return;
  svgMarkup_.reset();
  ++svgGeneration_;  // a drawing still under way must not land over what comes next
}

void NodeImage::setBaseImage(std::shared_ptr<const toolkit::Image> image) {
  dropMarkup();
  // The size of a drawing that is no longer shown must not size the new image.
  svgIntrinsicSize_.reset();
  baseImage_ = std::move(image);
  applyImage();
  relayoutMeasuredNode(*this, hasMeasure_);
}

void NodeImage::applyImage() {
  // The drawing of the markup is all the view shows of it; there is no base image to crop.
  if (svgMarkup_) return;
  if (!baseImage_) {
    setImage(nullptr);
    return;
  }
  if (sourceRect_) {
    if (auto cropped = baseImage_->crop(*sourceRect_)) {
      setImage(std::move(cropped));
      return;
    }
  }
  setImage(baseImage_);
}

void NodeImage::setSourceRect(const toolkit::Rect& rect) {
  const std::optional<toolkit::Rect> old = sourceRect_;
  sourceRect_ = rect;
  setImageScaling(toolkit::ImageScaling::AxesIndependently);
  applyImage();
  if (!hasMeasure_) return;
  if (old && old->size == sourceRect_->size) return;
  relayoutMeasuredNode(*this, hasMeasure_);
}

uint64_t NodeImage::measure(float width, uint8_t, float height, uint8_t) {
  hasMeasure_ = true;
  std::optional<toolkit::Size> image;
  if (sourceRect_) {
    image = sourceRect_->size;
  } else if (svgIntrinsicSize_) {
    image = svgIntrinsicSize_;
  } else if (baseImage_) {
    image = baseImage_->pointSize();
  } else if (this->image()) {
    image = this->image()->pointSize();
  }
  // A NaN side is the layout core's way of setting no limit on it.
  const bool limitsWidth = !std::isnan(width), limitsHeight = !std::isnan(height);
  if (!image || !aboveZero(*image) || (limitsWidth && !(width > 0)) ||
      (limitsHeight && !(height > 0))) {
    return packMeasuredSize(0, 0);
  }
  double scale = 1;
  if (limitsWidth) scale = std::min(scale, width / image->width);
  if (limitsHeight) scale = std::min(scale, height / image->height);
  return packMeasuredSize(static_cast<float>(image->width * scale),
                          static_cast<float>(image->height * scale));
}

void NodeImage::setSVGMarkup(std::string markup, std::optional<toolkit::Color> tint) {
  baseImage_.reset();
  svgMarkup_ = std::move(markup);
  svgTint_ = tint;
  // A drawing carries its own tint; the view's tint is for bitmaps.
  setContentTintColor(std::nullopt);
  renderSVG();
}

void NodeImage::renderSVG() {
  if (!svgMarkup_) return;
  const toolkit::Size bounds = this->bounds().size;
  const std::optional<toolkit::Size> renderSize =
      aboveZero(bounds) ? std::optional<toolkit::Size>(bounds) : std::nullopt;
  const uint64_t generation = ++svgGeneration_;
  requestedSVGRenderSize_ = renderSize.value_or(toolkit::Size{});
  const std::optional<SVGColor> tint = svgColorOf(svgTint_);
  const double scale = windowBackingScale().value_or(2.0);
  dispatch::BackgroundQueue::global().post([alive = std::weak_ptr<const bool>(alive_), this,
                                            markup = *svgMarkup_, renderSize, scale, tint,
                                            generation] {
    runRenderHook(markup);
    std::optional<SVGImage> drawing = drawSVG(markup, renderSize, scale, tint);
    if (!drawing) return;
    dispatch::post([alive, this, drawing = std::move(*drawing), renderSize, generation] {
      // The node is gone, or a newer drawing has taken over.
      if (!alive.lock() || !show || svgGeneration_ != generation) return;
      const std::optional<toolkit::Size> old = svgIntrinsicSize_;
      svgIntrinsicSize_ = drawing.documentSize;
      setImage(drawing.image);
      lastSVGRenderSize_ = renderSize.value_or(toolkit::Size{});
      if (hasMeasure_ && old != drawing.documentSize) relayoutMeasuredNode(*this, hasMeasure_);
    });
  });
}

void NodeImage::applyFrame() {
  NodeProtocol::applyFrame();
  if (!svgMarkup_) return;
  const toolkit::Size bounds = this->bounds().size;
  // Against the size last asked for, not the last that landed: a drawing under way, or one
  // that failed, is not started again at every flush.
  if (aboveZero(bounds) && bounds != requestedSVGRenderSize_) renderSVG();
}

void NodeImage::setTintColor(std::optional<toolkit::Color> tint) {
  if (svgMarkup_) {
    svgTint_ = tint;
    renderSVG();
    return;
  }
  setContentTintColor(tint);
}

}  // namespace talvero
