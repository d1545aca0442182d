#include "runtime/utf8.h"

namespace talvero {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

// The length of the valid sequence at `i`, or 0 when the bytes there are no valid sequence.
size_t validSequenceAt(const uint8_t* bytes, size_t size, size_t i) {
  const uint8_t lead = bytes[i];
  if (lead < 0x80) return 1;
  size_t length;
  uint32_t codePoint;
  if ((lead & 0xE0) == 0xC0) {
    length = 2;
    codePoint = lead & 0x1F;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3;
    codePoint = lead & 0x0F;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4;
    codePoint = lead & 0x07;
  } else {
    return 0;
  }
  if (i + length > size) return 0;
  for (size_t k = 1; k < length; ++k) {
    if ((bytes[i + k] & 0xC0) != 0x80) return 0;
    codePoint = (codePoint << 6) | (bytes[i + k] & 0x3F);
  }
  static constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (codePoint < kSmallest[length] || codePoint > 0x10FFFF) return 0;
  if (codePoint >= 0xD800 && codePoint <= 0xDFFF) return 0;
  return length;
}

// How many bytes one replacement stands for: a lead byte that could start a sequence takes
// the continuation bytes that follow it, up to the sequence's length; any other byte is alone.
size_t brokenSequenceLength(const uint8_t* bytes, size_t size, size_t i) {
  const uint8_t lead = bytes[i];
  size_t expected = 1;
  if (lead >= 0xC2 && lead <= 0xDF) {
    expected = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    expected = 3;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    expected = 4;
  }
  size_t length = 1;
  while (length < expected && i + length < size && (bytes[i + length] & 0xC0) == 0x80) ++length;
  return length;
}

}  // namespace

bool isValidUtf8(const uint8_t* bytes, size_t size) {
  for (size_t i = 0; i < size;) {
    const size_t length = validSequenceAt(bytes, size, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

bool isValidUtf8(std::string_view text) {
  return isValidUtf8(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

std::string decodeUtf8Repairing(const uint8_t* bytes, size_t size) {
  std::string text;
  text.reserve(size);
  for (size_t i = 0; i < size;) {
    const size_t length = validSequenceAt(bytes, size, i);
    if (length == 0) {
      // One replacement for a cut sequence, one for each stray byte.
      text += kReplacement;
      i += brokenSequenceLength(bytes, size, i);
      continue;
    }
    text.append(reinterpret_cast<const char*>(bytes + i), length);
    i += length;
  }
  return text;
}

}  // namespace talvero
