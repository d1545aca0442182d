#include "canvas/canvas_font.h"

#include <cctype>
#include <charconv>
#include <unordered_map>
#include <vector>

namespace talvero::canvas {

namespace {

std::vector<std::string_view> splitAtBlanks(std::string_view text) {
  std::vector<std::string_view> pieces;
  size_t start = 0;
  while (start < text.size()) {
    while (start < text.size() && std::isspace(static_cast<unsigned char>(text[start]))) ++start;
    size_t end = start;
    while (end < text.size() && !std::isspace(static_cast<unsigned char>(text[end]))) ++end;
    if (end > start) pieces.push_back(text.substr(start, end - start));
    start = end;
  }
  return pieces;
}

std::optional<double> pixelSize(std::string_view piece) {
  if (piece.size() < 3 || piece.substr(piece.size() - 2) != "px") return std::nullopt;
  const std::string_view front = piece.substr(0, piece.size() - 2);
  double size = 0;
  const auto [end, error] = std::from_chars(front.data(), front.data() + front.size(), size);
  if (error != std::errc() || end != front.data() + front.size()) return std::nullopt;
  return size;
}

std::optional<int> wholeNumber(std::string_view piece) {
  int value = 0;
  const auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), value);
  if (error != std::errc() || end != piece.data() + piece.size()) return std::nullopt;
  return value;
}

std::string trimFamily(std::string_view family) {
  const auto trimmed = [](char c) { return c == ' ' || c == '\t' || c == '"' || c == '\''; };
  while (!family.empty() && trimmed(family.front())) family.remove_prefix(1);
  while (!family.empty() && trimmed(family.back())) family.remove_suffix(1);
  return std::string(family);
}

int platformWeight(int weight) {
  switch (weight) {
    case 100:
    case 200:
    case 300:
    case 500:
    case 600:
    case 700:
      return weight;
    default:
      return 400;
  }
}

}  // namespace

ParsedFont CanvasFont::parse(std::string_view text) {
  ParsedFont font;
  const std::vector<std::string_view> pieces = splitAtBlanks(text);
  for (size_t i = 0; i < pieces.size(); ++i) {
    if (const auto size = pixelSize(pieces[i])) {
      font.size = *size;
      if (i + 1 < pieces.size()) {
        std::string rest;
        for (size_t j = i + 1; j < pieces.size(); ++j) {
          if (!rest.empty()) rest += ' ';
          rest += pieces[j];
        }
        font.family = trimFamily(std::string_view(rest).substr(0, rest.find(',')));
      }
      return font;
    }
    std::string lower(pieces[i]);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (lower == "italic" || lower == "oblique") {
      font.style = 2;
    } else if (lower == "bold") {
      font.weight = 700;
    } else if (lower == "bolder") {
      font.weight = 800;
    } else if (lower == "lighter") {
      font.weight = 300;
    } else if (const auto weight = wholeNumber(lower)) {
      font.weight = *weight;
    }
  }
  return font;
}

const graphics::FontDescription& CanvasFont::resolve(const std::string& text) {
  // Text is shaped on the main thread only, so one cache serves the process.
  static std::unordered_map<std::string, graphics::FontDescription> cache;
  if (const auto found = cache.find(text); found != cache.end()) return found->second;
  const ParsedFont parsed = parse(text);
  graphics::FontDescription font;
  font.family = parsed.family.value_or("");
  font.weight = platformWeight(parsed.weight);
  font.italic = parsed.style == 2;
  font.sizePx = parsed.size;
  return cache.emplace(text, font).first->second;
}

}  // namespace talvero::canvas
