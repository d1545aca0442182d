#pragma once

// A small, forgiving XML tokenizer for SVG. A tag runs from '<' to the next '>', quotes or not;
// tags that start with '!' or '?' (comments, doctype, processing instructions) are skipped;
// attribute values need quotes, single or double; entities are left as written. Nothing checks
// that tags nest: the reader sees starts and ends as they come, and a truncated document simply
// ends. Views point into the text given.

#include <string_view>
#include <utility>
#include <vector>

namespace talvero::svg_xml {

struct XmlAttribute {
  std::string_view name;
  std::string_view value;
};

class XmlHandler {
 public:
  virtual ~XmlHandler() = default;
  virtual void startElement(std::string_view name, const std::vector<XmlAttribute>& attributes) = 0;
  virtual void endElement(std::string_view name) = 0;
};

// At most this many attributes of one tag are read; the rest are passed over.
inline constexpr size_t kMaxAttributes = 127;

void tokenize(std::string_view text, XmlHandler& handler);

bool isSpace(char c);

}  // namespace talvero::svg_xml
