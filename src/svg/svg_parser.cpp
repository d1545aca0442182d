#include "svg/svg_parser.h"

#include <fstream>
#include <iterator>
#include <optional>

namespace talvero::SVGParser {
namespace {

using namespace svg_reader;

SVGColor unpackColor(uint32_t packed) {
  return {static_cast<double>(packed & 0xff) / 255.0,
          static_cast<double>((packed >> 8) & 0xff) / 255.0,
          static_cast<double>((packed >> 16) & 0xff) / 255.0,
          static_cast<double>((packed >> 24) & 0xff) / 255.0};
}

SVGSpread spreadOf(int spread) {
  if (spread == kSpreadReflect) return SVGSpread::reflect;
  if (spread == kSpreadRepeat) return SVGSpread::repeat;
  return SVGSpread::pad;
}

std::vector<SVGGradientStop> stopsOf(const ReaderGradient& gradient) {
  std::vector<SVGGradientStop> stops;
  stops.reserve(gradient.stops.size());
  for (const ReaderGradientStop& stop : gradient.stops) {
    stops.push_back({stop.offset, unpackColor(stop.color)});
  }
  return stops;
}

SVGPaint extractPaint(const ReaderPaint& paint, float opacity) {
  switch (paint.type) {
    case kPaintColor: {
      SVGColor color = unpackColor(paint.color);
      color.alpha *= opacity;
      return color;
    }
    case kPaintLinearGradient:
      if (!paint.gradient) return SVGNoPaint{};
      return SVGLinearGradient{paint.gradient->xform, stopsOf(*paint.gradient),
                               spreadOf(paint.gradient->spread)};
    case kPaintRadialGradient:
      if (!paint.gradient) return SVGNoPaint{};
      return SVGRadialGradient{
          paint.gradient->xform,
          paint.gradient->fx,
          paint.gradient->fy,
          stopsOf(*paint.gradient),
          spreadOf(paint.gradient->spread),
          {paint.gradient->focusFromCentreX, paint.gradient->focusFromCentreY}};
    default:
      return SVGNoPaint{};
  }
}

SVGShape extractShape(const ReaderShape& source) {
  SVGShape shape;
  for (const ReaderPath& path : source.paths) {
    const int count = path.pointCount();
    if (count < 4) continue;
    const std::vector<float>& p = path.points;
    SVGSubpath subpath;
    subpath.start = {p[0], p[1]};
    const int curves = (count - 1) / 3;
    subpath.curves.reserve(curves);
    for (int i = 0; i < curves; ++i) {
      const size_t base = 2 + static_cast<size_t>(i) * 6;
      subpath.curves.push_back(
          {{p[base], p[base + 1]}, {p[base + 2], p[base + 3]}, {p[base + 4], p[base + 5]}});
    }
    subpath.isClosed = path.closed;
    shape.subpaths.push_back(std::move(subpath));
  }
  shape.fill = extractPaint(source.fill, source.opacity);
  shape.stroke = extractPaint(source.stroke, source.opacity);
  if (source.strokeDashCount >= 1) {
    const int count = std::min(source.strokeDashCount, kMaxDashes);
    shape.dash = SVGDash{
        std::vector<float>(source.strokeDashArray.begin(), source.strokeDashArray.begin() + count),
        source.strokeDashOffset};
  }
  shape.opacity = source.opacity;
  shape.strokeWidth = source.strokeWidth;
  shape.miterLimit = source.miterLimit;
  shape.lineJoin = source.strokeLineJoin == kJoinRound   ? SVGLineJoin::round
                   : source.strokeLineJoin == kJoinBevel ? SVGLineJoin::bevel
                                                         : SVGLineJoin::miter;
  shape.lineCap = source.strokeLineCap == kCapRound    ? SVGLineCap::round
                  : source.strokeLineCap == kCapSquare ? SVGLineCap::square
                                                       : SVGLineCap::butt;
  shape.fillRule =
      source.fillRule == kFillRuleEvenOdd ? SVGFillRule::evenOdd : SVGFillRule::winding;
  return shape;
}

SVGParseResult parseText(std::string_view text) {
  // A zero byte ends the document, as it does for a zero-ended text.
  const size_t zero = text.find('\0');
  if (zero != std::string_view::npos) text = text.substr(0, zero);
  return extractImage(readImage(text));
}

// UTF-16 to UTF-8; nothing for a lone surrogate.
std::optional<std::string> toUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF) {
      if (i + 1 >= text.size() || text[i + 1] < 0xDC00 || text[i + 1] > 0xDFFF) return std::nullopt;
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      return std::nullopt;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The local path of a file URL; nothing for any other URL.
std::optional<std::string> filePath(std::string_view url) {
  constexpr std::string_view kScheme = "file://";
  if (url.size() < kScheme.size()) return std::nullopt;
  for (size_t i = 0; i < kScheme.size(); ++i) {
    const char c = url[i];
    if ((c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c) != kScheme[i]) return std::nullopt;
  }
  std::string_view rest = url.substr(kScheme.size());
  if (rest.starts_with("localhost/")) rest.remove_prefix(9);
  if (!rest.starts_with('/')) return std::nullopt;
  rest = rest.substr(0, rest.find_first_of("?#"));
  std::string path;
  for (size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == '%' && i + 2 < rest.size() + 0 && hexDigit(rest[i + 1]) >= 0 &&
        hexDigit(rest[i + 2]) >= 0) {
      path += static_cast<char>(hexDigit(rest[i + 1]) * 16 + hexDigit(rest[i + 2]));
      i += 2;
    } else {
      path += rest[i];
    }
  }
  return path;
}

}  // namespace

ParsedSVG extractImage(const ReaderImage& image) {
  ParsedSVG svg;
  svg.size = {image.width, image.height};
  svg.shapes.reserve(image.shapes.size());
  for (const ReaderShape& shape : image.shapes) svg.shapes.push_back(extractShape(shape));
  return svg;
}

SVGParseResult parse(std::span<const uint8_t> bytes) {
  if (bytes.empty()) return SVGParseError::emptyData;
  // Our own copy: the reader never sees, let alone writes, the caller's memory.
  const std::string copy(bytes.begin(), bytes.end());
  return parseText(copy);
}

SVGParseResult parse(std::u16string_view text) {
  const std::optional<std::string> utf8 = toUtf8(text);
  if (!utf8) return SVGParseError::parseFailed;
  return parse(
      std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(utf8->data()), utf8->size()));
}

SVGParseResult parse(FileUrl url) {
  const std::optional<std::string> path = filePath(url.url);
  if (!path) return SVGParseError::parseFailed;
  std::ifstream file(*path, std::ios::binary);
  if (!file) return SVGParseError::parseFailed;
  std::string contents((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (file.bad()) return SVGParseError::parseFailed;
  return parseText(contents);
}

}  // namespace talvero::SVGParser
