#include "canvas/replay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>

#include "canvas/canvas_font.h"
#include "platform/graphics/text_line.h"
#include "runtime/log.h"
#include "style_core/style_core.h"

namespace talvero::canvas {

namespace {

constexpr std::array<int, 31> kArgumentCount = {0, 0, 2, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0,
                                                2, 2, 4, 6, 6, 4, 5, 1, 0, 4, 4, 4, 4, 4, 9};

// The drawing state the graphics context does not keep for us.
struct State {
  graphics::Color fill;
  graphics::Color stroke;
  graphics::FontDescription font;
  int align = 0;
  int baseline = 0;
};

graphics::Color colorOf(uint32_t rgba) {
  return {((rgba >> 24) & 0xff) / 255.0, ((rgba >> 16) & 0xff) / 255.0,
          ((rgba >> 8) & 0xff) / 255.0, (rgba & 0xff) / 255.0};
}

class Replay {
 public:
  Replay(graphics::GraphicsContext& context, const std::vector<std::string>& strings,
         const SurfaceLookup& surfaces)
      : context_(context), strings_(strings), colors_(strings.size()), surfaces_(surfaces) {
    state_.font = CanvasFont::resolve("16px");
  }

  void run(std::span<const float> commands) {
    size_t index = 0;
    while (index < commands.size()) {
      const double opcode = commands[index];
      if (!std::isfinite(opcode) || opcode < 0 || opcode > 30 || opcode != std::floor(opcode)) {
        break;
      }
      const auto op = static_cast<CanvasOp>(static_cast<int>(opcode));
      const int argc = kArgumentCount[static_cast<size_t>(opcode)];
      if (index + 1 + argc > commands.size()) break;
      std::array<double, 9> args{};
      for (int i = 0; i < argc; ++i) args[i] = commands[index + 1 + i];
      index += 1 + argc;
      const int stringArg = takesString(op) ? 0 : -1;
      if (stringArg == 0 && !std::isfinite(args[0])) break;
      bool finite = true;
      for (int i = 0; i < argc; ++i) {
        // maxWidth is read and ignored, so any value of it is as good as another.
        const bool ignored = (op == CanvasOp::fillText || op == CanvasOp::strokeText) && i == 3;
        if (i != stringArg && !ignored && !std::isfinite(args[i])) finite = false;
      }
      if (!finite) {
        ++skipped_;
        continue;
      }
      execute(op, args);
    }
    if (skipped_ > 0) {
      logLine("[canvas] rasterize: skipped " + std::to_string(skipped_) +
              " commands with arguments that are not finite");
    }
    if (ignoredSaves_ > 0) {
      logLine("[canvas] rasterize: ignored " + std::to_string(ignoredSaves_) +
              " saves deeper than " + std::to_string(kMaxSaveDepth) + " levels");
    }
  }

 private:
  static bool takesString(CanvasOp op) {
    return op == CanvasOp::fillStyle || op == CanvasOp::strokeStyle || op == CanvasOp::font ||
           op == CanvasOp::fillText || op == CanvasOp::strokeText;
  }

  // A negative index or one past the end is the empty string.
  const std::string& string(double index) const {
    static const std::string empty;
    if (index < 0 || index >= static_cast<double>(strings_.size())) return empty;
    return strings_[static_cast<size_t>(index)];
  }

  graphics::Color color(double index) {
    if (index < 0 || index >= static_cast<double>(strings_.size())) return colorOf(0);
    auto& cached = colors_[static_cast<size_t>(index)];
    if (!cached) cached = getColor(strings_[static_cast<size_t>(index)].c_str());
    return colorOf(*cached);
  }

  void save() {
    if (depth_ >= kMaxSaveDepth) {
      ++ignoredSaves_;
      ++pendingIgnored_;
      return;
    }
    ++depth_;
    context_.save();
    stack_.push_back(state_);
  }

  void restore() {
    if (pendingIgnored_ > 0) {
      --pendingIgnored_;
      return;
    }
    context_.restore();
    if (stack_.empty()) return;
    --depth_;
    state_ = stack_.back();
    stack_.pop_back();
  }

  void text(const std::array<double, 9>& args, bool outline) {
    const graphics::TextLine line(string(args[0]), state_.font);
    const double w = line.width(), a = line.ascent(), d = -line.descent();
    double x = args[1];
    if (state_.align == 1) {
      x -= w / 2;
    } else if (state_.align == 2 || state_.align == 4) {
      x -= w;
    }
    double y = args[2];
    switch (state_.baseline) {
      case 1:
        y += a;
        break;
      case 2:
        y += (a + d) / 2;
        break;
      case 3:
      case 5:
        y += d;
        break;
      case 4:
        y += 0.8 * a;
        break;
      default:
        break;
    }
    if (outline) {
      context_.strokeText(line, x, y);
    } else {
      context_.fillText(line, x, y);
    }
  }

  void roundRect(double x, double y, double w, double h, double r) {
    r = std::max(0.0, std::min({r, w / 2, h / 2}));
    if (r == 0) {
      context_.rect(x, y, w, h);
      return;
    }
    constexpr double pi = std::numbers::pi;
    context_.moveTo(x + r, y);
    context_.lineTo(x + w - r, y);
    context_.arc(x + w - r, y + r, r, -pi / 2, 0, 1);
    context_.lineTo(x + w, y + h - r);
    context_.arc(x + w - r, y + h - r, r, 0, pi / 2, 1);
    context_.lineTo(x + r, y + h);
    context_.arc(x + r, y + h - r, r, pi / 2, pi, 1);
    context_.lineTo(x, y + r);
    context_.arc(x + r, y + r, r, pi, 3 * pi / 2, 1);
    context_.closePath();
  }

  void execute(CanvasOp op, const std::array<double, 9>& a) {
    switch (op) {
      case CanvasOp::save:
        save();
        break;
      case CanvasOp::restore:
        restore();
        break;
      case CanvasOp::translate:
        context_.translate(a[0], a[1]);
        break;
      case CanvasOp::scale:
        context_.scale(a[0], a[1]);
        break;
      case CanvasOp::rotate:
        context_.rotate(a[0]);
        break;
      case CanvasOp::globalAlpha:
        context_.setGlobalAlpha(a[0]);
        break;
      case CanvasOp::fillStyle:
        state_.fill = color(a[0]);
        context_.setFill(state_.fill);
        break;
      case CanvasOp::strokeStyle:
        state_.stroke = color(a[0]);
        context_.setStroke(state_.stroke);
        break;
      case CanvasOp::lineWidth:
        context_.setLineWidth(a[0]);
        break;
      case CanvasOp::lineJoin: {
        const int join = static_cast<int>(std::clamp(a[0], 0.0, 2.0));
        context_.setLineJoin(join == 0   ? graphics::LineJoin::Miter
                             : join == 1 ? graphics::LineJoin::Round
                                         : graphics::LineJoin::Bevel);
        break;
      }
      case CanvasOp::lineCap: {
        const int cap = static_cast<int>(std::clamp(a[0], 0.0, 2.0));
        context_.setLineCap(cap == 0   ? graphics::LineCap::Butt
                            : cap == 1 ? graphics::LineCap::Round
                                       : graphics::LineCap::Square);
        break;
      }
      case CanvasOp::font:
        state_.font = CanvasFont::resolve(string(a[0]));
        break;
      case CanvasOp::textAlign:
        state_.align = static_cast<int>(std::clamp(a[0], -1e9, 1e9));
        break;
      case CanvasOp::textBaseline:
        state_.baseline = static_cast<int>(std::clamp(a[0], -1e9, 1e9));
        break;
      case CanvasOp::beginPath:
        context_.beginPath();
        break;
      case CanvasOp::closePath:
        context_.closePath();
        break;
      case CanvasOp::moveTo:
        context_.moveTo(a[0], a[1]);
        break;
      case CanvasOp::lineTo:
        context_.lineTo(a[0], a[1]);
        break;
      case CanvasOp::quadraticCurveTo:
        context_.quadTo(a[0], a[1], a[2], a[3]);
        break;
      case CanvasOp::bezierCurveTo:
        context_.cubicTo(a[0], a[1], a[2], a[3], a[4], a[5]);
        break;
      case CanvasOp::arc:
        context_.arc(a[0], a[1], a[2], a[3], a[4], a[5]);
        break;
      case CanvasOp::rect:
        context_.rect(a[0], a[1], a[2], a[3]);
        break;
      case CanvasOp::roundRect:
        roundRect(a[0], a[1], a[2], a[3], a[4]);
        break;
      case CanvasOp::fill:
        context_.fill(a[0] == 0 ? graphics::FillRule::NonZero : graphics::FillRule::EvenOdd);
        break;
      case CanvasOp::stroke:
        context_.stroke();
        break;
      case CanvasOp::fillRect:
        context_.fillRect(a[0], a[1], a[2], a[3]);
        break;
      case CanvasOp::strokeRect:
        context_.strokeRect(a[0], a[1], a[2], a[3]);
        break;
      case CanvasOp::clearRect:
        context_.clearRect(a[0], a[1], a[2], a[3]);
        break;
      case CanvasOp::fillText:
        text(a, false);
        break;
      case CanvasOp::strokeText:
        text(a, true);
        break;
      case CanvasOp::drawImage: {
        const graphics::BitmapRef source =
            surfaces_(static_cast<int64_t>(std::clamp(a[0], -9e18, 9e18)));
        if (!source) break;
        context_.save();
        context_.setGlobalAlpha(1);
        context_.drawBitmap(*source, a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8]);
        context_.restore();
        break;
      }
    }
  }

  graphics::GraphicsContext& context_;
  const std::vector<std::string>& strings_;
  std::vector<std::optional<uint32_t>> colors_;  // each string parsed once a call
  const SurfaceLookup& surfaces_;
  State state_;
  std::vector<State> stack_;
  int depth_ = 0;
  int64_t ignoredSaves_ = 0;
  int64_t pendingIgnored_ = 0;
  int64_t skipped_ = 0;
};

}  // namespace

void replay(graphics::GraphicsContext& context, std::span<const float> commands,
            const std::vector<std::string>& strings, const SurfaceLookup& surfaces) {
  Replay(context, strings, surfaces).run(commands);
}

}  // namespace talvero::canvas
