#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/toolkit/geometry.h"
#include "platform/toolkit/label.h"

namespace talvero {

// Capabilities that some node classes have and style handlers test for: a handler does
// nothing on a node without the capability it needs.

// Text nodes and inputs. Writing a font field marks the font out of date and applies it.
class NodeTextStyling {
 public:
  virtual ~NodeTextStyling() = default;
  virtual void setFontSize(float size) = 0;
  virtual void setFontWeight(int weight) = 0;
  virtual void setFontFamily(std::optional<std::string> family) = 0;
  virtual void setFontStyle(uint8_t style) = 0;  // 0 normal, 2 italic
  virtual void setColor(toolkit::Color color) = 0;
  virtual void setTextAlign(toolkit::TextAlignment alignment) = 0;
  virtual void reloadFont() = 0;
};

class NodeInputStyling {
 public:
  virtual ~NodeInputStyling() = default;
  virtual void setPlaceholder(const std::string& text) = 0;
  virtual void setPlaceholderColor(toolkit::Color color) = 0;
  virtual void setInputType(const std::string& type) = 0;
};

class NodeTextValue {
 public:
  virtual ~NodeTextValue() = default;
  virtual std::string textValue() const = 0;
};

// Nodes whose layer switches may animate (buttons): `duration` in seconds.
class NodeTransition {
 public:
  virtual ~NodeTransition() = default;
  double duration = 0;
};

}  // namespace talvero
