#include "platform/toolkit/image_view.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/toolkit/draw_context.h"

namespace talvero::toolkit {

std::shared_ptr<const Image> tintImage(const Image& image, Color tint) {
  std::vector<uint8_t> pixels = image.rgba();
  auto channel = [](double value) {
    return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
  };
  const uint8_t red = channel(tint.red), green = channel(tint.green), blue = channel(tint.blue);
  const double alpha = std::clamp(tint.alpha, 0.0, 1.0);
  for (size_t i = 0; i < pixels.size(); i += 4) {
    pixels[i] = red;
    pixels[i + 1] = green;
    pixels[i + 2] = blue;
    pixels[i + 3] = static_cast<uint8_t>(std::lround(pixels[i + 3] * alpha));
  }
  return Image::fromRGBA(image.width(), image.height(), pixels.data());
}

void ImageView::setImage(std::shared_ptr<const Image> image) {
  image_ = std::move(image);
  setNeedsDisplay();
}

void ImageView::setImageScaling(ImageScaling scaling) {
  scaling_ = scaling;
  setNeedsDisplay();
}

void ImageView::setContentTintColor(std::optional<Color> tint) {
  tint_ = tint;
  setNeedsDisplay();
}

Rect ImageView::imageRect() const {
  if (!image_) return {};
  const double w = bounds().width(), h = bounds().height();
  const double iw = image_->pointSize().width, ih = image_->pointSize().height;
  double sx = 1, sy = 1;
  switch (scaling_) {
    case ImageScaling::ProportionallyUpOrDown:
      sx = sy = std::min(w / iw, h / ih);
      break;
    case ImageScaling::ProportionallyDown:
      sx = sy = std::min({w / iw, h / ih, 1.0});
      break;
    case ImageScaling::AxesIndependently:
      sx = w / iw;
      sy = h / ih;
      break;
    case ImageScaling::None:
      break;
  }
  return Rect{{(w - iw * sx) / 2, (h - ih * sy) / 2}, {iw * sx, ih * sy}};
}

const Image* ImageView::shownImage() {
  if (!image_ || !tint_) return image_.get();
  // Identity of the image plus the colour is the key: images are immutable.
  if (!tinted_ || tintedFrom_.lock() != image_ || !(tintedWith_ == *tint_)) {
    tinted_ = tintImage(*image_, *tint_);
    tintedFrom_ = image_;
    tintedWith_ = *tint_;
  }
  return tinted_.get();
}

void ImageView::drawContent(DrawContext& context) {
  const Image* image = shownImage();
  if (!image) return;
  const Rect rect = imageRect();
  if (rect.width() <= 0 || rect.height() <= 0) return;
  const graphene_rect_t target =
      GRAPHENE_RECT_INIT(static_cast<float>(rect.x()), static_cast<float>(rect.y()),
                         static_cast<float>(rect.width()), static_cast<float>(rect.height()));
  gtk_snapshot_append_texture(context.snapshot(), GDK_TEXTURE(image->texture()), &target);
}

}  // namespace talvero::toolkit
