#include "svg/svg_xml.h"

namespace talvero::svg_xml {

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

namespace {

void parseTag(std::string_view tag, XmlHandler& handler, std::vector<XmlAttribute>& attributes) {
  size_t i = 0;
  const size_t n = tag.size();
  while (i < n && isSpace(tag[i])) ++i;
  bool isStart = true;
  bool isEnd = false;
  if (i < n && tag[i] == '/') {
    ++i;
    isStart = false;
    isEnd = true;
  }
  if (i >= n || tag[i] == '?' || tag[i] == '!') return;

  const size_t nameBegin = i;
  while (i < n && !isSpace(tag[i])) ++i;
  const std::string_view name = tag.substr(nameBegin, i - nameBegin);
  if (i < n) ++i;

  attributes.clear();
  while (!isEnd && i < n && attributes.size() < kMaxAttributes) {
    while (i < n && isSpace(tag[i])) ++i;
    if (i >= n) break;
    if (tag[i] == '/') {
      isEnd = true;
      break;
    }
    const size_t attrBegin = i;
    while (i < n && !isSpace(tag[i]) && tag[i] != '=') ++i;
    const std::string_view attrName = tag.substr(attrBegin, i - attrBegin);
    if (i < n) ++i;
    while (i < n && tag[i] != '"' && tag[i] != '\'') ++i;
    if (i >= n) break;  // a name with no value is dropped
    const char quote = tag[i++];
    const size_t valueBegin = i;
    while (i < n && tag[i] != quote) ++i;
    attributes.push_back({attrName, tag.substr(valueBegin, i - valueBegin)});
    if (i < n) ++i;
  }

  if (isStart) handler.startElement(name, attributes);
  if (isEnd) handler.endElement(name);
}

}  // namespace

void tokenize(std::string_view text, XmlHandler& handler) {
  std::vector<XmlAttribute> attributes;
  bool inTag = false;
  size_t mark = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (!inTag && text[i] == '<') {
      inTag = true;
      mark = i + 1;
    } else if (inTag && text[i] == '>') {
      parseTag(text.substr(mark, i - mark), handler, attributes);
      inTag = false;
    }
  }
}

}  // namespace talvero::svg_xml
