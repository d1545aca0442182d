#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/toolkit/image.h"
#include "platform/toolkit/image_view.h"
#include "ui/node.h"
#include "ui/style_capabilities.h"

namespace talvero {

// The "image" node: an image view that the layout core measures. Its source is a URL, SVG
// markup with an optional tint, a canvas surface or a buffer of encoded bytes; it shows either
// a base image (optionally cropped by `sourceRect`) or the drawing of its markup. Late results
// land only while the node is shown, and an SVG drawing only while it is the latest one.
class NodeImage : public NodeView<toolkit::ImageView>, public NodeTinting {
 public:
  NodeImage(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);

  // The image's size scaled down to fit the box, never up; a NaN side sets no limit. Zero
  // before there is an image.
  uint64_t measure(float width, uint8_t widthMode, float height, uint8_t heightMode) override;
  // "src" takes the value as a new source; other keys are ignored.
  void updateNode(const std::string& key, const ScriptValue& value) override;
  // Draws the markup again when the layout gave the view a size it was not drawn at.
  void applyFrame() override;
  // Markup is drawn again in the tint; a bitmap takes it as the view's content tint.
  void setTintColor(std::optional<toolkit::Color> tint) override;

  // A string is a URL; an object with `svg` is markup (tinted by its `tintColor`), one with
  // `canvasSurface` a surface id, any other object a buffer named by its `_id`.
  void setSource(const ScriptValue& source);
  void downloadImage(const std::string& url);
  void setCanvasSurface(int64_t id);
  void setBaseImage(std::shared_ptr<const toolkit::Image> image);
  // Shows the base image, cropped when there is a source rectangle.
  void applyImage();
  // A crop in the base image's pixels. Moving it costs no layout pass; resizing it does.
  void setSourceRect(const toolkit::Rect& rect);
  // The rectangle as 32-bit floats, or nothing when a value is not finite or too large for one.
  static std::optional<toolkit::Rect> floatRect(double x, double y, double width, double height);
  void setSVGMarkup(std::string markup, std::optional<toolkit::Color> tint);
  // Draws the markup off the main thread, at the view's size or, with none, the document's.
  void renderSVG();

  bool hasMeasure() const { return hasMeasure_; }
  const std::optional<toolkit::Rect>& sourceRect() const { return sourceRect_; }
  const std::shared_ptr<const toolkit::Image>& baseImage() const { return baseImage_; }
  const std::optional<std::string>& svgMarkup() const { return svgMarkup_; }
  const std::optional<toolkit::Color>& svgTint() const { return svgTint_; }
  const std::optional<toolkit::Size>& svgIntrinsicSize() const { return svgIntrinsicSize_; }
  toolkit::Size lastSVGRenderSize() const { return lastSVGRenderSize_; }
  uint64_t svgGeneration() const { return svgGeneration_; }

  using SVGRenderHook = std::function<void(const std::string& markup)>;
  // Runs on the background queue with the markup before each SVG drawing; tests hold a
  // drawing there to make drawings end out of order. Null removes it.
  static void setBeforeSVGRender(SVGRenderHook hook);

 private:
  void dropMarkup();

  bool hasMeasure_ = false;
  std::optional<toolkit::Rect> sourceRect_;
  std::shared_ptr<const toolkit::Image> baseImage_;
  std::optional<std::string> svgMarkup_;
  std::optional<toolkit::Color> svgTint_;
  std::optional<toolkit::Size> svgIntrinsicSize_;
  toolkit::Size lastSVGRenderSize_;
  toolkit::Size requestedSVGRenderSize_;  // of the latest drawing asked for, landed or not
  uint64_t svgGeneration_ = 0;
  // Late work checks this rather than a weak view: the first source starts in the
  // constructor, before any shared pointer to the node exists. Nodes die on the main thread,
  // where that work ends.
  const std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace talvero
