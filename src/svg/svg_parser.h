#pragma once

// SVGParser: SVG markup to the plain model of svg_model.h. Stateless; every entry may run on
// any thread. Errors come back as a value, never as an exception: a result holds either the
// document or an `SVGParseError`.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "svg/svg_model.h"
#include "svg/svg_reader.h"

namespace talvero {

enum class SVGParseError { parseFailed = 0, emptyData = 1 };

using SVGParseResult = std::variant<ParsedSVG, SVGParseError>;

namespace SVGParser {

// The main entry. Empty bytes give `emptyData`. The reader works on a private copy, so the
// caller's bytes are never written; like any zero-ended text reader it stops at a zero byte.
SVGParseResult parse(std::span<const uint8_t> bytes);

// Script text, as UTF-16 code units, becomes UTF-8 and goes on as `parse(bytes)`. Text with no
// UTF-8 form (a lone surrogate) gives `parseFailed`; empty text gives `emptyData`.
SVGParseResult parse(std::u16string_view text);

// A URL, kept apart from markup text so that neither can be passed for the other.
struct FileUrl {
  std::string_view url;
};

// Only `file:` URLs ("file:///path", "file://localhost/path", percent escapes decoded); any
// other URL gives `parseFailed`, and so does a file that cannot be read. Nothing is fetched. An
// empty file is a document without shapes, not `emptyData`.
SVGParseResult parse(FileUrl url);

// The reader's image to the model: subpaths of fewer than 4 points dropped, colours unpacked
// from red-low bytes, the shape's opacity folded into solid paints' alpha only.
ParsedSVG extractImage(const svg_reader::ReaderImage& image);

}  // namespace SVGParser

inline bool isParsed(const SVGParseResult& result) {
  return std::holds_alternative<ParsedSVG>(result);
}

}  // namespace talvero
