#pragma once

#include <memory>
#include <optional>

#include "platform/toolkit/image.h"
#include "platform/toolkit/view.h"

namespace talvero::toolkit {

enum class ImageScaling {
  ProportionallyUpOrDown,  // as large as fits, aspect kept
  ProportionallyDown,      // shrunk to fit when larger, never enlarged
  AxesIndependently,       // stretched to the bounds
  None,                    // at its own size
};

// Shows one image centred in its bounds, scaled by its mode, optionally recoloured.
class ImageView : public View {
 public:
  void setImage(std::shared_ptr<const Image> image);
  const std::shared_ptr<const Image>& image() const { return image_; }
  void setImageScaling(ImageScaling scaling);
  ImageScaling imageScaling() const { return scaling_; }
  // Paints every pixel of the image in the colour, keeping the image's alpha (times the
  // colour's): a template image takes the tint. None shows the image as it is.
  void setContentTintColor(std::optional<Color> tint);
  const std::optional<Color>& contentTintColor() const { return tint_; }

  // Where the image lands in the bounds for the present mode and size.
  Rect imageRect() const;

  void drawContent(DrawContext& context) override;

 private:
  const Image* shownImage();

  std::shared_ptr<const Image> image_;
  ImageScaling scaling_ = ImageScaling::ProportionallyUpOrDown;
  std::optional<Color> tint_;
  // The tinted copy, made once per image and colour.
  std::shared_ptr<const Image> tinted_;
  std::weak_ptr<const Image> tintedFrom_;
  Color tintedWith_;
};

// A copy of the image with each pixel's colour replaced by `tint`, alpha multiplied.
std::shared_ptr<const Image> tintImage(const Image& image, Color tint);

}  // namespace talvero::toolkit
